#include <server/sprocket/SprocketReader.h>

#include <DocumentJson.h>

namespace tetherserver {
namespace {

using J = DocumentJson;

constexpr int64_t kMaxSide = 8192;
constexpr int64_t kMaxFrames = 1000000;
constexpr int64_t kMaxDelayMs = 600000;

SprocketProp ReadProp(const J::Value& value, const std::string& path) {
  SprocketProp prop;
  prop.name = J::OptionalString(value, "name", path);
  prop.color = J::Colour(J::Member(value, "color", path), path + ".color");
  prop.size = J::Pair(J::Member(value, "size", path), path + ".size");
  prop.from = J::Pair(J::Member(value, "from", path), path + ".from");
  prop.to = J::OptionalMember(value, "to") ? J::Pair(J::Member(value, "to", path), path + ".to") : prop.from;
  if (prop.size.x < 0 || prop.size.y < 0) J::Fail(path + ".size", "is negative");
  return prop;
}

SprocketScene ReadScene(const J::Value& value, const std::string& path) {
  if (!value.IsObject()) J::Fail(path, "is not an object");
  SprocketScene scene;
  scene.id = J::Identifier(value, "id", path);
  scene.name = J::String(value, "name", path);
  scene.width = static_cast<uint32_t>(J::Integer(value, "width", path, 1, kMaxSide));
  scene.height = static_cast<uint32_t>(J::Integer(value, "height", path, 1, kMaxSide));
  J::FrameRate(value, path, scene.rateNumerator, scene.rateDenominator);
  scene.durationFrames = J::Integer(value, "durationFrames", path, 1, kMaxFrames);
  if (const J::Value* background = J::OptionalMember(value, "background")) {
    scene.background = J::Colour(*background, path + ".background");
  }
  if (J::OptionalMember(value, "props")) {
    const J::Value& props = J::Array(value, "props", path);
    for (rapidjson::SizeType i = 0; i < props.Size(); ++i) {
      scene.props.push_back(ReadProp(props[i], path + ".props[" + std::to_string(i) + "]"));
    }
  }
  if (const J::Value* audio = J::OptionalMember(value, "audio")) {
    scene.audioChannels = static_cast<uint32_t>(J::Integer(*audio, "channels", path + ".audio", 1, 2));
    scene.toneHz = J::OptionalNumber(*audio, "toneHz", path + ".audio", 1.0, 20000.0, scene.toneHz);
  }
  if (J::OptionalMember(value, "textures")) {
    const J::Value& textures = J::Array(value, "textures", path);
    for (rapidjson::SizeType i = 0; i < textures.Size(); ++i) {
      if (!textures[i].IsString()) J::Fail(path + ".textures[" + std::to_string(i) + "]", "is not a string");
      scene.textures.emplace_back(textures[i].GetString(), textures[i].GetStringLength());
    }
  }
  scene.fonts = J::Fonts(value, path);
  scene.renderDelayMs = J::OptionalInteger(value, "renderDelayMs", path, 0, kMaxDelayMs, 0);
  scene.definition = J::CompactText(value);
  return scene;
}

}  // namespace

Outcome<SprocketDocument> SprocketReader::Open(const std::filesystem::path& path) {
  return J::Open<SprocketDocument>(path, &SprocketReader::Parse);
}

Outcome<SprocketDocument> SprocketReader::Parse(std::string_view text, const std::filesystem::path& path) {
  try {
    rapidjson::Document root;
    J::ParseDocument(root, text, "sprocket-scene");
    SprocketDocument document;
    const J::Value& scenes = J::Array(root, "scenes", "$");
    if (scenes.Empty()) J::Fail("$.scenes", "is empty");
    for (rapidjson::SizeType i = 0; i < scenes.Size(); ++i) {
      document.scenes.push_back(ReadScene(scenes[i], "$.scenes[" + std::to_string(i) + "]"));
    }
    return Outcome<SprocketDocument>::Success(std::move(document));
  } catch (const J::Error& error) {
    return Outcome<SprocketDocument>::Failure(error.kind, path.string() + ": " + error.what());
  }
}

Outcome<SprocketRenderOptions> SprocketReader::ParseOptions(std::string_view text) {
  SprocketRenderOptions options;
  if (text.empty()) return Outcome<SprocketRenderOptions>::Success(options);
  try {
    rapidjson::Document root;
    root.Parse(text.data(), text.size());
    if (root.HasParseError() || !root.IsObject()) J::Fail("render options", "are not a JSON object");
    if (const J::Value* background = J::OptionalMember(root, "background")) {
      options.hasBackground = true;
      options.background = J::Colour(*background, "render options.background");
    }
    options.frameNumbers = J::OptionalBool(root, "frameNumbers", "render options", false);
    options.text = J::CompactText(root);
    return Outcome<SprocketRenderOptions>::Success(std::move(options));
  } catch (const J::Error& error) {
    return Outcome<SprocketRenderOptions>::Failure(error.kind, error.what());
  }
}

}  // namespace tetherserver
