#include "IpcTestSupport.h"

#include <tether/ServerFailure.h>
#include <tether/ipc/IpcBackend.h>
#include <tether/wire/UniqueFd.h>

#include <kilncore/logging/ScopedLogCapture.h>

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>

namespace tether::ipctest {
namespace {

namespace fs = std::filesystem;

const std::string kServer = TETHER_TEST_SERVER_EXECUTABLE;

// A tether-server started through the shell, so that its pid comes first on
// its output and the socket path it prints after.
class ListeningServer {
 public:
  explicit ListeningServer(const std::string& arguments) {
    const std::string command = "echo $$; exec " + kServer + " " + arguments + " 2>/dev/null";
    mOutput = ::popen(command.c_str(), "r");
    mPid = static_cast<pid_t>(std::stol(ReadLine()));
    mPath = ReadLine();
  }
  ~ListeningServer() {
    if (!mEnded) {
      ::kill(mPid, SIGKILL);
      Wait();
    }
    ::pclose(mOutput);
  }

  const std::string& Path() const { return mPath; }
  pid_t Pid() const { return mPid; }

  // Reaps the server; returns its wait status.
  int Wait() {
    int status = 0;
    ::waitpid(mPid, &status, 0);
    mEnded = true;
    return status;
  }

 private:
  std::string ReadLine() {
    char line[512] = {};
    if (!std::fgets(line, sizeof(line), mOutput)) {
      return "0";
    }
    std::string text(line);
    if (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
  }

  FILE* mOutput = nullptr;
  pid_t mPid = 0;
  std::string mPath;
  bool mEnded = false;
};

// Runs tether-server with `arguments`; returns its exit status.
int RunServer(const std::string& arguments) {
  const int status = std::system((kServer + " " + arguments + " >/dev/null 2>&1").c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string TemporaryFolder() {
  char pattern[] = "/tmp/tether-process-test-XXXXXX";
  return ::mkdtemp(pattern);
}

wire::UniqueFd ConnectTo(const std::string& path) {
  wire::UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
  EXPECT_EQ(::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
  return socket;
}

TEST(IpcServerProcessTest, ArgumentsAreCheckedWithUsageStatusAndHelpSucceeds) {
  EXPECT_EQ(RunServer("--help"), 0);
  EXPECT_EQ(RunServer("--version"), 0);
  EXPECT_EQ(RunServer("--workers abc --fd 3"), 2);
  EXPECT_EQ(RunServer("--workers 0 --fd 3"), 2);
  EXPECT_EQ(RunServer("--bogus"), 2);
  EXPECT_EQ(RunServer(""), 2);
  EXPECT_EQ(RunServer("--fd 3 --listen"), 2);
}

TEST(IpcServerProcessTest, DescriptorThatIsNoSocketFailsTheServer) {
  EXPECT_EQ(RunServer("--fd 0 </dev/null"), 1);
  EXPECT_EQ(RunServer("--fd 77"), 1);
}

TEST(IpcServerProcessTest, ListeningOnARegularFileLeavesItAndFails) {
  const std::string folder = TemporaryFolder();
  const std::string file = folder + "/precious.txt";
  std::ofstream(file) << "keep me";
  EXPECT_EQ(RunServer("--listen " + file), 1);
  std::ifstream in(file);
  std::string text;
  std::getline(in, text);
  EXPECT_EQ(text, "keep me");
  fs::remove_all(folder);
}

TEST(IpcServerProcessTest, SocketFileGoesWithTheServerOnEveryEndingSignal) {
  const std::string folder = TemporaryFolder();
  for (int signal : {SIGTERM, SIGHUP, SIGINT, SIGABRT}) {
    ListeningServer server("--listen " + folder + "/server.sock");
    ASSERT_EQ(server.Path(), folder + "/server.sock");
    ASSERT_TRUE(fs::exists(server.Path()));
    ASSERT_EQ(::kill(server.Pid(), signal), 0);
    const int status = server.Wait();
    EXPECT_TRUE(WIFSIGNALED(status)) << signal;
    EXPECT_FALSE(fs::exists(server.Path())) << "left behind after signal " << signal;
  }
  fs::remove_all(folder);
}

TEST(IpcServerProcessTest, StaleSocketIsReplacedButALiveServersIsNot) {
  const std::string folder = TemporaryFolder();
  const std::string path = folder + "/server.sock";
  {
    ListeningServer first("--listen " + path);
    ASSERT_EQ(first.Path(), path);
    EXPECT_EQ(RunServer("--listen " + path), 1);  // someone answers there
    ::kill(first.Pid(), SIGKILL);
    first.Wait();
  }
  ASSERT_TRUE(fs::exists(path));  // SIGKILL runs no code: the socket stays
  ListeningServer second("--listen " + path);
  EXPECT_EQ(second.Path(), path);
  fs::remove_all(folder);
}

TEST(IpcServerProcessTest, ConnectionBeyondTheCapIsRefusedWithItsReason) {
  kilncore::logging::ScopedLogCapture quiet;
  const std::string folder = TemporaryFolder();
  ListeningServer server("--listen " + folder + "/server.sock --max-connections 1");
  ipc::IpcBackendOptions options;
  options.socketPath = server.Path();
  auto first = ipc::IpcBackend::Create(options);
  auto [status, typed] =
      Await<MarlServer>([&](auto cb) { first->CreateMarlServer(cb, kServerConnectionTypeDefault); });
  ASSERT_EQ(status, 0);
  ClearLastServerFailure();
  auto second = ipc::IpcBackend::Create(options);
  auto [refused, none] =
      Await<MarlServer>([&](auto cb) { second->CreateMarlServer(cb, kServerConnectionTypeDefault); });
  EXPECT_EQ(refused, kConnectionStatusServerUnavailable);
  auto failure = LastServerFailure();
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->message, "the server serves at most 1 connections at once");
  fs::remove_all(folder);
}

TEST(IpcServerProcessTest, SilentConnectionsAreDropped) {
  const std::string folder = TemporaryFolder();
  ListeningServer server("--listen " + folder + "/server.sock --idle-seconds 1");
  // One says nothing, one sends half a frame header.
  wire::UniqueFd silent = ConnectTo(server.Path());
  wire::UniqueFd halfHeader = ConnectTo(server.Path());
  ASSERT_EQ(::write(halfHeader.Get(), "TTHW", 4), 4);
  char byte = 0;
  EXPECT_EQ(::read(silent.Get(), &byte, 1), 0);  // end of stream: dropped
  EXPECT_EQ(::read(halfHeader.Get(), &byte, 1), 0);
  fs::remove_all(folder);
}

TEST(IpcServerProcessTest, StartedServersSocketIsNotInheritedByWhatItStarts) {
  ipc::IpcBackendOptions options;
  options.serverExecutable = kServer;
  auto backend = ipc::IpcBackend::Create(options);
  auto [status, typed] =
      Await<MarlServer>([&](auto cb) { backend->CreateMarlServer(cb, kServerConnectionTypeDefault); });
  ASSERT_EQ(status, 0);
  std::ifstream info("/proc/" + std::to_string(backend->ServerProcessId()) + "/fdinfo/3");
  std::string key;
  std::string flags;
  while (info >> key && key != "flags:") {
  }
  info >> flags;
  ASSERT_FALSE(flags.empty());
  EXPECT_NE(std::stoul(flags, nullptr, 8) & 02000000u, 0u) << "flags " << flags;  // O_CLOEXEC
}

TEST(IpcServerProcessTest, LossListenerHearsAKilledServerOnceWithItsReason) {
  kilncore::logging::ScopedLogCapture quiet;
  ipc::IpcBackendOptions options;
  options.serverExecutable = kServer;
  auto backend = ipc::IpcBackend::Create(options);
  auto heard = std::make_shared<std::promise<ipc::IpcBackend::ServerLoss>>();
  auto calls = std::make_shared<std::atomic<int>>(0);
  backend->SetServerLossListener([heard, calls](const ipc::IpcBackend::ServerLoss& loss) {
    if (++*calls == 1) {
      heard->set_value(loss);
    }
  });
  auto [status, typed] =
      Await<MarlServer>([&](auto cb) { backend->CreateMarlServer(cb, kServerConnectionTypeDefault); });
  ASSERT_EQ(status, 0);
  const pid_t pid = backend->ServerProcessId();
  ASSERT_EQ(::kill(pid, SIGKILL), 0);
  auto future = heard->get_future();
  ASSERT_EQ(future.wait_for(kWait), std::future_status::ready);
  const auto loss = future.get();
  EXPECT_EQ(loss.pid, pid);
  EXPECT_NE(loss.reason.find("the server closed the connection"), std::string::npos) << loss.reason;
  EXPECT_NE(loss.reason.find("killed by signal 9"), std::string::npos) << loss.reason;
  backend.reset();  // the backend's own end is no loss
  EXPECT_EQ(calls->load(), 1);
}

}  // namespace
}  // namespace tether::ipctest
