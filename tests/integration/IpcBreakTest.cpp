#include "IpcTestSupport.h"

#include <SessionSyntheticContent.h>

#include <tether/ServerFailure.h>
#include <tether/ipc/IpcBackend.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <future>
#include <mutex>

extern char** environ;

namespace tether::ipctest {
namespace {

using tetherserver::SessionSyntheticContent;
using Clock = std::chrono::steady_clock;

// Counts the callbacks of calls in flight, and when each came.
class Tally {
 public:
  explicit Tally(int expected) : mExpected(expected) {}

  // Records one callback with its status.
  void Record(int status) {
    std::lock_guard lock(mMutex);
    ++mCalls;
    mFailures += status != 0 ? 1 : 0;
    mLast = Clock::now();
    mWake.notify_all();
  }
  bool WaitForAll(std::chrono::milliseconds timeout) {
    std::unique_lock lock(mMutex);
    return mWake.wait_for(lock, timeout, [&] { return mCalls >= mExpected; });
  }
  int Calls() {
    std::lock_guard lock(mMutex);
    return mCalls;
  }
  int Failures() {
    std::lock_guard lock(mMutex);
    return mFailures;
  }
  Clock::time_point Last() {
    std::lock_guard lock(mMutex);
    return mLast;
  }

 private:
  std::mutex mMutex;
  std::condition_variable mWake;
  int mExpected;
  int mCalls = 0;
  int mFailures = 0;
  Clock::time_point mLast;
};

ipc::IpcBackendOptions ChildOptions() {
  ipc::IpcBackendOptions options;
  options.serverExecutable = TETHER_TEST_SERVER_EXECUTABLE;
  options.heartbeatInterval = std::chrono::milliseconds(200);
  options.heartbeatTimeout = std::chrono::milliseconds(1000);
  return options;
}

// Puts four calls in flight that the hanging item never answers: two renders,
// a renderer creation and an audio read.
void StartHangingCalls(Chain& chain, Tally& tally) {
  VideoRenderOptions plain;
  plain.SetBounds(16, 16);
  auto [status, renderer] = Await<VideoRenderer>([&](auto cb) { chain.source->GetVideoRenderer(cb, plain); });
  ASSERT_EQ(status, 0);
  AudioRenderOptions audioOptions;
  audioOptions.SetAudioChannelLayout({1, 2});
  auto [audioStatus, reader] = Await<AudioRenderer>(
      [&](auto cb) { chain.source->GetAudioRenderer(cb, audioOptions, RatioTime(0), 960); });
  ASSERT_EQ(audioStatus, 0);

  auto onBlock = [&tally](const kilncore::utility::Guid&, const BlockData&, int s) { tally.Record(s); };
  renderer->RenderVideo(onBlock, kilncore::utility::Guid::CreateUnique(), RatioTime(0));
  renderer->RenderVideo(onBlock, kilncore::utility::Guid::CreateUnique(), RatioTime(1));
  reader->RenderAudio(onBlock, kilncore::utility::Guid::CreateUnique());
  VideoRenderOptions hanging;
  hanging.SetAppSpecificRenderOptionsJSONString(u"{\"hang\":true}");
  chain.source->GetVideoRenderer(
      [&tally](ConnectionStatus s, const std::shared_ptr<VideoRenderer>&) { tally.Record(s); }, hanging);
}

TEST(IpcBreakTest, KilledServerFailsEveryCallInFlightOncePromptly) {
  auto backend = ipc::IpcBackend::Create(ChildOptions());
  Chain chain = OpenItem(*backend, SessionSyntheticContent::kHangingItemID);
  ASSERT_TRUE(chain.source);
  Tally tally(4);
  StartHangingCalls(chain, tally);
  pid_t pid = backend->ServerProcessId();
  ASSERT_GT(pid, 0);
  ASSERT_EQ(tally.Calls(), 0);

  auto killed = Clock::now();
  ASSERT_EQ(::kill(pid, SIGKILL), 0);
  ASSERT_TRUE(tally.WaitForAll(std::chrono::seconds(5)));
  EXPECT_LT(tally.Last() - killed, std::chrono::milliseconds(500));
  EXPECT_EQ(tally.Failures(), 4);

  // Calls on the dead connection's objects fail at once.
  auto [status, project] =
      Await<Project>([&](auto cb) { chain.server->OpenProject(cb, File(u"/projects/x.synthetic")); });
  EXPECT_NE(status, 0);
  EXPECT_FALSE(project);
  EXPECT_EQ(tally.Calls(), 4);  // and nothing came twice

  // The next creation reaches a fresh server.
  Chain fresh = OpenItem(*backend, SessionSyntheticContent::kItemID);
  EXPECT_TRUE(fresh.source);
  EXPECT_NE(backend->ServerProcessId(), pid);
  EXPECT_GT(backend->ServerProcessId(), 0);
}

TEST(IpcBreakTest, StoppedServerIsDetectedByTheHeartbeat) {
  auto backend = ipc::IpcBackend::Create(ChildOptions());
  // Told after the backend has ended the stuck server (on a library thread,
  // so possibly after the next connection is up).
  auto told = std::make_shared<std::promise<void>>();
  auto toldFuture = told->get_future();
  auto once = std::make_shared<std::once_flag>();
  backend->SetServerLossListener(
      [told, once](const ipc::IpcBackend::ServerLoss&) { std::call_once(*once, [&] { told->set_value(); }); });
  Chain chain = OpenItem(*backend, SessionSyntheticContent::kItemID);
  ASSERT_TRUE(chain.source);
  pid_t pid = backend->ServerProcessId();
  ClearLastServerFailure();
  ASSERT_EQ(::kill(pid, SIGSTOP), 0);

  Tally tally(1);
  auto stopped = Clock::now();
  chain.project->GetContainer([&tally](ConnectionStatus s, const std::shared_ptr<Container>&) { tally.Record(s); },
                              kilncore::utility::Guid());
  ASSERT_TRUE(tally.WaitForAll(std::chrono::seconds(5)));
  EXPECT_EQ(tally.Failures(), 1);
  // The heartbeat ended it, not anything sooner: said by the reason, since
  // how long after SIGSTOP that is depends on when the last pong came in,
  // which a loaded machine delays.
  const auto failure = LastServerFailure();
  ASSERT_TRUE(failure);
  EXPECT_NE(failure->message.find("the server stopped answering"), std::string::npos) << failure->message;
  EXPECT_LT(tally.Last() - stopped, std::chrono::milliseconds(3000));

  Chain fresh = OpenItem(*backend, SessionSyntheticContent::kItemID);
  EXPECT_TRUE(fresh.source);
  EXPECT_NE(backend->ServerProcessId(), pid);
  // The stuck server was ended, not left behind.
  ASSERT_EQ(toldFuture.wait_for(std::chrono::seconds(5)), std::future_status::ready);
  EXPECT_EQ(::kill(pid, 0), -1);
}

TEST(IpcBreakTest, ServerThatExitsFailsCallsAndIsReplaced) {
  auto backend = ipc::IpcBackend::Create(ChildOptions());
  Chain chain = OpenItem(*backend, SessionSyntheticContent::kHangingItemID);
  ASSERT_TRUE(chain.source);
  Tally tally(4);
  StartHangingCalls(chain, tally);
  ::kill(backend->ServerProcessId(), SIGTERM);
  ASSERT_TRUE(tally.WaitForAll(std::chrono::seconds(5)));
  EXPECT_EQ(tally.Failures(), 4);
  EXPECT_TRUE(OpenItem(*backend, SessionSyntheticContent::kItemID).source);
}

TEST(IpcBreakTest, DestroyingTheBackendFailsWhatIsInFlight) {
  auto backend = ipc::IpcBackend::Create(ChildOptions());
  Chain chain = OpenItem(*backend, SessionSyntheticContent::kHangingItemID);
  ASSERT_TRUE(chain.source);
  Tally tally(4);
  StartHangingCalls(chain, tally);
  pid_t pid = backend->ServerProcessId();
  backend.reset();
  ASSERT_TRUE(tally.WaitForAll(std::chrono::seconds(5)));
  EXPECT_EQ(tally.Failures(), 4);
  EXPECT_EQ(::kill(pid, 0), -1);  // reaped
}

TEST(IpcBreakTest, EnvironmentPointsTheClientAtAServerStartedByHand) {
  int pipeFds[2];
  ASSERT_EQ(::pipe2(pipeFds, O_CLOEXEC), 0);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, pipeFds[1], 1);
  std::string executable = TETHER_TEST_SERVER_EXECUTABLE;
  std::string listen = "--listen";
  char* argv[] = {executable.data(), listen.data(), nullptr};
  pid_t pid = 0;
  ASSERT_EQ(::posix_spawn(&pid, executable.c_str(), &actions, nullptr, argv, environ), 0);
  posix_spawn_file_actions_destroy(&actions);
  ::close(pipeFds[1]);
  // The server prints its socket's path once it listens.
  std::string path;
  char c;
  while (::read(pipeFds[0], &c, 1) == 1 && c != '\n') {
    path.push_back(c);
  }
  ::close(pipeFds[0]);
  ASSERT_FALSE(path.empty());

  ::setenv("TETHER_SERVER_SOCKET", path.c_str(), 1);
  auto backend = ipc::IpcBackend::Create();
  Chain chain = OpenItem(*backend, SessionSyntheticContent::kItemID);
  ::unsetenv("TETHER_SERVER_SOCKET");
  EXPECT_TRUE(chain.source);
  EXPECT_EQ(backend->ServerProcessId(), 0);  // not ours to end
  chain = {};
  backend.reset();
  ::kill(pid, SIGKILL);
  ::waitpid(pid, nullptr, 0);
  ::unlink(path.c_str());
}

}  // namespace
}  // namespace tether::ipctest
