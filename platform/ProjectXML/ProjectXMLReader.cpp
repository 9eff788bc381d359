#include <ProjectXML/ProjectXMLReader.h>

#include <ProjectXML/ProjectXMLError.h>
#include <ProjectXML/ProjectXMLNames.h>

#include <pugixml.hpp>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <set>

namespace ProjectXML {

namespace {

// One reading: the text (for line numbers) and what has been counted so far.
class Reading {
 public:
  explicit Reading(std::string_view text) : mText(text) {}

  [[noreturn]] void Fail(const pugi::xml_node& node, const std::string& what) const {
    throw ProjectXMLError(what + " at " + PathOf(node) + " (line " + std::to_string(LineAt(node.offset_debug())) + ")");
  }

  size_t LineAt(ptrdiff_t offset) const {
    if (offset < 0) return 0;
    const auto end = mText.begin() + std::min<size_t>(static_cast<size_t>(offset), mText.size());
    return 1 + static_cast<size_t>(std::count(mText.begin(), end, '\n'));
  }

  static std::string PathOf(pugi::xml_node node) {
    std::string path;
    for (; node && node.type() == pugi::node_element; node = node.parent()) path = "/" + std::string(node.name()) + path;
    return path.empty() ? "/" : path;
  }

  std::string Required(const pugi::xml_node& node, const char* name) const {
    const pugi::xml_attribute attribute = node.attribute(name);
    if (!attribute) Fail(node, std::string("missing attribute \"") + name + "\"");
    return attribute.value();
  }

  int64_t Integer(const pugi::xml_node& node, const char* name, int64_t fallback, int64_t low, int64_t high) const {
    const pugi::xml_attribute attribute = node.attribute(name);
    if (!attribute) return fallback;
    const std::string_view text = attribute.value();
    int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
      Fail(node, std::string("attribute \"") + name + "\" is not an integer");
    }
    if (value < low || value > high) {
      Fail(node, std::string("attribute \"") + name + "\" is out of range [" + std::to_string(low) + ", " +
                     std::to_string(high) + "]");
    }
    return value;
  }

  bool Bool(const pugi::xml_node& node, const char* name, bool fallback) const {
    const pugi::xml_attribute attribute = node.attribute(name);
    if (!attribute) return fallback;
    const std::string_view text = attribute.value();
    if (text == "true") return true;
    if (text == "false") return false;
    Fail(node, std::string("attribute \"") + name + "\" is neither true nor false");
  }

  Ratio RatioOf(const pugi::xml_node& node, const char* name, Ratio fallback) const {
    const pugi::xml_attribute attribute = node.attribute(name);
    if (!attribute) return fallback;
    const std::string_view text = attribute.value();
    const size_t slash = text.find('/');
    Ratio ratio{0, 1};
    const std::string_view first = text.substr(0, slash);
    auto [end, error] = std::from_chars(first.data(), first.data() + first.size(), ratio.numerator);
    bool good = error == std::errc() && end == first.data() + first.size();
    if (slash != std::string_view::npos) {
      const std::string_view second = text.substr(slash + 1);
      auto [end2, error2] = std::from_chars(second.data(), second.data() + second.size(), ratio.denominator);
      good = good && error2 == std::errc() && end2 == second.data() + second.size();
    }
    constexpr int64_t kLimit = 1000000;
    if (!good || ratio.numerator <= 0 || ratio.denominator <= 0 || ratio.numerator > kLimit ||
        ratio.denominator > kLimit) {
      Fail(node, std::string("attribute \"") + name + "\" is not a positive ratio such as 30000/1001");
    }
    return ratio;
  }

  kilncore::utility::Guid GuidOf(const pugi::xml_node& node) {
    const std::string text = Required(node, kAttributeID);
    const kilncore::utility::Guid id(text);
    if (id == kilncore::utility::Guid()) Fail(node, "attribute \"id\" is not an identifier");
    if (!mIDs.insert(id.AsUTF8String()).second) Fail(node, "identifier " + text + " is used twice");
    return id;
  }

  void CountItem(const pugi::xml_node& node) {
    if (++mItems > ProjectXMLReader::kMaxItems) Fail(node, "too many items");
  }
  // Bins within bins are read recursively; the depth keeps the stack bounded.
  void EnterBin(const pugi::xml_node& node) {
    if (++mDepth > ProjectXMLReader::kMaxDepth) Fail(node, "bins are nested too deeply");
  }
  void LeaveBin() { --mDepth; }
  void CountClip(const pugi::xml_node& node) {
    if (++mClips > ProjectXMLReader::kMaxClips) Fail(node, "too many clips");
  }

 private:
  std::string_view mText;
  std::set<std::string> mIDs;
  size_t mItems = 0;
  size_t mClips = 0;
  size_t mDepth = 0;
};

std::vector<Property> ReadProperties(Reading& reading, const pugi::xml_node& owner) {
  std::vector<Property> properties;
  for (const pugi::xml_node& node : owner.child(kElementProperties).children(kElementProperty)) {
    Property property;
    property.key = reading.Required(node, kAttributeKey);
    const std::string type = node.attribute(kAttributeType) ? node.attribute(kAttributeType).value() : kTypeText;
    if (type == kTypeText) {
      property.type = Property::Type::kText;
    } else if (type == kTypeBool) {
      property.type = Property::Type::kBool;
    } else {
      reading.Fail(node, "property type \"" + type + "\" is neither text nor bool");
    }
    property.value = node.text().get();
    if (property.type == Property::Type::kBool && property.value != "true" && property.value != "false") {
      reading.Fail(node, "a bool property holds neither true nor false");
    }
    property.readOnly = reading.Bool(node, kAttributeReadOnly, false);
    properties.push_back(std::move(property));
  }
  return properties;
}

// A link names both a project and an item of it, or nothing.
void ReadClipLink(Reading& reading, const pugi::xml_node& node, Clip& clip) {
  const pugi::xml_attribute project = node.attribute(kAttributeLink);
  const pugi::xml_attribute item = node.attribute(kAttributeLinkItem);
  if (!project && !item) return;
  if (!project || !item) reading.Fail(node, "a linked clip needs both \"link\" and \"linkItem\"");
  clip.linkProject = project.value();
  if (clip.linkProject.empty()) reading.Fail(node, "attribute \"link\" is empty");
  clip.linkItem = kilncore::utility::Guid(std::string(item.value()));
  if (clip.linkItem.IsNil()) reading.Fail(node, "attribute \"linkItem\" is not an identifier");
}

Clip ReadClip(Reading& reading, const pugi::xml_node& node, std::set<uint32_t>& clipIDs) {
  reading.CountClip(node);
  constexpr int64_t kMax = ProjectXMLReader::kMaxFrames;
  Clip clip;
  clip.id = static_cast<uint32_t>(reading.Integer(node, kAttributeID, -1, 1, 0x7FFFFFFF));
  if (!node.attribute(kAttributeID)) reading.Fail(node, "missing attribute \"id\"");
  if (!clipIDs.insert(clip.id).second) reading.Fail(node, "clip " + std::to_string(clip.id) + " is used twice");
  clip.name = node.attribute(kAttributeName).value();
  clip.media = node.attribute(kAttributeMedia).value();
  clip.start = reading.Integer(node, kAttributeStart, 0, 0, kMax);
  clip.in = reading.Integer(node, kAttributeIn, 0, 0, kMax);
  clip.out = reading.Integer(node, kAttributeOut, -1, 0, kMax);
  if (!node.attribute(kAttributeOut)) reading.Fail(node, "missing attribute \"out\"");
  if (clip.out <= clip.in) reading.Fail(node, "the clip ends before it starts");
  if (clip.start + (clip.out - clip.in) > kMax) reading.Fail(node, "the clip ends too late");
  clip.enabled = reading.Bool(node, kAttributeEnabled, true);
  clip.still = reading.Bool(node, kAttributeStill, false);
  ReadClipLink(reading, node, clip);
  return clip;
}

std::vector<Track> ReadTracks(Reading& reading, const pugi::xml_node& owner, const char* element,
                              std::set<uint32_t>& clipIDs) {
  std::vector<Track> tracks;
  for (const pugi::xml_node& trackNode : owner.children(element)) {
    Track track;
    for (const pugi::xml_node& clipNode : trackNode.children(kElementClip)) {
      track.clips.push_back(ReadClip(reading, clipNode, clipIDs));
    }
    tracks.push_back(std::move(track));
  }
  return tracks;
}

Sequence ReadSequence(Reading& reading, const pugi::xml_node& node) {
  Sequence sequence;
  sequence.width = static_cast<int32_t>(reading.Integer(node, kAttributeWidth, 1920, 1, ProjectXMLReader::kMaxFrameSide));
  sequence.height =
      static_cast<int32_t>(reading.Integer(node, kAttributeHeight, 1080, 1, ProjectXMLReader::kMaxFrameSide));
  sequence.frameRate = reading.RatioOf(node, kAttributeRate, Ratio{25, 1});
  if (sequence.frameRate.numerator > sequence.frameRate.denominator * 1000) {
    reading.Fail(node, "the frame rate is above 1000 frames a second");
  }
  const std::string order = node.attribute(kAttributeFieldOrder) ? node.attribute(kAttributeFieldOrder).value()
                                                                   : kFieldProgressive;
  if (order == kFieldProgressive) {
    sequence.fieldOrder = FieldOrder::kProgressive;
  } else if (order == kFieldUpper) {
    sequence.fieldOrder = FieldOrder::kUpperFirst;
  } else if (order == kFieldLower) {
    sequence.fieldOrder = FieldOrder::kLowerFirst;
  } else {
    reading.Fail(node, "field order \"" + order + "\" is none of progressive, upper, lower");
  }
  sequence.pixelAspect = reading.RatioOf(node, kAttributePixelAspect, Ratio{1, 1});
  sequence.audioRate = static_cast<uint32_t>(reading.Integer(node, kAttributeAudioRate, 48000, 8000, 384000));
  sequence.audioChannels = static_cast<uint32_t>(reading.Integer(node, kAttributeAudioChannels, 2, 0, 32));
  sequence.maximumRenderQuality = reading.Bool(node, kAttributeMaximumRenderQuality, true);
  std::set<uint32_t> clipIDs;
  sequence.videoTracks = ReadTracks(reading, node, kElementVideoTrack, clipIDs);
  sequence.audioTracks = ReadTracks(reading, node, kElementAudioTrack, clipIDs);
  for (const pugi::xml_node& trackNode : node.children(kElementCaptionTrack)) {
    CaptionTrack track;
    track.name = trackNode.attribute(kAttributeName).value();
    for (const pugi::xml_node& captionNode : trackNode.children(kElementCaption)) {
      reading.CountClip(captionNode);
      Caption caption;
      caption.start = reading.Integer(captionNode, kAttributeStart, 0, 0, ProjectXMLReader::kMaxFrames);
      caption.end = reading.Integer(captionNode, kAttributeEnd, caption.start + 1, caption.start + 1,
                                    ProjectXMLReader::kMaxFrames);
      caption.text = captionNode.text().get();
      track.captions.push_back(std::move(caption));
    }
    sequence.captionTracks.push_back(std::move(track));
  }
  for (const pugi::xml_node& markerNode : node.children(kElementMarker)) {
    reading.CountClip(markerNode);
    sequence.markers.push_back(Marker{reading.Integer(markerNode, kAttributeFrame, 0, 0, ProjectXMLReader::kMaxFrames),
                                      markerNode.attribute(kAttributeName).value()});
  }
  return sequence;
}

std::vector<Item> ReadItems(Reading& reading, const pugi::xml_node& owner);

Item ReadItem(Reading& reading, const pugi::xml_node& node) {
  reading.CountItem(node);
  Item item;
  const std::string_view element = node.name();
  item.kind = element == kElementBin        ? Item::Kind::kBin
              : element == kElementSequence ? Item::Kind::kSequence
                                            : Item::Kind::kMasterClip;
  item.name = reading.Required(node, kAttributeName);
  item.id = reading.GuidOf(node);
  const std::string node64 = reading.Required(node, kAttributeNode);
  const auto [end, error] = std::from_chars(node64.data(), node64.data() + node64.size(), item.nodeID);
  if (error != std::errc() || end != node64.data() + node64.size()) {
    reading.Fail(node, "attribute \"node\" is not a 64-bit unsigned number");
  }
  item.properties = ReadProperties(reading, node);
  if (item.kind == Item::Kind::kBin) {
    reading.EnterBin(node);
    item.children = ReadItems(reading, node);
    reading.LeaveBin();
  }
  if (item.kind == Item::Kind::kSequence) item.sequence = ReadSequence(reading, node);
  if (item.kind == Item::Kind::kMasterClip) item.media = reading.Required(node, kAttributeMedia);
  return item;
}

std::vector<Item> ReadItems(Reading& reading, const pugi::xml_node& owner) {
  std::vector<Item> items;
  for (const pugi::xml_node& node : owner.children()) {
    if (node.type() != pugi::node_element) continue;
    const std::string_view name = node.name();
    if (name == kElementBin || name == kElementSequence || name == kElementMasterClip) {
      items.push_back(ReadItem(reading, node));
    } else if (name != kElementProperties) {
      reading.Fail(node, "unknown element <" + std::string(name) + ">");
    }
  }
  return items;
}

}  // namespace

ProjectDocument ProjectXMLReader::Read(std::string_view text) {
  Reading reading(text);
  pugi::xml_document xml;
  const pugi::xml_parse_result parsed =
      xml.load_buffer(text.data(), text.size(), pugi::parse_default, pugi::encoding_utf8);
  if (!parsed) {
    throw ProjectXMLError(std::string("not XML: ") + parsed.description() + " (line " +
                          std::to_string(reading.LineAt(parsed.offset)) + ")");
  }
  const pugi::xml_node root = xml.document_element();
  if (std::string_view(root.name()) != kElementRoot) {
    throw ProjectXMLError("not a host project: the root element is <" + std::string(root.name()) + ">, not <" +
                          kElementRoot + ">");
  }
  if (reading.Integer(root, kAttributeVersion, 1, 1, kVersion) != kVersion) reading.Fail(root, "unknown version");
  ProjectDocument document;
  const std::string flavour = root.attribute(kAttributeFlavour).value();
  if (flavour == kFlavourUnified) {
    document.flavour = Flavour::kUnified;
  } else if (flavour.empty() || flavour == kFlavourLegacy) {
    document.flavour = Flavour::kLegacy;
  } else {
    reading.Fail(root, "flavour \"" + flavour + "\" is neither legacy nor unified");
  }
  document.properties = ReadProperties(reading, root);
  document.items = ReadItems(reading, root);
  return document;
}

ProjectDocument ProjectXMLReader::ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw ProjectXMLError("cannot open " + path);
  file.seekg(0, std::ios::end);
  const std::streamoff size = file.tellg();
  if (size < 0 || static_cast<uint64_t>(size) > kMaxFileBytes) {
    throw ProjectXMLError(path + " is larger than a project file can be");
  }
  file.seekg(0);
  std::string text(static_cast<size_t>(size), '\0');
  if (!file.read(text.data(), size)) throw ProjectXMLError("cannot read " + path);
  try {
    return Read(text);
  } catch (const ProjectXMLError& error) {
    throw ProjectXMLError(path + ": " + error.what());
  }
}

}  // namespace ProjectXML
