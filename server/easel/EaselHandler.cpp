#include <server/easel/EaselHandler.h>

#include <CompositionItem.h>
#include <CompositionProject.h>
#include <DocumentJson.h>
#include <server/easel/EaselReader.h>
#include <server/easel/EaselRenderer.h>

#include <tether/wire/Protocol.h>

#include <kilncore/string/UTFConversion.h>

namespace tetherserver {

std::shared_ptr<const SessionItem> EaselHandler::OpenFile(const tether::File& file, FileNotes& notes,
                                                          int32_t& status) const {
  const std::string path = kilncore::string::UTF16to8(file.FullPath());
  const auto document = EaselReader::Open(path);
  if (!document) {
    status = DocumentJson::StatusOf(document.error);
    return nullptr;
  }
  std::vector<std::string> files;
  for (const EaselLayer& layer : document->layers) {
    if (!layer.file.empty()) files.push_back(layer.file);
  }
  const tether::MissingAssets missing = CompositionProject::Missing(path, files, document->fonts);
  notes.kind = "Easel document";
  notes.detail = static_cast<int32_t>(document->layers.size());
  notes.message = CompositionProject::MissingText(missing);
  auto composition = std::make_shared<const Composition>(EaselRenderer::Build(*document));
  auto info = CompositionItem::Describe(*composition, path, "Easel (reference link server)");
  status = tether::wire::kStatusOK;
  return std::make_shared<CompositionItem>(std::move(composition), std::move(info),
                                           std::chrono::milliseconds(document->renderDelayMs));
}

}  // namespace tetherserver
