#include <host/session/ServerLossWatch.h>

#include <host/cli/HostError.h>
#include <host/cli/Interruption.h>

#include <TetherMedia/Prefs.h>
#include <kilncore/appstatemanager/AppStateManager.h>

#include <tether/Backend.h>
#include <tether/ServerFailure.h>
#include <tether/ipc/IpcBackend.h>

#include <cerrno>
#include <chrono>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace tetherhost {
namespace {

std::mutex gMutex;
ServerLossWatch* gWatch = nullptr;
std::optional<std::string> gLossLine;

// A request started between two rounds of cancelling (the command's next
// frame) is cancelled by the next round.
constexpr std::chrono::milliseconds kCancelRound{50};

constexpr char kVideoRendererOperation[] = "source.get-video-renderer";
// What the user can do about a lost server: the command's next run connects
// anew (the backend starts a fresh server), which this host doesn't do by
// itself (docs/decisions.md, "Reference host").
constexpr char kAgain[] = "; run the command again to start a new server";
// What the link records as the failed operation when its connection breaks.
constexpr char kConnectionOperation[] = "connection";
// Reported as a lost request already.
constexpr int32_t kLostStatus = 8;

std::shared_ptr<tether::ipc::IpcBackend> InstalledIpcBackend() {
  return std::dynamic_pointer_cast<tether::ipc::IpcBackend>(tether::GetBackend());
}

}  // namespace

// Through the global, under its lock: a watch that is going away is never
// reached.
void ServerLossWatch::Report(const std::string& line) {
  std::lock_guard lock(gMutex);
  if (!gLossLine) {
    gLossLine = line;
  }
  if (gWatch) {
    gWatch->OnLoss();
  }
}

ServerLossWatch::ServerLossWatch() {
  {
    std::lock_guard lock(gMutex);
    gWatch = this;
  }
  if (auto backend = InstalledIpcBackend()) {
    backend->SetServerLossListener([](const tether::ipc::IpcBackend::ServerLoss& loss) {
      Report((loss.operation.empty() ? "lost the link's server: " : "the link lost a request: ") + loss.reason +
             kAgain);
    });
    // Without a video renderer the module waits for its frames until they
    // are cancelled: a refused renderer ends the command like a lost server.
    backend->SetRequestFailureListener([](const tether::ServerFailure& failure) {
      if (failure.operation == kVideoRendererOperation && failure.status != kLostStatus) {
        Report("the server can't render this clip's video: " +
               (failure.message.empty() ? "status " + std::to_string(failure.status) : failure.message));
      }
    });
  }
  // Ctrl-C is awaited on a thread of the watch's own, which sleeps in poll
  // until the handler's byte or the destructor's.
  if (Interruption::WakeDescriptor() >= 0 && pipe2(mStop, O_CLOEXEC) == 0) {
    mInterruptionWatcher = std::thread([this] { WaitForInterruption(); });
  }
}

ServerLossWatch::~ServerLossWatch() {
  if (auto backend = InstalledIpcBackend()) {
    backend->SetServerLossListener(nullptr);
    backend->SetRequestFailureListener(nullptr);
  }
  if (mInterruptionWatcher.joinable()) {
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = write(mStop[1], &byte, 1);
    mInterruptionWatcher.join();
  }
  if (mStop[0] >= 0) {
    close(mStop[0]);
    close(mStop[1]);
  }
  {
    std::lock_guard lock(gMutex);
    gWatch = nullptr;
  }
  std::thread canceller;
  {
    std::lock_guard lock(mMutex);
    mStopping = true;
    canceller = std::move(mCanceller);
  }
  mWake.notify_all();
  if (canceller.joinable()) {
    canceller.join();
  }
}

void ServerLossWatch::Watch(const kilncore::classref::InterfaceRef<RL::ISource>& stream) {
  if (!stream) {
    return;
  }
  std::lock_guard lock(gMutex);
  if (gWatch) {
    std::lock_guard own(gWatch->mMutex);
    gWatch->mStreams.push_back(stream);
  }
}

void ServerLossWatch::WatchImport(WF::IMediaModule& module, const kilncore::WideString& path,
                                  const kilncore::utility::Guid& sourceID) {
  std::lock_guard lock(gMutex);
  if (gWatch) {
    std::lock_guard own(gWatch->mMutex);
    gWatch->mImportModule = &module;
    gWatch->mImportPath = path;
    gWatch->mImportSourceID = sourceID;
  }
}

void ServerLossWatch::UnwatchImport() {
  std::lock_guard lock(gMutex);
  if (gWatch) {
    std::lock_guard own(gWatch->mMutex);
    gWatch->mImportModule = nullptr;
  }
}

void ServerLossWatch::WatchListing(bool listing) {
  std::lock_guard lock(gMutex);
  if (gWatch) {
    std::lock_guard own(gWatch->mMutex);
    gWatch->mListing = listing;
  }
}

std::optional<std::string> ServerLossWatch::LossLine() {
  std::lock_guard lock(gMutex);
  return gLossLine;
}

void ServerLossWatch::OnLoss() { StartCancelling(); }

void ServerLossWatch::WaitForInterruption() {
  pollfd fds[2] = {{Interruption::WakeDescriptor(), POLLIN, 0}, {mStop[0], POLLIN, 0}};
  while (poll(fds, 2, -1) < 0 && errno == EINTR) {
  }
  if (fds[1].revents == 0 && fds[0].revents != 0) StartCancelling();
}

void ServerLossWatch::StartCancelling() {
  std::lock_guard lock(mMutex);
  if (mLost || mStopping) {
    return;
  }
  mLost = true;
  // Not on the library's thread: cancelling calls into the module, which may
  // wait on what this thread would otherwise deliver.
  mCanceller = std::thread([this] { CancelUntilStopped(); });
}

void ServerLossWatch::CancelUntilStopped() {
  std::unique_lock lock(mMutex);
  while (!mStopping) {
    lock.unlock();
    CancelAll();
    lock.lock();
    mWake.wait_for(lock, kCancelRound, [this] { return mStopping; });
  }
}

void ServerLossWatch::CancelAll() {
  std::vector<kilncore::classref::InterfaceRef<RL::ISource>> streams;
  WF::IMediaModule* importModule = nullptr;
  kilncore::WideString importPath;
  kilncore::utility::Guid importSourceID;
  bool listing = false;
  {
    std::lock_guard lock(mMutex);
    streams = mStreams;
    importModule = mImportModule;
    importPath = mImportPath;
    importSourceID = mImportSourceID;
    listing = mListing;
  }
  // The listing's wait has no identity of its own; only termination ends it.
  // A lost server ends it already, so only the user's Ctrl-C takes this way.
  if (listing && Interruption::Requested()) {
    kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateTerminating);
  }
  // The module's wait for an item is known by its path and the picked item;
  // it reads only whole prefs blobs, so the host passes one carrying the item.
  if (importModule) importModule->CancelImport(importPath, TetherMedia::SourceIDToPrefs(importSourceID));
  for (const auto& stream : streams) {
    stream->CancelPendingRequests();
  }
}

std::string ServerLossWatch::DescribeFailure(const HostError& error) {
  if (const auto loss = LossLine()) return *loss;
  const auto failure = tether::LastServerFailure();
  // The broken connection is recorded before its requests fail, and its
  // loss report follows them: a command that failed on the first of them can
  // end (and its session with the listener) before the report comes.
  if (failure && failure->operation == kConnectionOperation) {
    return "lost the link's server: " + failure->message + kAgain;
  }
  std::string line = error.Describe();
  if (failure) line += ": " + failure->message;
  return line;
}

}  // namespace tetherhost
