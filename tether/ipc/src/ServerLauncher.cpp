#include "ServerLauncher.h"

#include <tether/wire/Channel.h>

#include <dlfcn.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>

extern char** environ;

namespace tether::ipc {
namespace {

constexpr const char* kExecutableName = "tether-server";

bool IsExecutable(const std::filesystem::path& path) { return ::access(path.c_str(), X_OK) == 0; }

// The folder of the shared object that holds this code.
std::filesystem::path OwnFolder() {
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&FindServerExecutable), &info) == 0 || !info.dli_fname) {
    return {};
  }
  std::error_code error;
  auto path = std::filesystem::canonical(info.dli_fname, error);
  return error ? std::filesystem::path() : path.parent_path();
}

}  // namespace

std::string FindServerExecutable(const std::string& configured) {
  if (!configured.empty()) {
    return configured;
  }
  if (const char* fromEnvironment = std::getenv("TETHER_SERVER_EXECUTABLE"); fromEnvironment && *fromEnvironment) {
    return fromEnvironment;
  }
  auto folder = OwnFolder();
  if (!folder.empty()) {
    for (const auto& candidate : {folder / kExecutableName, folder.parent_path() / "bin" / kExecutableName}) {
      if (IsExecutable(candidate)) {
        return candidate.string();
      }
    }
  }
#ifdef TETHER_SERVER_BUILD_PATH
  if (IsExecutable(TETHER_SERVER_BUILD_PATH)) {
    return TETHER_SERVER_BUILD_PATH;
  }
#endif
  return {};
}

LaunchedServer LaunchServer(const std::string& executable, const std::vector<std::string>& arguments) {
  auto [ours, theirs] = wire::MakeSocketPair();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  // dup2 onto 3 clears close-on-exec for the child's copy only.
  posix_spawn_file_actions_adddup2(&actions, theirs.Get(), 3);

  std::vector<std::string> argv{executable, "--fd", "3"};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  std::vector<char*> pointers;
  for (auto& argument : argv) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);

  pid_t pid = 0;
  int result = ::posix_spawn(&pid, executable.c_str(), &actions, nullptr, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (result != 0) {
    throw std::system_error(result, std::generic_category(), "posix_spawn of " + executable);
  }
  return LaunchedServer{pid, std::move(ours)};
}

wire::UniqueFd ConnectToSocket(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    return {};
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  wire::UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!socket.IsValid() ||
      ::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    return {};
  }
  return socket;
}

std::string DescribeEndedServer(pid_t pid, bool grace) {
  if (pid <= 0) {
    return {};
  }
  // A process closes its descriptors a moment before it can be reaped: a
  // dying server is given that moment, a stuck one isn't waited for.
  int status = 0;
  pid_t reaped = 0;
  const int attempts = grace ? 20 : 1;
  for (int attempt = 0; attempt < attempts && reaped == 0; ++attempt) {
    reaped = ::waitpid(pid, &status, WNOHANG);
    if (reaped == 0 && attempt + 1 < attempts) {
      ::usleep(5000);
    }
  }
  if (reaped != pid) {
    return {};
  }
  if (WIFSIGNALED(status)) {
    return "it was killed by signal " + std::to_string(WTERMSIG(status)) + " (" + ::strsignal(WTERMSIG(status)) + ")";
  }
  return "it exited with status " + std::to_string(WEXITSTATUS(status));
}

void EndServer(pid_t pid, bool kill) {
  if (pid <= 0) {
    return;
  }
  ::kill(pid, kill ? SIGKILL : SIGTERM);
  // A stopped process doesn't act on SIGTERM until it runs again.
  ::kill(pid, SIGCONT);
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace tether::ipc
