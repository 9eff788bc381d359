#include <server/darkslide/DarkslideReader.h>

#include <DocumentJson.h>

namespace tetherserver {
namespace {

using J = DocumentJson;

constexpr int64_t kMaxSide = 8192;
constexpr int64_t kMaxFrames = 1000000;

DarkslidePhoto ReadPhoto(const J::Value& value, const std::string& path) {
  if (!value.IsObject()) J::Fail(path, "is not an object");
  DarkslidePhoto photo;
  photo.id = J::Identifier(value, "id", path);
  photo.name = J::String(value, "name", path);
  photo.file = J::String(value, "file", path);
  photo.width = static_cast<uint32_t>(J::Integer(value, "width", path, 1, kMaxSide));
  photo.height = static_cast<uint32_t>(J::Integer(value, "height", path, 1, kMaxSide));
  photo.color = J::Colour(J::Member(value, "color", path), path + ".color");
  if (const J::Value* develop = J::OptionalMember(value, "develop")) {
    const std::string at = path + ".develop";
    if (!develop->IsObject()) J::Fail(at, "is not an object");
    photo.develop.exposure = J::OptionalNumber(*develop, "exposure", at, -5.0, 5.0, 0.0);
    photo.develop.monochrome = J::OptionalBool(*develop, "monochrome", at, false);
    photo.develop.vignette = J::OptionalNumber(*develop, "vignette", at, 0.0, 1.0, 0.0);
  }
  photo.definition = J::CompactText(value);
  return photo;
}

}  // namespace

Outcome<DarkslideCatalogue> DarkslideReader::Open(const std::filesystem::path& path) {
  return J::Open<DarkslideCatalogue>(path, &DarkslideReader::Parse);
}

Outcome<DarkslideCatalogue> DarkslideReader::Parse(std::string_view text, const std::filesystem::path& path) {
  try {
    rapidjson::Document root;
    J::ParseDocument(root, text, "darkslide-catalogue");
    DarkslideCatalogue catalogue;
    catalogue.name = J::String(root, "name", "$");
    J::FrameRate(root, "$", catalogue.rateNumerator, catalogue.rateDenominator);
    catalogue.durationFrames =
        J::OptionalInteger(root, "durationFrames", "$", 1, kMaxFrames, catalogue.durationFrames);
    const J::Value& photos = J::Array(root, "photos", "$");
    for (rapidjson::SizeType i = 0; i < photos.Size(); ++i) {
      catalogue.photos.push_back(ReadPhoto(photos[i], "$.photos[" + std::to_string(i) + "]"));
    }
    return Outcome<DarkslideCatalogue>::Success(std::move(catalogue));
  } catch (const J::Error& error) {
    return Outcome<DarkslideCatalogue>::Failure(error.kind, path.string() + ": " + error.what());
  }
}

}  // namespace tetherserver
