#include <host/session/HostSession.h>

#include <host/cli/HostError.h>
#include <host/session/HostApplication.h>
#include <host/session/ProgressView.h>
#include <host/session/ServerLossWatch.h>

#include <TetherMedia/Lifecycle.h>
#include <WF/IImporterFactory.h>
#include <WF/ReferenceImporterFactory.h>
#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/classref/ClassFactory.h>
#include <kilncore/messaging/UIThreadQueue.h>
#include <tether/Backend.h>
#include <tether/ipc/IpcBackend.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>

namespace tetherhost {
namespace {

// The module's four-character code, 'TTHM'.
constexpr uint32_t kModuleCode = 0x5454484Du;

kilncore::classref::InterfaceRef<WF::IMediaModule> FindModule() {
  kilncore::classref::InterfaceRef<WF::IImporterFactory> factory =
      kilncore::classref::CreateClassInstanceRef(WF::kImporterFactoryClassID);
  if (!factory) throw HostError("the host has no importer factory");
  for (const auto& module : factory->GetMediaModules()) {
    if (module && module->GetModuleCode() == kModuleCode) return module;
  }
  throw HostError("the TetherMedia module did not register with the importer factory");
}

}  // namespace

HostSession::HostSession() {
  // Before the module loads: the application decides which owners it offers.
  HostApplication::PlayFromEnvironment();
  kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateRunning);
  WF::RegisterReferenceImporterFactory();
  tether::ipc::InstallDefaultIpcBackend();
  mLossWatch = std::make_unique<ServerLossWatch>();
  TetherMedia::Initialize();
  mModule = FindModule();
  mProgress = std::make_unique<ProgressView>(stderr);
}

HostSession::~HostSession() {
  mLossWatch.reset();
  mProgress.reset();
  mModule = nullptr;
  kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateTerminating);
  TetherMedia::Shutdown();
  tether::InstallBackend(nullptr);
}

int HostSession::RunWithUserInterface(const std::function<int()>& job) {
  auto& queue = kilncore::messaging::UIThreadQueue::Instance();
  std::atomic<bool> done{false};
  int result = 0;
  std::exception_ptr failure;
  std::thread worker([&] {
    try {
      result = job();
    } catch (...) {
      failure = std::current_exception();
    }
    done.store(true, std::memory_order_release);
    queue.Wake();
  });
  while (!done.load(std::memory_order_acquire)) {
    queue.WaitAndPump(std::chrono::steady_clock::now() + std::chrono::milliseconds(100));
  }
  worker.join();
  // What the job posted last still reaches its listeners.
  queue.Pump();
  mProgress->Finish();
  if (failure) std::rethrow_exception(failure);
  return result;
}

}  // namespace tetherhost
