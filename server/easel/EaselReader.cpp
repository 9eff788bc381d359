#include <server/easel/EaselReader.h>

#include <DocumentJson.h>

namespace tetherserver {
namespace {

using J = DocumentJson;

constexpr int64_t kMaxSide = 8192;
constexpr int64_t kMaxFrames = 1000000;
constexpr int64_t kMaxDelayMs = 600000;

EaselLayer::Kind KindOf(const std::string& text, const std::string& path) {
  if (text == "fill") return EaselLayer::Kind::kFill;
  if (text == "gradient") return EaselLayer::Kind::kGradient;
  if (text == "rect") return EaselLayer::Kind::kRect;
  J::Fail(path, "is not \"fill\", \"gradient\" or \"rect\"");
}

EaselLayer ReadLayer(const J::Value& value, const std::string& path) {
  if (!value.IsObject()) J::Fail(path, "is not an object");
  EaselLayer layer;
  layer.name = J::OptionalString(value, "name", path);
  layer.kind = KindOf(J::String(value, "kind", path), path + ".kind");
  layer.color = J::Colour(J::Member(value, "color", path), path + ".color");
  if (layer.kind == EaselLayer::Kind::kGradient) {
    layer.colorTo = J::Colour(J::Member(value, "colorTo", path), path + ".colorTo");
    layer.vertical = J::OptionalString(value, "direction", path) == "vertical";
  }
  if (layer.kind == EaselLayer::Kind::kRect) {
    layer.at = J::Pair(J::Member(value, "at", path), path + ".at");
    layer.size = J::Pair(J::Member(value, "size", path), path + ".size");
    if (layer.size.x < 0 || layer.size.y < 0) J::Fail(path + ".size", "is negative");
  }
  layer.hidden = J::OptionalBool(value, "hidden", path, false);
  layer.file = J::OptionalString(value, "file", path);
  return layer;
}

}  // namespace

Outcome<EaselDocument> EaselReader::Open(const std::filesystem::path& path) {
  return J::Open<EaselDocument>(path, &EaselReader::Parse);
}

Outcome<EaselDocument> EaselReader::Parse(std::string_view text, const std::filesystem::path& path) {
  try {
    rapidjson::Document root;
    J::ParseDocument(root, text, "easel-document");
    EaselDocument document;
    document.id = J::Identifier(root, "id", "$");
    document.name = J::String(root, "name", "$");
    const J::Value& canvas = J::Member(root, "canvas", "$");
    document.width = static_cast<uint32_t>(J::Integer(canvas, "width", "$.canvas", 1, kMaxSide));
    document.height = static_cast<uint32_t>(J::Integer(canvas, "height", "$.canvas", 1, kMaxSide));
    J::FrameRate(root, "$", document.rateNumerator, document.rateDenominator);
    document.durationFrames = J::OptionalInteger(root, "durationFrames", "$", 1, kMaxFrames, document.durationFrames);
    const J::Value& layers = J::Array(root, "layers", "$");
    for (rapidjson::SizeType i = 0; i < layers.Size(); ++i) {
      document.layers.push_back(ReadLayer(layers[i], "$.layers[" + std::to_string(i) + "]"));
    }
    document.fonts = J::Fonts(root, "$");
    document.renderDelayMs = J::OptionalInteger(root, "renderDelayMs", "$", 0, kMaxDelayMs, 0);
    document.definition = J::CompactText(root);
    return Outcome<EaselDocument>::Success(std::move(document));
  } catch (const J::Error& error) {
    return Outcome<EaselDocument>::Failure(error.kind, path.string() + ": " + error.what());
  }
}

}  // namespace tetherserver
