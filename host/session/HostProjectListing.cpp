#include <host/session/HostProjectListing.h>

#include <ProjectXML/ProjectXMLReader.h>
#include <ProjectXML/XmemlReader.h>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <vector>

namespace tetherhost {

namespace {

using ProjectXML::Item;
using JsonWriter = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

std::string LowerExtension(const std::filesystem::path& path) {
  std::string extension = path.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

double FramesPerSecond(const ProjectXML::Ratio& rate) {
  return rate.denominator == 0 ? 0.0 : static_cast<double>(rate.numerator) / static_cast<double>(rate.denominator);
}

// 25, 29.97, 23.976: three decimals at most, no trailing zeros.
std::string RateText(const ProjectXML::Ratio& rate) {
  char text[64];
  std::snprintf(text, sizeof(text), "%.3f", FramesPerSecond(rate));
  std::string result = text;
  while (!result.empty() && result.back() == '0') result.pop_back();
  if (!result.empty() && result.back() == '.') result.pop_back();
  return result;
}

double Seconds(const ProjectXML::Sequence& sequence) {
  const double fps = FramesPerSecond(sequence.frameRate);
  return fps > 0 ? static_cast<double>(sequence.DurationFrames()) / fps : 0.0;
}

std::string SequenceLine(const Item& item) {
  const ProjectXML::Sequence& sequence = *item.sequence;
  char text[160];
  std::snprintf(text, sizeof(text), "  %d x %d  %s fps  %lld frames (%.3f s)", sequence.width, sequence.height,
                RateText(sequence.frameRate).c_str(), static_cast<long long>(sequence.DurationFrames()),
                Seconds(sequence));
  return item.id.AsUTF8String() + "  sequence " + item.name + text + "\n";
}

void AppendText(const Item& item, size_t depth, std::string& out) {
  const std::string indent(2 * depth, ' ');
  switch (item.kind) {
    case Item::Kind::kBin:
      out += indent + item.id.AsUTF8String() + "  bin " + item.name + "\n";
      for (const Item& child : item.children) AppendText(child, depth + 1, out);
      break;
    case Item::Kind::kMasterClip:
      out += indent + item.id.AsUTF8String() + "  clip " + item.name + (item.media.empty() ? "" : "  " + item.media) + "\n";
      break;
    case Item::Kind::kSequence:
      if (item.sequence) out += indent + SequenceLine(item);
      break;
  }
}

void AppendSequences(const std::vector<Item>& items, std::vector<const Item*>& out) {
  for (const Item& item : items) {
    if (item.kind == Item::Kind::kSequence && item.sequence) out.push_back(&item);
    AppendSequences(item.children, out);
  }
}

void WriteItem(JsonWriter& json, const Item& item) {
  json.StartObject();
  json.Key("id");
  json.String(item.id.AsUTF8String());
  json.Key("name");
  json.String(item.name);
  json.Key("type");
  switch (item.kind) {
    case Item::Kind::kBin:
      json.String("bin");
      json.Key("children");
      json.StartArray();
      for (const Item& child : item.children) WriteItem(json, child);
      json.EndArray();
      break;
    case Item::Kind::kMasterClip:
      json.String("clip");
      json.Key("media");
      json.String(item.media);
      break;
    case Item::Kind::kSequence: {
      json.String("sequence");
      const ProjectXML::Sequence sequence = item.sequence.value_or(ProjectXML::Sequence{});
      json.Key("width");
      json.Int(sequence.width);
      json.Key("height");
      json.Int(sequence.height);
      json.Key("frameRate");
      json.StartObject();
      json.Key("numerator");
      json.Int64(sequence.frameRate.numerator);
      json.Key("denominator");
      json.Int64(sequence.frameRate.denominator);
      json.EndObject();
      json.Key("fps");
      json.Double(FramesPerSecond(sequence.frameRate));
      json.Key("durationFrames");
      json.Int64(sequence.DurationFrames());
      json.Key("durationSeconds");
      json.Double(Seconds(sequence));
      break;
    }
  }
  json.EndObject();
}

}  // namespace

bool HostProjectListing::IsHostProject(const std::filesystem::path& path) {
  const std::string extension = LowerExtension(path);
  return extension == ".tlmproj" || extension == ".tlmprojx";
}

bool HostProjectListing::IsFinalCutXML(const std::filesystem::path& path) { return LowerExtension(path) == ".xml"; }

HostProjectListing::HostProjectListing(const std::filesystem::path& path) {
  if (IsFinalCutXML(path)) {
    // The path as the host hands it to the server when it links the file, so
    // that sequences without a uuid get the identifiers the server gives them.
    mDocument = ProjectXML::XmemlReader::ReadFile(path.string());
    mSequencesOnly = true;
  } else {
    mDocument = ProjectXML::ProjectXMLReader::ReadFile(path.string());
  }
}

std::string HostProjectListing::Text() const {
  std::string out;
  if (mSequencesOnly) {
    std::vector<const Item*> sequences;
    AppendSequences(mDocument.items, sequences);
    for (const Item* sequence : sequences) out += SequenceLine(*sequence);
    return out;
  }
  for (const Item& item : mDocument.items) AppendText(item, 0, out);
  return out;
}

const Item* HostProjectListing::ChooseSequence(const std::string& wanted, std::string& reason) const {
  std::vector<const Item*> sequences;
  AppendSequences(mDocument.items, sequences);
  if (sequences.empty()) {
    reason = "the file holds no sequence";
    return nullptr;
  }
  if (wanted.empty()) return sequences.front();
  const kilncore::utility::Guid asID(wanted);
  for (const Item* sequence : sequences) {
    if (sequence->name != wanted && (asID.IsNil() || sequence->id != asID)) continue;
    if (mSequencesOnly && sequence != sequences.front()) {
      reason = "a Final Cut Pro XML file links as one clip, its first sequence ('" + sequences.front()->name + "')";
      return nullptr;
    }
    return sequence;
  }
  reason = "no sequence named '" + wanted + "'";
  return nullptr;
}

std::string HostProjectListing::Json() const {
  rapidjson::StringBuffer buffer;
  JsonWriter json(buffer);
  json.StartArray();
  if (mSequencesOnly) {
    std::vector<const Item*> sequences;
    AppendSequences(mDocument.items, sequences);
    for (const Item* sequence : sequences) WriteItem(json, *sequence);
  } else {
    for (const Item& item : mDocument.items) WriteItem(json, item);
  }
  json.EndArray();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

}  // namespace tetherhost
