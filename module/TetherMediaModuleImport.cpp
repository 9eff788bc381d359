// The import entry: from a path, or the name of a remote asset, to a linked
// item.

#include <module/TetherMediaModule.h>

#include <mediainfo/TetherMediaInfo.h>

#include <Crate/ApplicationType.h>
#include <FarsideCL/AssetName.h>
#include <FarsideCL/FarsideAssetName.h>
#include <FarsideCL/IFarsideCDataServer.h>
#include <KL/FarsideAvailability.h>
#include <Sill/PathUtils.h>
#include <TetherMedia/Lifecycle.h>
#include <TetherMedia/MissingAssets.h>
#include <TetherMedia/Prefs.h>
#include <WF/ImportableFileTypeUtils.h>
#include <kilncore/classref/InterfaceName.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/config/UsageLogger.h>
#include <kilncore/debug/TraceSite.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/Guid.h>

namespace TetherMedia {
namespace {

using kilncore::classref::InterfaceRef;

constexpr int32_t kNothingToImport = static_cast<int32_t>(0xA00F000Eu);
constexpr int32_t kNoLoggedInServer = static_cast<int32_t>(0xA00F000Fu);
constexpr int32_t kMarlApplication = 1;

// Motion graphics templates are traced on their own channel, so that their
// renderer can be told from the host's own.
void TraceGraphicsTemplate(const kilncore::WideString& path) {
  if (!WF::ImportableFileTypeUtils::IsMarlProject(path, true)) return;
  static kilncore::debug::TraceSite site("MOTION-GRAPHICS-TEMPLATE", 5);
  if (!site.Enabled()) return;
  site.Write("Renderer is TETHER. marlgraphic filename: " +
             kilncore::string::UTF16to8(Sill::PathUtils::GetFilePart(path)));
}

}  // namespace

int TetherMediaModule::ImportFile(InterfaceRef<KL::IMediaInfo>& result,
                                  const kilncore::WideString& path, uint32_t /*fileType*/,
                                  uint32_t /*importFlags*/, RL::BinaryData& prefs,
                                  bool& /*prefsChanged*/, bool hasPrefs,
                                  bool /*allowUserInterface*/,
                                  const kilncore::WideString& /*projectPath*/,
                                  int32_t /*streamIndex*/, void* /*parentWindow*/,
                                  uint64_t /*importContext*/, void* /*reserved*/) {
  if (const auto logger = kilncore::config::UsageLogger::Get()) {
    logger->LogEvent("KILN", "Tether", "Import", "");
  }
  if (KL::IsFarsideClientAvailable() && FarsideCL::IsFarsideAssetName(path)) {
    return ImportFarsideAsset(result, path, prefs);
  }
  if (!hasPrefs) {
    // A new clip: the user picks the item. The chosen path is the one given;
    // the callback's copy is its own.
    kilncore::WideString selectedPath = path;
    kilncore::utility::Guid sourceID;
    const int selected = SelectSource(selectedPath, sourceID);
    if (selected < 0) return selected;
    prefs = SourceIDToPrefs(sourceID);
  }
  if (prefs.IsEmpty()) return kNothingToImport;

  InterfaceRef<TetherMediaInfo> item;
  const int code = TetherMediaInfo::Create(item, path, prefs);
  if (code < 0) return code;
  if (!item) {
    kilncore::config::DoThrowNullPtrException(kilncore::classref::InterfaceNameOf<TetherMediaInfo>());
  }
  // Only a project can report what it misses; a file or a remote item has none.
  if (const auto project = item->GetProject()) {
    AddMissingAssets(project->GetMissingAssets(), item->GetFilePath());
  }
  result = item;
  TraceGraphicsTemplate(path);
  return code;
}

int TetherMediaModule::ImportFarsideAsset(InterfaceRef<KL::IMediaInfo>& result,
                                          const kilncore::WideString& path, RL::BinaryData& prefs) {
  const auto dataServer = FarsideCL::IFarsideCDataServer::GetLoggedInServerRef();
  if (!dataServer) return kNoLoggedInServer;
  const FarsideCL::AssetName name = FarsideCL::AssetName::CreateFromString(path);
  tether::FarsideAssetRequestInfo request;
  request.production = name.GetProduction().AsUTF8();
  request.version = name.GetVersion().AsUTF8();
  request.asset = name.GetAsset().AsUTF8();
  // Only a fixed version of a production can be linked.
  if (request.version.empty()) return kNothingToImport;
  TetherMediaInfo::FillFromDataServer(request, *dataServer);
  // Marl links to Tolmen's remote items, every other host to Marl's.
  const auto serverType = Crate::GetApplicationType() == kMarlApplication
                              ? tether::kFarsideAssetServerTypeTolmen
                              : tether::kFarsideAssetServerTypeMarl;
  InterfaceRef<TetherMediaInfo> item;
  const int code = TetherMediaInfo::Create(item, request, serverType, prefs, boost::none);
  if (code >= 0) result = item;
  return code;
}

}  // namespace TetherMedia
