#include "ServerProcess.h"

#include "SessionProjectContent.h"

#include <tether/wire/Channel.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <mutex>
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

// The socket file a listening server removes on its way out, whichever way
// that is. A fixed buffer, so that a signal handler can read it.
char gSocketPath[sizeof(sockaddr_un::sun_path)] = {};

extern "C" void OnEndingSignal(int signal) {
  if (gSocketPath[0] != '\0') {
    ::unlink(gSocketPath);
  }
  // The handler was installed with SA_RESETHAND: the signal ends the process
  // as it would have, with its usual status.
  ::raise(signal);
}

void RemoveSocketOnSignals(const std::string& path) {
  std::memcpy(gSocketPath, path.c_str(), path.size() + 1);
  struct sigaction action {};
  action.sa_handler = OnEndingSignal;
  action.sa_flags = SA_RESETHAND;
  ::sigemptyset(&action.sa_mask);
  for (int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGABRT}) {
    ::sigaction(signal, &action, nullptr);
  }
}

// Removes the socket file when Listen ends by an exception or returns.
struct SocketFileRemover {
  ~SocketFileRemover() {
    if (gSocketPath[0] != '\0') {
      ::unlink(gSocketPath);
      gSocketPath[0] = '\0';
    }
  }
};

sockaddr_un AddressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof(address.sun_path)) {
    throw std::invalid_argument("socket path too long: " + path);
  }
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

// Makes room at `path` for a new socket: only a socket that nobody answers on
// any more (left by a server that died) is removed. A file of any other kind,
// or a live server's socket, is left alone and refused.
void ClearStaleSocket(const std::string& path, const sockaddr_un& address) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) {
    if (errno == ENOENT) {
      return;
    }
    ThrowErrno("stat " + path);
  }
  if (!S_ISSOCK(info.st_mode)) {
    throw std::system_error(EEXIST, std::generic_category(), path + " exists and is not a socket; left as it is");
  }
  tether::wire::UniqueFd probe(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (probe.IsValid() && ::connect(probe.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0) {
    throw std::system_error(EADDRINUSE, std::generic_category(), "a server is listening at " + path + " already");
  }
  ::unlink(path.c_str());
}

// Tells a client beyond the connection cap why, then closes its connection.
void Refuse(tether::wire::UniqueFd client, size_t cap) {
  timeval timeout{1, 0};
  ::setsockopt(client.Get(), SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
  tether::wire::Channel channel(std::move(client));
  tether::wire::Message refused;
  refused.op = "refused";
  refused.body = tether::MakeAny(tether::AnyObject{
      {"message", tether::MakeAny("the server serves at most " + std::to_string(cap) + " connections at once")}});
  try {
    channel.Send(refused);
  } catch (const std::exception&) {
    // The client is gone already: nobody to tell.
    return;
  }
  // Closed at once, the socket would meet the client's hello, sent as it
  // connected, with a broken pipe, and the client would report that rather
  // than the reason. So the server stops writing, reads and drops what the
  // client still sends until it hangs up, for a quarter of a second at most.
  const int fd = channel.Descriptor();
  ::shutdown(fd, SHUT_WR);
  timeval drain{0, 250000};
  ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &drain, sizeof(drain));
  char discarded[4096];
  const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(250);
  while (std::chrono::steady_clock::now() < until && ::read(fd, discarded, sizeof(discarded)) > 0) {
  }
}

}  // namespace

ServerProcess::ServerProcess(Settings settings) : mSettings(std::move(settings)) {
  if ((mSettings.fd >= 0) == mSettings.listen) {
    throw std::invalid_argument("give exactly one of --fd N and --listen [path]");
  }
  if (!mSettings.session.fonts) {
    mSettings.session.fonts = std::make_shared<FontSet>();
  }
  mSettings.session.idleTimeout = mSettings.idleTimeout;
  if (mSettings.verbose) {
    // One line per failed request, with the reason the client is sent too.
    static std::mutex logMutex;
    mSettings.session.onFailure = [](const std::string& op, int32_t status, const std::string& reason) {
      std::lock_guard lock(logMutex);
      std::cerr << "tether-server: " << op << " failed (status " << status << ")"
                << (reason.empty() ? std::string() : ": " + reason) << std::endl;
    };
  }
}

int ServerProcess::Run() {
  // A client that goes away shows up as a failed send, not as a signal.
  ::signal(SIGPIPE, SIG_IGN);
  // Tests (and people) simulate a change of the machine's fonts with SIGUSR1.
  gSignalledFontSet = mSettings.session.fonts.get();
  struct sigaction action {};
  action.sa_handler = OnFontChangeSignal;
  action.sa_flags = SA_RESTART;
  ::sigemptyset(&action.sa_mask);
  ::sigaction(SIGUSR1, &action, nullptr);
  return mSettings.listen ? Listen() : ServeDescriptor();
}

int ServerProcess::ServeDescriptor() {
  struct stat info {};
  if (::fstat(mSettings.fd, &info) != 0) {
    ThrowErrno("descriptor " + std::to_string(mSettings.fd));
  }
  if (!S_ISSOCK(info.st_mode)) {
    throw std::system_error(ENOTSOCK, std::generic_category(), "descriptor " + std::to_string(mSettings.fd));
  }
  // Nothing this server might start should inherit its client's connection.
  ::fcntl(mSettings.fd, F_SETFD, FD_CLOEXEC);
  Session session(tether::wire::UniqueFd(mSettings.fd), MakeContent(), mSettings.session);
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
  std::string path = mSettings.socketPath.empty()
                         ? PrivateRuntimeFolder() + "/server-" + std::to_string(::getpid()) + ".sock"
                         : mSettings.socketPath;
  sockaddr_un address = AddressOf(path);
  tether::wire::UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!listener.IsValid()) {
    ThrowErrno("socket");
  }
  ClearStaleSocket(path, address);
  // Created with no access for others at all, then opened to the owner only.
  mode_t previous = ::umask(0177);
  int bound = ::bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
  ::umask(previous);
  if (bound != 0) {
    ThrowErrno("bind " + path);
  }
  SocketFileRemover remover;
  RemoveSocketOnSignals(path);
  ::chmod(path.c_str(), 0600);
  if (::listen(listener.Get(), 16) != 0) {
    ThrowErrno("listen");
  }
  std::cout << path << std::endl;

  auto content = MakeContent();
  auto live = std::make_shared<std::atomic<size_t>>(0);
  for (;;) {
    int client = ::accept4(listener.Get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) {
      if (errno == EMFILE || errno == ENFILE) {
        // Out of descriptors: the sessions that end will free some.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        continue;
      }
      if (errno == EINTR || errno == ECONNABORTED) {
        continue;
      }
      ThrowErrno("accept");
    }
    if (live->load() >= mSettings.maxConnections) {
      Refuse(tether::wire::UniqueFd(client), mSettings.maxConnections);
      continue;
    }
    ++*live;
    try {
      auto session = std::make_shared<Session>(tether::wire::UniqueFd(client), content, mSettings.session);
      std::thread([session, live]() mutable {
        session->Run();
        session.reset();
        --*live;
      }).detach();
    } catch (const std::system_error&) {
      // No thread to be had: this connection is dropped, the others go on.
      --*live;
    }
  }
}

}  // namespace tetherserver
