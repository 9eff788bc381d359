#include <server/sprocket/SprocketHandler.h>

#include <CompositionItem.h>
#include <CompositionProject.h>
#include <DocumentJson.h>
#include <server/sprocket/SprocketReader.h>
#include <server/sprocket/SprocketRenderer.h>

#include <tether/wire/Protocol.h>

#include <kilncore/string/UTFConversion.h>

namespace tetherserver {
namespace {

constexpr char kProducer[] = "Sprocket (reference link server)";

}  // namespace

std::shared_ptr<const SessionProject> SprocketHandler::OpenProject(const tether::File& file, const std::string& json,
                                                                   int32_t& status,
                                                                   const ProgressSink& progress) const {
  const std::string path = kilncore::string::UTF16to8(file.FullPath());
  if (progress) progress(kOpeningProgressType, 0.0, {path});
  const auto options = SprocketReader::ParseOptions(json);
  if (!options) {
    status = DocumentJson::StatusOf(options.error);
    return nullptr;
  }
  const auto document = SprocketReader::Open(path);
  if (!document) {
    status = DocumentJson::StatusOf(document.error);
    return nullptr;
  }
  std::vector<CompositionProject::Entry> entries;
  std::vector<std::string> textures;
  std::vector<FontReference> fonts;
  for (const SprocketScene& scene : document->scenes) {
    auto composition = std::make_shared<const Composition>(SprocketRenderer::Build(scene, *options));
    auto info = CompositionItem::Describe(*composition, path, kProducer);
    entries.push_back({tether::ItemInfo{info.name, scene.id, tether::ItemInfo::kTypeLeaf},
                       std::make_shared<CompositionItem>(std::move(composition), std::move(info),
                                                         std::chrono::milliseconds(scene.renderDelayMs))});
    textures.insert(textures.end(), scene.textures.begin(), scene.textures.end());
    fonts.insert(fonts.end(), scene.fonts.begin(), scene.fonts.end());
  }
  for (const FontReference& font : fonts) {
    if (!font.available && progress) progress(kMissingFontProgressType, -1.0, {path, font.family, font.style});
  }
  if (progress) progress(kOpeningProgressType, 1.0, {path});
  status = tether::wire::kStatusOK;
  return std::make_shared<CompositionProject>(std::move(entries),
                                              CompositionProject::Missing(path, textures, fonts));
}

}  // namespace tetherserver
