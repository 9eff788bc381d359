#include <host/commands/ItemMetadata.h>

#include <host/cli/HostError.h>
#include <host/output/CaptionFile.h>
#include <host/output/OutputFile.h>

#include <KL/ICaptioningSourceOwner.h>
#include <KL/IMediaAnalysis.h>
#include <KL/IMediaMetaData.h>
#include <RL/BinaryData.h>
#include <kilncore/string/UTFConversion.h>
#include <tether/ServerFailure.h>

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <fstream>
#include <stdexcept>

namespace tetherhost::ItemMetadata {

namespace {

using kilncore::classref::InterfaceRef;

void WriteBytes(const std::filesystem::path& path, const RL::BinaryData& data) {
  OutputFile file(path);
  {
    std::ofstream out(file.temporary(), std::ios::binary);
    if (data.GetSize() > 0) out.write(reinterpret_cast<const char*>(data.GetData()), static_cast<std::streamsize>(data.GetSize()));
    out.close();
    if (!out) throw std::runtime_error("can't write " + file.temporary().string());
  }
  file.Commit();
}

// The stream to write: the one asked for by index, else the one the server
// has selected, else the first.
const KL::CaptionStream& ChooseStream(const KL::ICaptioningSource& captions, std::optional<int64_t> streamIndex,
                                      uint64_t selectedID) {
  const size_t count = captions.GetStreamCount();
  if (streamIndex) {
    if (*streamIndex < 0 || static_cast<uint64_t>(*streamIndex) >= count) {
      throw HostError("--caption-stream " + std::to_string(*streamIndex) + ": the item has caption streams 0-" +
                      std::to_string(count - 1));
    }
    return *captions.GetStream(static_cast<size_t>(*streamIndex));
  }
  for (size_t i = 0; i < count; ++i) {
    if (captions.GetStream(i)->id == selectedID) return *captions.GetStream(i);
  }
  return *captions.GetStream(0);
}

}  // namespace

std::vector<std::string> DescriptionLines(const MediaItem& item) {
  const InterfaceRef<KL::IMediaAnalysis> analysis(item);
  if (!analysis) return {};
  kilnmediatypes::TimeDisplay display;
  if (const InterfaceRef<KL::IMediaMetaData> metadata{item}) display = metadata->GetTimeDisplay();
  std::vector<kilncore::WideString> lines;
  analysis->GetAnalysisLines(0, lines, 0, display, 0, 0);
  std::vector<std::string> texts;
  for (const kilncore::WideString& line : lines) texts.push_back(kilncore::string::UTF16to8(line));
  return texts;
}

std::string DescriptionLinesText(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text.empty() ? text : text + "\n";
}

std::string WithDescriptionLines(const std::string& json, const std::vector<std::string>& lines) {
  return WithStrings(json, "description_lines", lines);
}

std::string WithStrings(const std::string& json, const char* name, const std::vector<std::string>& values) {
  rapidjson::Document document;
  document.Parse(json.c_str(), json.size());
  if (document.HasParseError() || !document.IsObject()) return json;
  rapidjson::Value array(rapidjson::kArrayType);
  for (const std::string& value : values) {
    array.PushBack(
        rapidjson::Value(value.c_str(), static_cast<rapidjson::SizeType>(value.size()), document.GetAllocator()),
        document.GetAllocator());
  }
  document.AddMember(rapidjson::StringRef(name), array, document.GetAllocator());
  rapidjson::StringBuffer buffer;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
  document.Accept(writer);
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

std::string WriteXmp(const MediaItem& item, const std::filesystem::path& path) {
  const InterfaceRef<KL::IMediaMetaData> metadata(item);
  if (!metadata) throw HostError("the clip has no metadata interface");
  // A failure reason left from the import would read as this request's.
  tether::ClearLastServerFailure();
  RL::BinaryData packet;
  HostError::ThrowIfFailed(metadata->ReadXMP(false, false, 0, packet), "the XMP packet");
  WriteBytes(path, packet);
  if (packet.GetSize() == 0) return "note: the server has no XMP packet for this item; wrote an empty " + path.string() + "\n";
  return "XMP packet: " + path.string() + " (" + std::to_string(packet.GetSize()) + " bytes)\n";
}

std::string WriteCaptions(const MediaItem& item, const std::filesystem::path& path,
                          std::optional<int64_t> streamIndex) {
  if (!CaptionFile::IsKnownFormat(path)) {
    throw std::invalid_argument("--captions " + path.string() + ": write captions as WebVTT (.vtt) or SubRip (.srt)");
  }
  const InterfaceRef<KL::ICaptioningSourceOwner> owner(item);
  if (!owner) throw HostError("the clip offers no captions");
  tether::ClearLastServerFailure();
  // Selected before the captions are fetched, so that the fetched captions
  // show the server's answer to the selection.
  if (streamIndex) owner->SelectCaptionStream(static_cast<uint64_t>(*streamIndex));
  InterfaceRef<KL::ICaptioningSource> captions;
  const int32_t code = owner->GetCaptioningSource(captions);
  if (code < 0) {
    throw HostError("the server's captions could not be read (malformed caption text; the log says where)", code);
  }
  if (!captions || captions.Get()->GetStreamCount() == 0) {
    // The module fetches captions once and keeps a failed request's outcome as
    // "none", so the two can't be told apart here.
    throw HostError("the item has no captions (only host project sequences carry caption tracks), "
                    "or its server could not give them");
  }
  const KL::CaptionStream& stream = ChooseStream(*captions.Get(), streamIndex, owner->GetSelectedCaptionStream());
  CaptionFile::Write(path, stream);
  return "captions: " + path.string() + " (stream " + std::to_string(stream.id) +
         (stream.label.empty() ? "" : " \"" + stream.label + "\"") + ", " + std::to_string(stream.cues.size()) +
         " cues)\n";
}

}  // namespace tetherhost::ItemMetadata
