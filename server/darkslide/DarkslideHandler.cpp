#include <server/darkslide/DarkslideHandler.h>

#include <CompositionItem.h>
#include <CompositionProject.h>
#include <DocumentJson.h>
#include <server/darkslide/DarkslideReader.h>
#include <server/darkslide/DarkslideRenderer.h>

#include <tether/wire/Protocol.h>

#include <kilncore/string/UTFConversion.h>

namespace tetherserver {

std::shared_ptr<const SessionProject> DarkslideHandler::OpenProject(const tether::File& file, const std::string&,
                                                                    int32_t& status,
                                                                    const ProgressSink& progress) const {
  const std::string path = kilncore::string::UTF16to8(file.FullPath());
  if (progress) progress(kOpeningProgressType, 0.0, {path});
  const auto catalogue = DarkslideReader::Open(path);
  if (!catalogue) {
    status = DocumentJson::StatusOf(catalogue.error);
    return nullptr;
  }
  std::vector<CompositionProject::Entry> entries;
  std::vector<std::string> originals;
  for (const DarkslidePhoto& photo : catalogue->photos) {
    auto composition = std::make_shared<const Composition>(DarkslideRenderer::Build(*catalogue, photo));
    auto info = CompositionItem::Describe(*composition, path, "Darkslide (reference link server)");
    entries.push_back({tether::ItemInfo{info.name, photo.id, tether::ItemInfo::kTypeLeaf},
                       std::make_shared<CompositionItem>(std::move(composition), std::move(info))});
    originals.push_back(photo.file);
  }
  if (progress) progress(kOpeningProgressType, 1.0, {path});
  status = tether::wire::kStatusOK;
  return std::make_shared<CompositionProject>(std::move(entries), CompositionProject::Missing(path, originals, {}));
}

}  // namespace tetherserver
