#include "ServerProcess.h"

#include "SessionProjectContent.h"

#include <kilncore/logging/Log.h>

#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <stdexcept>
#include <system_error>
#include <thread>

namespace tetherserver {
namespace {

[[noreturn]] void ThrowErrno(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

std::shared_ptr<const SessionContent> MakeContent() { return std::make_shared<SessionProjectContent>(); }

// The font set that SIGUSR1 changes; set once before the handler is installed
// and kept for the life of the process.
FontSet* gSignalledFontSet = nullptr;

extern "C" void OnFontChangeSignal(int) {
  if (gSignalledFontSet) {
    gSignalledFontSet->Change();
  }
}

}  // namespace

ServerProcess::ServerProcess(const std::vector<std::string>& arguments) {
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    bool hasValue = i + 1 < arguments.size() && arguments[i + 1].rfind("--", 0) != 0;
    if (argument == "--fd" && hasValue) {
      mFd = std::stoi(arguments[++i]);
    } else if (argument == "--listen") {
      mListen = true;
      if (hasValue) {
        mSocketPath = arguments[++i];
      }
    } else if (argument == "--cold-buffers") {
      mOptions.recycleBuffers = false;
    } else if (argument == "--workers" && hasValue) {
      mOptions.workerThreads = static_cast<size_t>(std::stoul(arguments[++i]));
    } else {
      throw std::invalid_argument("unknown argument: " + argument);
    }
  }
  if ((mFd >= 0) == mListen) {
    throw std::invalid_argument("give exactly one of --fd N and --listen [path]");
  }
  mOptions.fonts = std::make_shared<FontSet>();
}

int ServerProcess::Run() {
  // A client that goes away shows up as a failed send, not as a signal.
  ::signal(SIGPIPE, SIG_IGN);
  // Tests (and people) simulate a change of the machine's fonts with SIGUSR1.
  gSignalledFontSet = mOptions.fonts.get();
  struct sigaction action {};
  action.sa_handler = OnFontChangeSignal;
  action.sa_flags = SA_RESTART;
  ::sigemptyset(&action.sa_mask);
  ::sigaction(SIGUSR1, &action, nullptr);
  return mListen ? Listen() : ServeDescriptor();
}

int ServerProcess::ServeDescriptor() {
  Session session(tether::wire::UniqueFd(mFd), MakeContent(), mOptions);
  session.Run();
  return 0;
}

std::string ServerProcess::PrivateRuntimeFolder() {
  std::string folder;
  if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && *runtime) {
    folder = std::string(runtime) + "/tether";
  } else {
    folder = "/tmp/tether-" + std::to_string(::getuid());
  }
  if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
    ThrowErrno("mkdir " + folder);
  }
  // An existing folder must be ours and closed to others: in /tmp someone else
  // could have made it first.
  struct stat info {};
  if (::lstat(folder.c_str(), &info) != 0) {
    ThrowErrno("stat " + folder);
  }
  if (!S_ISDIR(info.st_mode) || info.st_uid != ::getuid() || (info.st_mode & 077) != 0) {
    throw std::system_error(EPERM, std::generic_category(), folder + " isn't a private folder of this user");
  }
  return folder;
}

int ServerProcess::Listen() {
  std::string path = mSocketPath.empty() ? PrivateRuntimeFolder() + "/server-" + std::to_string(::getpid()) + ".sock"
                                         : mSocketPath;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    throw std::invalid_argument("socket path too long: " + path);
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  tether::wire::UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!listener.IsValid()) {
    ThrowErrno("socket");
  }
  ::unlink(path.c_str());
  // Created with no access for others at all, then opened to the owner only.
  mode_t previous = ::umask(0177);
  int bound = ::bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
  ::umask(previous);
  if (bound != 0) {
    ThrowErrno("bind " + path);
  }
  ::chmod(path.c_str(), 0600);
  if (::listen(listener.Get(), 16) != 0) {
    ThrowErrno("listen");
  }
  std::cout << path << std::endl;

  auto content = MakeContent();
  for (;;) {
    int client = ::accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) {
      if (errno == EINTR || errno == ECONNABORTED) {
        continue;
      }
      ThrowErrno("accept");
    }
    std::thread([client, content, options = mOptions] {
      Session session(tether::wire::UniqueFd(client), content, options);
      session.Run();
    }).detach();
  }
}

}  // namespace tetherserver
