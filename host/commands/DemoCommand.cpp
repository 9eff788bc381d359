#include <host/commands/DemoCommand.h>

#include <host/cli/CommandLine.h>
#include <host/cli/FourCharCode.h>
#include <host/cli/HostError.h>

#include <TetherMedia/Lifecycle.h>
#include <TetherMedia/Prefs.h>
#include <TetherMedia/RequestFutures.h>

#include <WF/IImporterFactory.h>
#include <WF/IMediaModule.h>
#include <WF/ReferenceImporterFactory.h>
#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/async/UntypedFuture.h>
#include <kilncore/classref/ClassFactory.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/string/UTFConversion.h>

#include <chrono>
#include <cstdio>
#include <string>

namespace tetherhost {
namespace {

using kilncore::string::UTF16to8;

constexpr uint32_t kModuleCode = 0x5454484Du;  // 'TTHM'
constexpr int32_t kUserCancelled = static_cast<int32_t>(0xA00F0007u);
constexpr int32_t kTerminating = static_cast<int32_t>(0xF3610008u);

void Expect(bool holds, const std::string& what) {
  if (!holds) throw HostError("demo: " + what);
}

// The host's side of start-up: the application is running, and the importer
// layer has its factory, before any module is initialised.
void StartPlatform() {
  kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateRunning);
  WF::RegisterReferenceImporterFactory();
  std::printf("platform: application running, importer factory registered\n");
}

void ShowModules() {
  kilncore::classref::InterfaceRef<WF::IImporterFactory> factory =
      kilncore::classref::CreateClassInstanceRef(WF::kImporterFactoryClassID);
  Expect(static_cast<bool>(factory), "the host has no importer factory");
  bool found = false;
  for (const auto& module : factory->GetMediaModules()) {
    const uint32_t code = module->GetModuleCode();
    const bool recognises = module->RecognizesImporterKey(kilncore::string::UTF8to16(std::to_string(code)));
    std::printf("importer: \"%s\" (%s), code %s, revision %d, recognises its importer key: %s\n",
                UTF16to8(module->GetModuleName()).c_str(), UTF16to8(module->GetModuleDisplayName()).c_str(),
                FourCharCodeText(code).c_str(), module->GetModuleRevision(), recognises ? "yes" : "no");
    if (code == kModuleCode) found = recognises;
  }
  Expect(found, "the TetherMedia module is not in the importer factory, or doesn't recognise its key");
}

// A clip's prefs blob: which item it shows, and how the owner renders it.
void ShowPrefsBlob() {
  const auto sourceID = kilncore::utility::Guid::CreateUnique();
  const RL::BinaryData prefs = TetherMedia::SourceIDToPrefs(sourceID);
  const auto readBack = TetherMedia::PrefsToSourceID(prefs);
  std::printf("prefs: item %s packs into %zu bytes and reads back as %s\n", sourceID.AsUTF8String().c_str(),
              prefs.GetSize(), readBack.AsUTF8String().c_str());
  Expect(readBack == sourceID, "the prefs blob did not read back as the item it was made of");
}

// An import the host cancels: the request table ends it with "User Canceled".
void ShowCancellableRequest() {
  const kilncore::WideString path = u"/projects/demo.marlp";
  const auto sourceID = kilncore::utility::Guid::CreateUnique();
  auto pair = TetherMedia::CreateRequestFuture(path, sourceID);
  TetherMedia::CancelRequest(path, sourceID);
  kilncore::async::WaitForUntypedUntil(pair.future, std::chrono::steady_clock::now() + std::chrono::seconds(5), true);
  const int32_t code = kilncore::config::ExtractResultFromException(pair.future.GetException());
  std::printf("request: cancelled by path and item, ended with %s (%s)\n", HexCode(code).c_str(),
              DescribeResultCode(code).c_str());
  Expect(code == kUserCancelled, "the cancelled request did not end as cancelled by the user");
}

// Termination fails whatever is still open, then the module shuts down.
void StopPlatform(kilncore::async::FuturePromisePair<void> open) {
  kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateTerminating);
  const int32_t code = kilncore::config::ExtractResultFromException(open.future.GetException());
  std::printf("termination: an open request ended with %s (%s)\n", HexCode(code).c_str(),
              DescribeResultCode(code).c_str());
  TetherMedia::Shutdown();
  std::printf("module: shut down\n");
  Expect(code == kTerminating, "termination did not fail the open request");
}

}  // namespace

int RunDemo() {
  StartPlatform();
  TetherMedia::Initialize();
  std::printf("module: initialised, implementation %s, progress station %s\n",
              TetherMedia::GetTetherImplementationID().AsUTF8String().c_str(),
              TetherMedia::GetProgressStation().AsUTF8().c_str());
  try {
    ShowModules();
    ShowPrefsBlob();
    ShowCancellableRequest();
  } catch (...) {
    TetherMedia::Shutdown();
    throw;
  }
  StopPlatform(TetherMedia::CreateRequestFuture());
  return 0;
}

void AddDemoCommand(CommandLine& commandLine) {
  commandLine.AddCommand("demo", "start the platform and the module and show what they do", [] { return RunDemo(); });
}

}  // namespace tetherhost
