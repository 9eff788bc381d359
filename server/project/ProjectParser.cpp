#include <server/project/ProjectParser.h>

#include <kilncore/utility/HashValueMixerState.h>
#include <kilnmediatypes/AudioChannelDescription.h>
#include <kilnmediatypes/FrameRate.h>

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tetherserver {
namespace {

using rapidjson::Value;
using kilncore::utility::Guid;

constexpr uint32_t kMaxFrameSide = 16384;
constexpr int64_t kMaxFrames = 100000000;
constexpr int64_t kMaxRateTerm = 1000000000;
constexpr uint32_t kMaxFolderDepth = 64;
constexpr size_t kMaxJSONDepth = 512;
constexpr uint32_t kMaxChannels = 64;
constexpr uint32_t kMaxSampleRate = 768000;
constexpr uint32_t kMaxBurnInScale = 256;
constexpr double kMaxTextSize = 2048.0;
constexpr char kContentStateDomain[] = "TetherServerContentState";

// Carries a kBadField message out of the nested readers; caught in Parse.
class BadField : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

[[noreturn]] void Fail(const std::string& path, const std::string& what) {
  throw BadField(path + ": " + what);
}

const Value& Member(const Value& object, const char* key, const std::string& path) {
  auto it = object.FindMember(key);
  if (it == object.MemberEnd()) Fail(path + "." + key, "missing");
  return it->value;
}

const Value* OptionalMember(const Value& object, const char* key) {
  auto it = object.FindMember(key);
  return it == object.MemberEnd() ? nullptr : &it->value;
}

void RequireObject(const Value& value, const std::string& path) {
  if (!value.IsObject()) Fail(path, "must be an object");
}

const Value& RequireArray(const Value& value, const std::string& path) {
  if (!value.IsArray()) Fail(path, "must be an array");
  return value;
}

std::string ReadString(const Value& value, const std::string& path) {
  if (!value.IsString()) Fail(path, "must be a string");
  return std::string(value.GetString(), value.GetStringLength());
}

int64_t ReadInteger(const Value& value, const std::string& path, int64_t min, int64_t max) {
  if (!value.IsInt64()) Fail(path, "must be an integer");
  const int64_t v = value.GetInt64();
  if (v < min || v > max) {
    Fail(path, "must be between " + std::to_string(min) + " and " + std::to_string(max));
  }
  return v;
}

double ReadNumber(const Value& value, const std::string& path) {
  if (!value.IsNumber()) Fail(path, "must be a number");
  const double v = value.GetDouble();
  if (!std::isfinite(v)) Fail(path, "must be finite");
  return v;
}

bool ReadBool(const Value& value, const std::string& path) {
  if (!value.IsBool()) Fail(path, "must be true or false");
  return value.GetBool();
}

std::string StringMember(const Value& object, const char* key, const std::string& path) {
  return ReadString(Member(object, key, path), path + "." + key);
}

std::string OptionalString(const Value& object, const char* key, const std::string& path,
                           std::string fallback = {}) {
  const Value* v = OptionalMember(object, key);
  return v ? ReadString(*v, path + "." + key) : fallback;
}

bool OptionalBool(const Value& object, const char* key, const std::string& path, bool fallback) {
  const Value* v = OptionalMember(object, key);
  return v ? ReadBool(*v, path + "." + key) : fallback;
}

int64_t OptionalInteger(const Value& object, const char* key, const std::string& path,
                        int64_t fallback, int64_t min, int64_t max) {
  const Value* v = OptionalMember(object, key);
  return v ? ReadInteger(*v, path + "." + key, min, max) : fallback;
}

Guid ReadGuid(const Value& object, const std::string& path) {
  const std::string text = StringMember(object, "id", path);
  const Guid id(std::string_view{text});
  if (id.IsNil()) Fail(path + ".id", "must be a non-nil identifier (8-4-4-4-12 hexadecimal)");
  return id;
}

// [a, b] of integers, both positive.
std::pair<int64_t, int64_t> ReadRatio(const Value& value, const std::string& path) {
  RequireArray(value, path);
  if (value.Size() != 2) Fail(path, "must be [numerator, denominator]");
  return {ReadInteger(value[0], path + "[0]", 1, kMaxRateTerm),
          ReadInteger(value[1], path + "[1]", 1, kMaxRateTerm)};
}

Rgba ReadColor(const Value& value, const std::string& path) {
  RequireArray(value, path);
  if (value.Size() != 3 && value.Size() != 4) Fail(path, "must be [r, g, b] or [r, g, b, a]");
  float c[4] = {0.0f, 0.0f, 0.0f, 1.0f};
  for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
    const std::string at = path + "[" + std::to_string(i) + "]";
    const double v = ReadNumber(value[i], at);
    if (v < 0.0 || v > 1.0) Fail(at, "must be between 0 and 1");
    c[i] = static_cast<float>(v);
  }
  return Rgba{c[0], c[1], c[2], c[3]};
}

Vec2 ReadVec2(const Value& value, const std::string& path) {
  RequireArray(value, path);
  if (value.Size() != 2) Fail(path, "must be [x, y]");
  const double x = ReadNumber(value[0], path + "[0]");
  const double y = ReadNumber(value[1], path + "[1]");
  constexpr double kLimit = 1e7;
  if (std::fabs(x) > kLimit || std::fabs(y) > kLimit) Fail(path, "is out of range");
  return Vec2{x, y};
}

tether::FieldType ReadFieldType(const Value& object, const std::string& path) {
  const std::string text = OptionalString(object, "fieldType", path, "progressive");
  if (text == "progressive") return 0;
  if (text == "upperFirst") return 1;
  if (text == "lowerFirst") return 2;
  Fail(path + ".fieldType", "must be \"progressive\", \"upperFirst\" or \"lowerFirst\"");
}

Layer ReadLayer(const Value& value, const std::string& path) {
  RequireObject(value, path);
  Layer layer;
  const std::string type = StringMember(value, "type", path);
  layer.name = OptionalString(value, "name", path);
  layer.guide = OptionalBool(value, "guide", path, false);
  auto color = [&](const char* key) { return ReadColor(Member(value, key, path), path + "." + key); };
  auto vec = [&](const char* key) { return ReadVec2(Member(value, key, path), path + "." + key); };
  if (type == "solid") {
    layer.type = Layer::Type::kSolid;
    layer.color = color("color");
  } else if (type == "gradient") {
    layer.type = Layer::Type::kGradient;
    layer.color = color("from");
    layer.colorTo = color("to");
    const std::string direction = OptionalString(value, "direction", path, "horizontal");
    if (direction == "horizontal") {
      layer.direction = Layer::Direction::kHorizontal;
    } else if (direction == "vertical") {
      layer.direction = Layer::Direction::kVertical;
    } else {
      Fail(path + ".direction", "must be \"horizontal\" or \"vertical\"");
    }
  } else if (type == "movingShape") {
    layer.type = Layer::Type::kMovingShape;
    layer.color = color("color");
    layer.size = vec("size");
    layer.from = vec("from");
    layer.to = vec("to");
    if (layer.size.x <= 0 || layer.size.y <= 0) Fail(path + ".size", "must be positive");
  } else if (type == "frameNumber" || type == "timecode") {
    layer.type = type == "frameNumber" ? Layer::Type::kFrameNumberBurnIn
                                       : Layer::Type::kTimecodeBurnIn;
    layer.from = vec("position");
    layer.color = color("color");
    layer.scale = static_cast<uint32_t>(
        OptionalInteger(value, "scale", path, 8, 1, kMaxBurnInScale));
    if (const Value* background = OptionalMember(value, "background")) {
      layer.background = ReadColor(*background, path + ".background");
    }
  } else if (type == "text") {
    layer.type = Layer::Type::kText;
    layer.text = StringMember(value, "text", path);
    layer.fontFamily = StringMember(value, "font", path);
    if (layer.fontFamily.empty()) Fail(path + ".font", "must name a font family");
    layer.fontStyle = OptionalString(value, "style", path);
    layer.fontSize = ReadNumber(Member(value, "size", path), path + ".size");
    if (!(layer.fontSize >= 1.0 && layer.fontSize <= kMaxTextSize)) Fail(path + ".size", "must be between 1 and 2048");
    layer.from = vec("position");
    layer.color = color("color");
  } else if (type == "link") {
    layer.type = Layer::Type::kLink;
    layer.linkProject = StringMember(value, "project", path);
    if (layer.linkProject.empty()) Fail(path + ".project", "must name a project file");
    const std::string item = StringMember(value, "item", path);
    layer.linkItem = Guid(std::string_view{item});
    if (layer.linkItem.IsNil()) Fail(path + ".item", "must be a non-nil identifier (8-4-4-4-12 hexadecimal)");
  } else {
    Fail(path + ".type",
         "must be \"solid\", \"gradient\", \"movingShape\", \"frameNumber\", \"timecode\", \"text\" or \"link\"");
  }
  return layer;
}

std::vector<uint32_t> DefaultChannelLabels(uint32_t count) {
  using namespace kilnmediatypes;
  switch (count) {
    case 1:
      return {kAudioChannelLabel_Mono};
    case 2:
      return {kAudioChannelLabel_Left, kAudioChannelLabel_Right};
    case 6:
      return {kAudioChannelLabel_Left,         kAudioChannelLabel_Right,
              kAudioChannelLabel_Center,       kAudioChannelLabel_LowFrequency,
              kAudioChannelLabel_LeftSurround, kAudioChannelLabel_RightSurround};
    default:
      return std::vector<uint32_t>(count, kAudioChannelLabel_Discrete);
  }
}

AudioTone ReadTone(const Value& value, const std::string& path, uint32_t channelCount,
                   uint32_t sampleRate) {
  RequireObject(value, path);
  AudioTone tone;
  tone.frequency = ReadNumber(Member(value, "frequency", path), path + ".frequency");
  if (tone.frequency < 0.0 || tone.frequency > sampleRate / 2.0) {
    Fail(path + ".frequency", "must be between 0 and half the sample rate");
  }
  tone.amplitude = ReadNumber(Member(value, "amplitude", path), path + ".amplitude");
  if (std::fabs(tone.amplitude) > 1.0) Fail(path + ".amplitude", "must be between -1 and 1");
  if (const Value* phase = OptionalMember(value, "phase")) {
    tone.phase = ReadNumber(*phase, path + ".phase");
    if (tone.phase < 0.0 || tone.phase >= 1.0) Fail(path + ".phase", "must be in [0, 1)");
  }
  if (const Value* channels = OptionalMember(value, "channels")) {
    RequireArray(*channels, path + ".channels");
    for (rapidjson::SizeType i = 0; i < channels->Size(); ++i) {
      tone.channels.push_back(static_cast<uint32_t>(ReadInteger(
          (*channels)[i], path + ".channels[" + std::to_string(i) + "]", 0,
          static_cast<int64_t>(channelCount) - 1)));
    }
  }
  return tone;
}

CompositionAudio ReadAudio(const Value& value, const std::string& path) {
  RequireObject(value, path);
  CompositionAudio audio;
  audio.sampleRate = static_cast<uint32_t>(
      ReadInteger(Member(value, "sampleRate", path), path + ".sampleRate", 1, kMaxSampleRate));
  if (kilnmediatypes::kTicksPerSecond % audio.sampleRate != 0) {
    Fail(path + ".sampleRate", "must divide 254016000000 (a whole number of ticks per sample)");
  }
  audio.channelCount = static_cast<uint32_t>(
      ReadInteger(Member(value, "channels", path), path + ".channels", 0, kMaxChannels));
  audio.channelLabels = DefaultChannelLabels(audio.channelCount);
  if (const Value* labels = OptionalMember(value, "channelLabels")) {
    RequireArray(*labels, path + ".channelLabels");
    if (labels->Size() != audio.channelCount) {
      Fail(path + ".channelLabels", "must have one label per channel");
    }
    for (rapidjson::SizeType i = 0; i < labels->Size(); ++i) {
      audio.channelLabels[i] = static_cast<uint32_t>(ReadInteger(
          (*labels)[i], path + ".channelLabels[" + std::to_string(i) + "]", 0, 0xFFFF));
    }
  }
  if (const Value* tones = OptionalMember(value, "tones")) {
    RequireArray(*tones, path + ".tones");
    for (rapidjson::SizeType i = 0; i < tones->Size(); ++i) {
      audio.tones.push_back(ReadTone((*tones)[i], path + ".tones[" + std::to_string(i) + "]",
                                     audio.channelCount, audio.sampleRate));
    }
  }
  return audio;
}

std::string CompactText(const Value& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return std::string(buffer.GetString(), buffer.GetSize());
}

Guid HashDefinition(const std::string& text) {
  kilncore::utility::HashValueMixerState state;
  kilncore::utility::UpdateHashState(state, kContentStateDomain, sizeof(kContentStateDomain) - 1);
  kilncore::utility::UpdateHashState(state, text.data(), text.size());
  Guid result;
  kilncore::utility::GetHashResult(state, result);
  return result;
}

void ReadFrameRate(const Value& value, const std::string& path, Composition& comp) {
  const auto [num, den] = ReadRatio(Member(value, "frameRate", path), path + ".frameRate");
  comp.rateNumerator = num;
  comp.rateDenominator = den;
  const int64_t ticks = comp.FrameTicks();
  if (ticks <= 0 || ticks == tether::kNoFrameRate) Fail(path + ".frameRate", "is out of range");
  if (comp.dropFrame) {
    const bool ntsc = den == 1001 && num % 1000 == 0;
    const int64_t base = comp.TimecodeBase();
    if (!ntsc || (base != 30 && base != 60)) {
      Fail(path + ".dropFrame", "needs a rate of 30000/1001 or 60000/1001");
    }
  }
}

// Captions are handed to clients as they are: the server doesn't interpret
// the serialised text, it only keeps which stream is selected.
tether::CaptionData ReadCaptions(const Value& value, const std::string& path) {
  RequireObject(value, path);
  tether::CaptionData captions;
  captions.serializedData = OptionalString(value, "data", path);
  if (const Value* streams = OptionalMember(value, "streams")) {
    RequireArray(*streams, path + ".streams");
    for (rapidjson::SizeType i = 0; i < streams->Size(); ++i) {
      const std::string streamPath = path + ".streams[" + std::to_string(i) + "]";
      const Value& stream = (*streams)[i];
      RequireObject(stream, streamPath);
      tether::CaptionStreamEntry entry;
      entry.streamID = static_cast<uint64_t>(
          ReadInteger(Member(stream, "id", streamPath), streamPath + ".id", 0, std::numeric_limits<int64_t>::max()));
      entry.label = OptionalString(stream, "label", streamPath);
      entry.selected = OptionalBool(stream, "selected", streamPath, false);
      captions.streams.push_back(std::move(entry));
    }
  }
  return captions;
}

Composition ReadComposition(const Value& value, const std::string& path) {
  Composition comp;
  comp.id = ReadGuid(value, path);
  comp.name = StringMember(value, "name", path);
  comp.width = static_cast<uint32_t>(
      ReadInteger(Member(value, "width", path), path + ".width", 1, kMaxFrameSide));
  comp.height = static_cast<uint32_t>(
      ReadInteger(Member(value, "height", path), path + ".height", 1, kMaxFrameSide));
  comp.dropFrame = OptionalBool(value, "dropFrame", path, false);
  ReadFrameRate(value, path, comp);
  comp.durationFrames =
      ReadInteger(Member(value, "durationFrames", path), path + ".durationFrames", 1, kMaxFrames);
  comp.startFrame = OptionalInteger(value, "startFrame", path, 0, 0, kMaxFrames);
  comp.workAreaInFrame = 0;
  comp.workAreaOutFrame = comp.durationFrames;
  if (const Value* work = OptionalMember(value, "workArea")) {
    const std::string at = path + ".workArea";
    RequireObject(*work, at);
    comp.workAreaInFrame =
        ReadInteger(Member(*work, "inFrame", at), at + ".inFrame", 0, comp.durationFrames - 1);
    comp.workAreaOutFrame = ReadInteger(Member(*work, "outFrame", at), at + ".outFrame",
                                        comp.workAreaInFrame + 1, comp.durationFrames);
  }
  if (const Value* par = OptionalMember(value, "pixelAspectRatio")) {
    const auto [num, den] = ReadRatio(*par, path + ".pixelAspectRatio");
    if (num > std::numeric_limits<int32_t>::max() || den > std::numeric_limits<int32_t>::max()) {
      Fail(path + ".pixelAspectRatio", "is out of range");
    }
    comp.pixelAspectRatio = {static_cast<int32_t>(num), static_cast<int32_t>(den)};
  }
  comp.fieldType = ReadFieldType(value, path);
  comp.colorSpace = OptionalString(value, "colorSpace", path);
  if (const Value* layers = OptionalMember(value, "layers")) {
    RequireArray(*layers, path + ".layers");
    for (rapidjson::SizeType i = 0; i < layers->Size(); ++i) {
      comp.layers.push_back(ReadLayer((*layers)[i], path + ".layers[" + std::to_string(i) + "]"));
    }
  }
  if (const Value* audio = OptionalMember(value, "audio")) {
    comp.audio = ReadAudio(*audio, path + ".audio");
  }
  if (const Value* markers = OptionalMember(value, "markers")) {
    RequireArray(*markers, path + ".markers");
    for (rapidjson::SizeType i = 0; i < markers->Size(); ++i) {
      const std::string markerPath = path + ".markers[" + std::to_string(i) + "]";
      const Value& marker = (*markers)[i];
      if (!marker.IsObject()) {
        comp.markers.push_back(ReadString(marker, markerPath));
        continue;
      }
      // A placed marker: a name at a frame, which XMP packets list.
      PlacedMarker placed;
      placed.frame = ReadInteger(Member(marker, "frame", markerPath), markerPath + ".frame", 0, comp.durationFrames - 1);
      placed.name = StringMember(marker, "name", markerPath);
      comp.markers.push_back(placed.name);
      comp.placedMarkers.push_back(std::move(placed));
    }
  }
  if (const Value* captions = OptionalMember(value, "captions")) {
    comp.captions = ReadCaptions(*captions, path + ".captions");
  }
  comp.definitionText = CompactText(value);
  comp.contentState = HashDefinition(comp.definitionText);
  return comp;
}

FontReference ReadFont(const Value& value, const std::string& path) {
  RequireObject(value, path);
  FontReference font;
  font.family = StringMember(value, "family", path);
  font.style = OptionalString(value, "style", path);
  font.fullName = OptionalString(value, "fullName", path);
  font.file = OptionalString(value, "file", path);
  font.technology = static_cast<int32_t>(OptionalInteger(
      value, "technology", path, 0, std::numeric_limits<int32_t>::min(),
      std::numeric_limits<int32_t>::max()));
  // Read for files written before the machine's fonts were looked up; it
  // decides nothing any more.
  font.available = OptionalBool(value, "available", path, true);
  return font;
}

// Builds the tree depth first, so the nodes' order is the listing order.
class TreeReader {
 public:
  explicit TreeReader(ProjectContents& contents) : mContents(contents) {}

  void ReadEntries(const Value& items, const std::string& path, size_t parent) {
    RequireArray(items, path);
    const uint32_t depth = mContents.nodes[parent].depth + 1;
    if (depth > kMaxFolderDepth) Fail(path, "folders nest too deep");
    for (rapidjson::SizeType i = 0; i < items.Size(); ++i) {
      ReadEntry(items[i], path + "[" + std::to_string(i) + "]", parent, depth);
    }
  }

 private:
  void ReadEntry(const Value& value, const std::string& path, size_t parent, uint32_t depth) {
    RequireObject(value, path);
    const std::string type = StringMember(value, "type", path);
    ProjectNode node;
    node.parent = parent;
    node.depth = depth;
    if (type == "folder") {
      node.type = ProjectNode::Type::kFolder;
      node.id = ReadGuid(value, path);
      node.name = StringMember(value, "name", path);
    } else if (type == "composition") {
      node.type = ProjectNode::Type::kComposition;
      mContents.compositions.push_back(ReadComposition(value, path));
      node.id = mContents.compositions.back().id;
      node.name = mContents.compositions.back().name;
      node.composition = mContents.compositions.size() - 1;
    } else {
      Fail(path + ".type", "must be \"folder\" or \"composition\"");
    }
    if (!mIDs.insert(node.id).second) Fail(path + ".id", "is used twice");
    const size_t index = mContents.nodes.size();
    mContents.nodes.push_back(std::move(node));
    mContents.nodes[parent].children.push_back(index);
    if (type == "folder") {
      if (const Value* items = OptionalMember(value, "items")) {
        ReadEntries(*items, path + ".items", index);
      }
    }
  }

  ProjectContents& mContents;
  std::set<Guid> mIDs;
};

ProjectContents ReadProject(const Value& root) {
  RequireObject(root, "$");
  ProjectContents contents;
  contents.producer = OptionalString(root, "producer", "$");
  contents.revision = OptionalInteger(root, "revision", "$", 0, 0,
                                      std::numeric_limits<int64_t>::max());
  if (const Value* fonts = OptionalMember(root, "fonts")) {
    RequireArray(*fonts, "$.fonts");
    for (rapidjson::SizeType i = 0; i < fonts->Size(); ++i) {
      contents.fonts.push_back(ReadFont((*fonts)[i], "$.fonts[" + std::to_string(i) + "]"));
    }
  }
  contents.nodes.push_back(ProjectNode{});  // the root
  TreeReader(contents).ReadEntries(Member(root, "items", "$"), "$.items", 0);
  return contents;
}

// The deepest nesting of arrays and objects in well-formed JSON text. Writing
// a definition back out recurses, so hostile depth is refused up front.
size_t NestingDepth(std::string_view text) {
  size_t depth = 0;
  size_t deepest = 0;
  bool inString = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inString) {
      if (c == '\\') {
        ++i;
      } else if (c == '"') {
        inString = false;
      }
    } else if (c == '"') {
      inString = true;
    } else if (c == '[' || c == '{') {
      deepest = std::max(deepest, ++depth);
    } else if ((c == ']' || c == '}') && depth > 0) {
      --depth;
    }
  }
  return deepest;
}

// Refuses objects that name a member twice anywhere in the document. The
// depth is bounded by NestingDepth before this runs.
void RequireUniqueKeys(const Value& value, const std::string& path) {
  if (value.IsObject()) {
    std::set<std::string_view> keys;
    for (auto it = value.MemberBegin(); it != value.MemberEnd(); ++it) {
      const std::string_view key(it->name.GetString(), it->name.GetStringLength());
      if (!keys.insert(key).second) Fail(path + "." + std::string(key), "is named twice");
      RequireUniqueKeys(it->value, path + "." + std::string(key));
    }
  } else if (value.IsArray()) {
    for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
      RequireUniqueKeys(value[i], path + "[" + std::to_string(i) + "]");
    }
  }
}

}  // namespace

Outcome<ProjectContents> ProjectParser::Parse(std::string_view text) {
  rapidjson::Document document;
  // Iterative parsing: deeply nested hostile input can't exhaust the stack.
  document.Parse<rapidjson::kParseIterativeFlag>(text.data(), text.size());
  if (document.HasParseError()) {
    return Outcome<ProjectContents>::Failure(
        ProjectError::Kind::kNotJSON,
        std::string("not well-formed JSON at offset ") + std::to_string(document.GetErrorOffset()) +
            ": " + rapidjson::GetParseError_En(document.GetParseError()));
  }
  if (NestingDepth(text) > kMaxJSONDepth) {
    return Outcome<ProjectContents>::Failure(ProjectError::Kind::kBadField,
                                             "$: arrays and objects nest too deep");
  }
  try {
    RequireUniqueKeys(document, "$");
    return Outcome<ProjectContents>::Success(ReadProject(document));
  } catch (const BadField& e) {
    return Outcome<ProjectContents>::Failure(ProjectError::Kind::kBadField, e.what());
  }
}

}  // namespace tetherserver
