#include <TetherMedia/Lifecycle.h>

#include <module/ModuleIdentifiers.h>
#include <module/TetherMediaModuleCreator.h>

#include <WF/IImporterFactory.h>
#include <WF/IMediaModule.h>
#include <kilncore/classref/ClassFactory.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/debug/DebugDatabase.h>
#include <kilncore/debug/TypeName.h>
#include <kilncore/messaging/StationRegistry.h>

#include <cstdint>
#include <typeinfo>

namespace TetherMedia {
namespace {

constexpr int kSelectSourceUnavailable = static_cast<int>(0xA00F0001u);

// How many Initialize calls have not been matched by Shutdown yet. A plain
// integer on purpose: the host calls Initialize and Shutdown from one thread at
// a time, and a Shutdown too many wraps it, after which the next Initialize
// only brings it back to 0.
uint32_t gInitializeCount = 0;

// Made at load, so that progress can be addressed before Initialize.
const kilncore::utility::ImmutableString gProgressStationID =
    kilncore::messaging::UniqueStationID();

// Set and cleared by the host, never concurrently with its use.
SelectSourceCallback gSelectSource;

// Stores `replacement` (a copy made by the caller). The old callback is
// destroyed only after it has left the store, when `replacement` goes out of
// scope, so code run by its destruction sees the new function in place.
void ReplaceSelectSource(SelectSourceCallback replacement) {
  gSelectSource.swap(replacement);
}

void StartModule() {
  kilncore::classref::ClassFactory::RegisterClass(kTetherMediaModuleClassID,
                                                  kTetherMediaModuleClassIDName,
                                                  kTetherMediaModuleClassName,
                                                  &CreateTetherMediaModule);
  const kilncore::classref::InterfaceRef<WF::IImporterFactory> factory(
      kilncore::classref::CreateClassInstanceRef(kImporterFactoryClassID));
  const kilncore::classref::InterfaceRef<WF::IMediaModule> module(
      kilncore::classref::CreateClassInstanceRef(kTetherMediaModuleClassID));
  if (!factory) {
    kilncore::config::DoThrowNullPtrException(
        kilncore::debug::GetTypeName(typeid(WF::IImporterFactory)));
  }
  factory->AddMediaModule(module);
  // Last, so that progress is only announced for a module the host knows.
  kilncore::messaging::RegisterStation(gProgressStationID,
                                       kilncore::messaging::kObserveStation_Default);
}

}  // namespace

int Initialize() {
  const uint32_t previous = gInitializeCount;
  gInitializeCount = previous + 1;
  if (previous == 0) StartModule();
  return 0;
}

void Shutdown() {
  const uint32_t previous = gInitializeCount;
  gInitializeCount = previous - 1;
  if (previous != 1) return;
  kilncore::messaging::DisposeStation(gProgressStationID);
  if (gSelectSource) ReplaceSelectSource(SelectSourceCallback());
}

kilncore::utility::Guid GetTetherImplementationID() { return kTetherImplementationID; }

kilncore::utility::ImmutableString GetProgressStation() { return gProgressStationID; }

void SetSelectSource(const SelectSourceCallback& callback) { ReplaceSelectSource(callback); }

int SelectSource(kilncore::WideString& path, kilncore::utility::Guid& sourceID) {
  if (!gSelectSource) return kSelectSourceUnavailable;
  return gSelectSource(path, sourceID);
}

bool AllowTetherToOwnProjectType() {
  return kilncore::debug::DebugDatabase::Instance().GetEntry("AllowTetherToOwnProjectType",
                                                             "false") == "true";
}

}  // namespace TetherMedia
