#include <ProjectXML/XmemlReader.h>

#include <ProjectXML/ProjectXMLError.h>
#include <ProjectXML/ProjectXMLReader.h>

#include <kilncore/utility/HashValueMixerState.h>

#include <pugixml.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <cctype>
#include <iterator>
#include <map>
#include <set>

namespace ProjectXML {

namespace {


constexpr size_t kMaxClips = ProjectXMLReader::kMaxClips;
constexpr int64_t kMaxFrames = ProjectXMLReader::kMaxFrames;

bool IsStillImage(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(), [](unsigned char c) { return std::tolower(c); });
  for (const char* still : {".png", ".jpg", ".jpeg", ".tif", ".tiff", ".psd", ".bmp", ".gif"}) {
    if (extension == still) return true;
  }
  return false;
}

// A `file` element that says what it is, rather than naming one by its id.
bool Defines(const pugi::xml_node& file) {
  return file.child("pathurl") || file.child("name") || file.child("media");
}

// A defined file's path: its URL decoded; none for offline media.
std::string PathOf(const pugi::xml_node& file) {
  const pugi::xml_node url = file.child("pathurl");
  return url ? XmemlReader::PathOfURL(url.text().get()) : std::string();
}

// A decimal number that is the whole text (blanks around it allowed), or NaN.
double Number(const char* text) {
  char* end = nullptr;
  const double value = std::strtod(text, &end);
  if (end == text) return std::nan("");
  while (std::isspace(static_cast<unsigned char>(*end))) ++end;
  return *end == '\0' ? value : std::nan("");
}

// One reading of an xmeml text: locations for errors, the files defined so
// far by id, and counts.
class Reading {
 public:
  Reading(std::string_view text, std::string path, const XmemlReader::NoteSink& notes)
      : mText(text), mPath(std::move(path)), mNotes(notes) {}

  [[noreturn]] void Fail(const pugi::xml_node& node, const std::string& what) const {
    std::string where;
    for (pugi::xml_node at = node; at && at.type() == pugi::node_element; at = at.parent()) {
      where = "/" + std::string(at.name()) + where;
    }
    const auto offset = static_cast<size_t>(std::max<ptrdiff_t>(0, node.offset_debug()));
    const size_t line = 1 + static_cast<size_t>(std::count(mText.begin(), mText.begin() + std::min(offset, mText.size()), '\n'));
    throw ProjectXMLError(what + " at " + where + " (line " + std::to_string(line) + ")");
  }

  // Skipped elements are noted once per name.
  void Skip(const pugi::xml_node& node) {
    if (!mSkipped.insert(node.name()).second) return;
    if (mNotes) mNotes("skipped <" + std::string(node.name()) + "> in " + mPath);
  }

  // A number of frames: an integer or a fraction (rounded); -1 stands for
  // "next to a transition".
  int64_t Frames(const pugi::xml_node& owner, const char* name, int64_t fallback) const {
    const pugi::xml_node node = owner.child(name);
    if (!node) return fallback;
    const double value = Number(node.text().get());
    if (std::isnan(value)) Fail(node, std::string("<") + name + "> is not a number");
    if (value != -1 && (value < 0 || value > static_cast<double>(kMaxFrames))) {
      Fail(node, std::string("<") + name + "> is out of range");
    }
    return static_cast<int64_t>(std::llround(value));
  }

  int64_t Integer(const pugi::xml_node& node, int64_t fallback, int64_t low, int64_t high) const {
    if (!node) return fallback;
    const long long value = node.text().as_llong(low - 1);
    if (value < low || value > high) {
      Fail(node, "<" + std::string(node.name()) + "> is out of range [" + std::to_string(low) + ", " +
                     std::to_string(high) + "]");
    }
    return value;
  }

  void CountClip(const pugi::xml_node& node) {
    if (++mClips > kMaxClips) Fail(node, "too many clips");
  }

  // Files are defined once, where an export first uses them, and referred to
  // by id everywhere else, also from a part of the file read earlier (an
  // audio track, the outer sequence of a nested one): every definition of
  // the document is known before any clip is read. The first one of an id
  // counts.
  void DefineFiles(const pugi::xml_node& root) {
    struct Walker : pugi::xml_tree_walker {
      explicit Walker(std::map<std::string, std::string>& files) : mFiles(files) {}
      bool for_each(pugi::xml_node& node) override {
        const std::string id = node.attribute("id").value();
        if (std::string_view(node.name()) == "file" && !id.empty() && Defines(node)) mFiles.emplace(id, PathOf(node));
        return true;
      }
      std::map<std::string, std::string>& mFiles;
    } walker(mFiles);
    pugi::xml_node top = root;
    top.traverse(walker);
  }

  // The media path of a clip's `file`: defined here or elsewhere by a `file`
  // of the same id.
  std::string MediaOf(const pugi::xml_node& file) const {
    if (Defines(file)) return PathOf(file);
    const std::string id = file.attribute("id").value();
    const auto found = mFiles.find(id);
    if (found == mFiles.end()) Fail(file, "file \"" + id + "\" is defined nowhere in the file");
    return found->second;
  }

  const std::string& Path() const { return mPath; }
  // False if `id` names an item already.
  bool ClaimID(const kilncore::utility::Guid& id) { return mIDs.insert(id.AsUTF8String()).second; }
  uint64_t NextNode() { return ++mNodes; }

 private:
  std::string_view mText;
  std::string mPath;
  const XmemlReader::NoteSink& mNotes;
  std::map<std::string, std::string> mFiles;
  std::set<std::string> mSkipped;
  std::set<std::string> mIDs;
  size_t mClips = 0;
  uint64_t mNodes = 0;
};

Ratio RateOf(Reading& reading, const pugi::xml_node& rate, Ratio fallback) {
  if (!rate) return fallback;
  const int64_t timebase = reading.Integer(rate.child("timebase"), 0, 1, 1000);
  if (timebase == 0) return fallback;
  const std::string ntsc = rate.child("ntsc").text().get();
  if (ntsc == "TRUE" || ntsc == "true") return Ratio{timebase * 1000, 1001};
  return Ratio{timebase, 1};
}

Ratio PixelAspectOf(const std::string& name) {
  if (name == "NTSC-601") return {10, 11};
  if (name == "PAL-601") return {59, 54};
  if (name == "HD-(1440x1080)" || name == "HD-(1440x1080)-PAL") return {4, 3};
  if (name == "HD-(960x720)") return {4, 3};
  return {1, 1};
}

// Where a transition cuts from the clip before it to the clip after it: its
// middle, unless its alignment puts the cut at its start or its end.
int64_t CutOf(const Reading& reading, const pugi::xml_node& transition, int64_t fallback) {
  const int64_t start = reading.Frames(transition, "start", fallback);
  const int64_t end = reading.Frames(transition, "end", start);
  if (start < 0 || end < 0) return std::max<int64_t>(0, std::max(start, end));
  const std::string alignment = transition.child("alignment").text().get();
  if (alignment == "start" || alignment == "start-black") return start;
  if (alignment == "end" || alignment == "end-black") return end;
  return start + (end - start) / 2;
}

pugi::xml_node NextElement(const pugi::xml_node& node) {
  pugi::xml_node next = node.next_sibling();
  while (next && next.type() != pugi::node_element) next = next.next_sibling();
  return next;
}

// A clip item of a track: its place, its media span and its file. Next to a
// transition an edge is -1: it is the transition's cut. `cutBefore` is where
// the item before it ended (or the cut of a transition before it).
Clip ReadClip(Reading& reading, const pugi::xml_node& node, int64_t cutBefore, uint32_t id, bool trackEnabled) {
  reading.CountClip(node);
  Clip clip;
  clip.id = id;
  clip.name = node.child("name").text().get();
  clip.in = std::max<int64_t>(0, reading.Frames(node, "in", 0));
  const int64_t out = reading.Frames(node, "out", -1);
  clip.start = reading.Frames(node, "start", -1);
  if (clip.start < 0) clip.start = cutBefore;
  int64_t end = reading.Frames(node, "end", -1);
  if (end < 0) {
    const pugi::xml_node next = NextElement(node);
    if (next && std::string_view(next.name()) == "transitionitem") {
      end = CutOf(reading, next, -1);
    } else {
      // Without an end the clip lasts as long as its media span, or a frame.
      end = clip.start + (out > clip.in ? out - clip.in : 1);
    }
  }
  // The place on the timeline rules; the media span follows it.
  clip.out = clip.in + std::max<int64_t>(1, end - clip.start);
  if (clip.start + (clip.out - clip.in) > kMaxFrames) reading.Fail(node, "the clip ends too late");
  const std::string enabled = node.child("enabled").text().get();
  clip.enabled = trackEnabled && enabled != "FALSE" && enabled != "false";
  if (const pugi::xml_node file = node.child("file")) {
    clip.media = reading.MediaOf(file);
    clip.still = IsStillImage(clip.media);
  } else if (node.child("sequence")) {
    // A nested sequence isn't drawn: it shows as the offline slate.
    reading.Skip(node.child("sequence"));
  }
  for (const pugi::xml_node& skipped : node.children("filter")) reading.Skip(skipped);
  return clip;
}

std::vector<Track> ReadTracks(Reading& reading, const pugi::xml_node& media, uint32_t& nextClip) {
  std::vector<Track> tracks;
  for (const pugi::xml_node& trackNode : media.children("track")) {
    Track track;
    const std::string enabled = trackNode.child("enabled").text().get();
    const bool trackEnabled = enabled != "FALSE" && enabled != "false";
    int64_t cut = 0;
    for (const pugi::xml_node& item : trackNode.children()) {
      const std::string_view name = item.name();
      if (name == "clipitem") {
        track.clips.push_back(ReadClip(reading, item, cut, nextClip++, trackEnabled));
        cut = track.clips.back().start + (track.clips.back().out - track.clips.back().in);
      } else if (name == "transitionitem") {
        // Drawn as a cut: the clip after it starts at the transition's cut.
        reading.Skip(item);
        cut = CutOf(reading, item, cut);
      } else if (name == "generatoritem") {
        reading.Skip(item);
        cut = std::max(cut, reading.Frames(item, "end", cut));
      } else if (item.type() == pugi::node_element && name != "enabled" && name != "locked") {
        reading.Skip(item);
      }
    }
    tracks.push_back(std::move(track));
  }
  return tracks;
}

kilncore::utility::Guid SequenceIDOf(Reading& reading, const pugi::xml_node& node, uint64_t nodeID) {
  const kilncore::utility::Guid uuid(std::string(node.child("uuid").text().get()));
  // A uuid seen before (a sequence exported twice) can't name two items.
  if (!uuid.IsNil() && reading.ClaimID(uuid)) return uuid;
  // Stable across openings of the same file, and unique in it: a hash that
  // meets an identifier already given is hashed again.
  std::string seed = reading.Path() + "\n" + std::to_string(nodeID) + "\n" + node.attribute("id").value();
  for (;;) {
    kilncore::utility::HashValueMixerState state;
    kilncore::utility::UpdateHashState(state, seed.data(), seed.size());
    kilncore::utility::Guid id;
    kilncore::utility::GetHashResult(state, id);
    if (!id.IsNil() && reading.ClaimID(id)) return id;
    seed += "\n";
  }
}

Item ReadSequence(Reading& reading, const pugi::xml_node& node) {
  Item item;
  item.kind = Item::Kind::kSequence;
  item.name = node.child("name").text().get();
  item.nodeID = reading.NextNode();
  item.id = SequenceIDOf(reading, node, item.nodeID);
  Sequence sequence;
  const pugi::xml_node video = node.child("media").child("video");
  const pugi::xml_node audio = node.child("media").child("audio");
  const pugi::xml_node picture = video.child("format").child("samplecharacteristics");
  // Some exports give the rate only with the picture's format.
  sequence.frameRate = RateOf(reading, node.child("rate"), RateOf(reading, picture.child("rate"), Ratio{25, 1}));
  sequence.width = static_cast<int32_t>(reading.Integer(picture.child("width"), 1920, 1, 16384));
  sequence.height = static_cast<int32_t>(reading.Integer(picture.child("height"), 1080, 1, 16384));
  sequence.pixelAspect = PixelAspectOf(picture.child("pixelaspectratio").text().get());
  const std::string dominance = picture.child("fielddominance").text().get();
  sequence.fieldOrder = dominance == "upper"   ? FieldOrder::kUpperFirst
                        : dominance == "lower" ? FieldOrder::kLowerFirst
                                               : FieldOrder::kProgressive;
  const pugi::xml_node sound = audio.child("format").child("samplecharacteristics");
  sequence.audioRate = static_cast<uint32_t>(reading.Integer(sound.child("samplerate"), 48000, 8000, 384000));
  reading.Integer(sound.child("depth"), 16, 8, 32);
  uint32_t nextClip = 1;
  sequence.videoTracks = ReadTracks(reading, video, nextClip);
  sequence.audioTracks = ReadTracks(reading, audio, nextClip);
  sequence.audioChannels = 2;
  for (const pugi::xml_node& marker : node.children("marker")) {
    sequence.markers.push_back(Marker{std::max<int64_t>(0, reading.Frames(marker, "in", 0)),
                                                  marker.child("name").text().get()});
  }
  item.sequence = std::move(sequence);
  return item;
}

// Sequences and the bins around them, in the order of the file.
void ReadChildren(Reading& reading, const pugi::xml_node& owner, std::vector<Item>& out, size_t depth) {
  if (depth > ProjectXMLReader::kMaxDepth) reading.Fail(owner, "bins are nested too deeply");
  for (const pugi::xml_node& node : owner.children()) {
    const std::string_view name = node.name();
    if (name == "sequence") {
      out.push_back(ReadSequence(reading, node));
    } else if (name == "bin" || name == "project") {
      Item bin;
      bin.kind = Item::Kind::kBin;
      bin.name = node.child("name").text().get();
      bin.nodeID = reading.NextNode();
      bin.id = SequenceIDOf(reading, node, bin.nodeID);
      ReadChildren(reading, node.child("children"), bin.children, depth + 1);
      out.push_back(std::move(bin));
    } else if (node.type() == pugi::node_element && name != "name") {
      reading.Skip(node);
    }
  }
}

}  // namespace

std::string XmemlReader::PathOfURL(std::string_view url) {
  for (std::string_view prefix : {"file://localhost", "file://"}) {
    if (url.substr(0, prefix.size()) == prefix) {
      url.remove_prefix(prefix.size());
      const auto hex = [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; };
      std::string path;
      for (size_t i = 0; i < url.size(); ++i) {
        if (url[i] == '%' && i + 2 < url.size() && hex(url[i + 1]) && hex(url[i + 2])) {
          path += static_cast<char>(std::stoi(std::string(url.substr(i + 1, 2)), nullptr, 16));
          i += 2;
        } else {
          path += url[i];
        }
      }
      return path;
    }
  }
  return std::string(url);
}

ProjectDocument XmemlReader::Read(std::string_view text, const std::string& path, const NoteSink& notes) {
  Reading reading(text, path, notes);
  pugi::xml_document xml;
  const pugi::xml_parse_result parsed = xml.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
  if (!parsed) {
    const auto offset = static_cast<size_t>(std::max<ptrdiff_t>(0, parsed.offset));
    const size_t line = 1 + static_cast<size_t>(std::count(text.begin(), text.begin() + std::min(offset, text.size()), '\n'));
    throw ProjectXMLError(std::string("not XML: ") + parsed.description() + " (line " + std::to_string(line) + ")");
  }
  const pugi::xml_node root = xml.document_element();
  if (std::string_view(root.name()) != "xmeml") {
    throw ProjectXMLError("not a Final Cut Pro XML file: the root element is <" + std::string(root.name()) + ">");
  }
  const int64_t version = root.attribute("version").as_llong(1);
  if (version < 1 || version > 5) reading.Fail(root, "xmeml version " + std::to_string(version) + " is not read");
  ProjectDocument document;
  reading.DefineFiles(root);
  ReadChildren(reading, root, document.items, 0);
  return document;
}

ProjectDocument XmemlReader::ReadFile(const std::string& path, const NoteSink& notes) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw ProjectXMLError("cannot open " + path);
  file.seekg(0, std::ios::end);
  const std::streamoff size = file.tellg();
  if (size < 0 || static_cast<uint64_t>(size) > ProjectXMLReader::kMaxFileBytes) {
    throw ProjectXMLError(path + " is larger than a project file can be");
  }
  file.seekg(0);
  std::string text(static_cast<size_t>(size), '\0');
  if (!file.read(text.data(), size)) throw ProjectXMLError("cannot read " + path);
  try {
    return Read(text, path, notes);
  } catch (const ProjectXMLError& error) {
    throw ProjectXMLError(path + ": " + error.what());
  }
}

}  // namespace ProjectXML
