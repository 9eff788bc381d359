#include <module/TetherMediaModule.h>

#include <module/ModuleIdentifiers.h>

#include <FarsideCL/FarsideAssetName.h>
#include <KL/FarsideAvailability.h>
#include <TetherMedia/Prefs.h>
#include <TetherMedia/RequestFutures.h>
#include <kilncore/classref/QueryMapEntries.h>
#include <kilncore/config/Localizer.h>

#include <cstddef>

namespace TetherMedia {
namespace {

// A prefs blob starts with the 36 UTF-16 units of its source identifier.
constexpr std::size_t kSourceIDBytes = 36 * 2;

}  // namespace

TetherMediaModule::~TetherMediaModule() = default;

kilncore::WideString TetherMediaModule::GetModuleName() { return u"Tether Media"; }

kilncore::WideString TetherMediaModule::GetModuleDisplayName() {
  return kilncore::config::Localizer::Get().Localize(
      u"$$$/TetherMedia/ModuleDisplayName=Tether Media");
}

void TetherMediaModule::ModuleNoOp() {}

int TetherMediaModule::GetModuleRevision() { return 1; }

bool TetherMediaModule::MatchesModuleRevision(uint32_t value) {
  return value == static_cast<uint32_t>(GetModuleRevision());
}

uint32_t TetherMediaModule::GetModuleCode() { return kTetherMediaModuleCode; }

bool TetherMediaModule::ModuleQueryA() { return false; }
bool TetherMediaModule::ModuleQueryB() { return false; }
bool TetherMediaModule::ModuleQueryC() { return false; }
bool TetherMediaModule::ModuleQueryD() { return false; }

bool TetherMediaModule::RecognizesImporterKey(const kilncore::WideString& key) {
  if (!key.empty() && KL::IsFarsideClientAvailable() && FarsideCL::IsFarsideAssetName(key)) {
    return true;
  }
  return WF::IMediaModule::RecognizesImporterKey(key);
}

void TetherMediaModule::CancelImport(const kilncore::WideString& path,
                                     const RL::BinaryData& prefs) {
  // Such a blob was never made by this module, so no request can be waiting
  // for it; the prefs readers don't check, and would read past its end.
  if (prefs.GetSize() < kSourceIDBytes) return;
  CancelRequest(path, PrefsToSourceID(prefs));
}

kilncore::classref::InterfaceRef<WF::IMediaModule> TetherMediaModule::GetModuleRef() {
  return kilncore::classref::InterfaceRef<WF::IMediaModule>::FromThis(this);
}

void* TetherMediaModule::QueryMap(const std::string_view& name) {
  return kilncore::classref::AnswerQuery<TetherMediaModule, WF::IMediaModule>(this, name);
}

}  // namespace TetherMedia
