#include <host/session/ServerLossWatch.h>

#include <host/cli/HostError.h>

#include <tether/Backend.h>
#include <tether/ServerFailure.h>
#include <tether/ipc/IpcBackend.h>

#include <chrono>

namespace tetherhost {
namespace {

std::mutex gMutex;
ServerLossWatch* gWatch = nullptr;
std::optional<std::string> gLossLine;

// A request started between two rounds of cancelling (the command's next
// frame) is cancelled by the next round.
constexpr std::chrono::milliseconds kCancelRound{50};

constexpr char kVideoRendererOperation[] = "source.get-video-renderer";
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
      Report((loss.operation.empty() ? "lost the link's server: " : "the link lost a request: ") + loss.reason);
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
}

ServerLossWatch::~ServerLossWatch() {
  if (auto backend = InstalledIpcBackend()) {
    backend->SetServerLossListener(nullptr);
    backend->SetRequestFailureListener(nullptr);
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

std::optional<std::string> ServerLossWatch::LossLine() {
  std::lock_guard lock(gMutex);
  return gLossLine;
}

void ServerLossWatch::OnLoss() {
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
  {
    std::lock_guard lock(mMutex);
    streams = mStreams;
  }
  for (const auto& stream : streams) {
    stream->CancelPendingRequests();
  }
}

std::string ServerLossWatch::DescribeFailure(const HostError& error) {
  if (const auto loss = LossLine()) return *loss;
  std::string line = error.Describe();
  if (const auto failure = tether::LastServerFailure()) line += ": " + failure->message;
  return line;
}

}  // namespace tetherhost
