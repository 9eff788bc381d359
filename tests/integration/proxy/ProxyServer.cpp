// tether-proxy-server: a stand-in server for tests of the link under faults.
//
// Started by the client library in place of tether-server (through
// IpcBackendOptions::serverExecutable or TETHER_SERVER_EXECUTABLE, with
// "--fd 3"), it starts the real server behind a socket pair of its own and
// relays every frame both ways, descriptors included, until the message it was
// told about:
//
//   TETHER_PROXY_SERVER   the real tether-server to start
//   TETHER_PROXY_FAULT    "kill:OP:N"  at the Nth message "OP" from the client,
//                                      SIGKILL the real server (the message
//                                      is not passed on)
//                         "drop:OP:N"  drop the Nth message "OP" from the
//                                      client and go on relaying
//                         "hold:OP:N"  keep the Nth request "OP" from the
//                                      client and never answer it, listing
//                                      it as held in every pong: a server
//                                      that is slow at that request, as long
//                                      as the test likes
//   TETHER_PROXY_REPORT   a file that gets one line "fired" when the fault did
//
// Messages other than "hello" are counted once the server has answered the
// hello, so that a fault (a ping's, say) lands on a connection that is up.
//
// A killed server ends the proxy too, by the same signal, so that the client
// sees its server's end exactly as if no proxy were there.
#include <tether/AnyTree.h>
#include <tether/wire/Channel.h>
#include <tether/wire/UniqueFd.h>

#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>

extern char** environ;

namespace {

using tether::wire::Channel;
using tether::wire::UniqueFd;

struct Fault {
  enum class Action { kNone, kKill, kDrop, kHold } action = Action::kNone;
  std::string op;
  int nth = 1;
};

Fault ReadFault() {
  Fault fault;
  const char* text = std::getenv("TETHER_PROXY_FAULT");
  if (!text || !*text) {
    return fault;
  }
  std::string faultText(text);
  const size_t first = faultText.find(':');
  const size_t last = faultText.rfind(':');
  if (first == std::string::npos || last == first) {
    return fault;
  }
  const std::string action = faultText.substr(0, first);
  fault.action = action == "kill"   ? Fault::Action::kKill
                 : action == "drop" ? Fault::Action::kDrop
                 : action == "hold" ? Fault::Action::kHold
                                    : Fault::Action::kNone;
  fault.op = faultText.substr(first + 1, last - first - 1);
  fault.nth = std::atoi(faultText.c_str() + last + 1);
  return fault;
}

void ReportFired() {
  if (const char* report = std::getenv("TETHER_PROXY_REPORT"); report && *report) {
    std::ofstream(report, std::ios::app) << "fired\n";
  }
}

pid_t StartRealServer(UniqueFd socket) {
  const char* executable = std::getenv("TETHER_PROXY_SERVER");
  if (!executable || !*executable) {
    std::fprintf(stderr, "tether-proxy-server: TETHER_PROXY_SERVER is not set\n");
    std::exit(1);
  }
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_adddup2(&actions, socket.Get(), 3);
  char fdArgument[] = "--fd";
  char three[] = "3";
  char* argv[] = {const_cast<char*>(executable), fdArgument, three, nullptr};
  pid_t pid = 0;
  // The proxy's own variables mean nothing to the real server, and a proxy
  // behind a proxy would never end.
  ::unsetenv("TETHER_SERVER_EXECUTABLE");
  const int failed = ::posix_spawn(&pid, executable, &actions, nullptr, argv, environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (failed != 0) {
    std::fprintf(stderr, "tether-proxy-server: cannot start %s: %s\n", executable, std::strerror(failed));
    std::exit(1);
  }
  return pid;
}

// Set when the server's answer to the hello has gone to the client.
std::atomic<bool> gGreeted{false};

// The requests kept back by "hold", which every pong to the client lists as
// held, as a server lists what it is still working on.
std::mutex gHeldMutex;
std::set<uint64_t> gHeld;

void Hold(uint64_t id) {
  std::lock_guard lock(gHeldMutex);
  gHeld.insert(id);
}

// Adds the held requests to a pong that lists the server's own.
void AddHeld(tether::wire::Message& pong) {
  auto* body = pong.body ? std::any_cast<tether::AnyObject>(pong.body.get()) : nullptr;
  if (!body || !body->count("held") || !body->at("held")) return;
  auto* held = std::any_cast<tether::AnyArray>(body->at("held").get());
  if (!held) return;
  std::lock_guard lock(gHeldMutex);
  for (uint64_t id : gHeld) held->push_back(tether::MakeAny(id));
}

// Client to server, where the fault is: counts each operation's messages.
void RelayFromClient(Channel& client, Channel& server, const Fault& fault, pid_t real) {
  std::map<std::string, int> seen;
  try {
    while (auto message = client.Receive()) {
      const bool counted = message->op == "hello" || gGreeted.load();
      if (fault.action != Fault::Action::kNone && counted && message->op == fault.op &&
          ++seen[message->op] == fault.nth) {
        ReportFired();
        if (fault.action == Fault::Action::kKill) {
          ::kill(real, SIGKILL);
          return;
        }
        if (fault.action == Fault::Action::kHold) Hold(message->id);
        continue;  // dropped or held
      }
      server.Send(*message);
    }
  } catch (const std::exception&) {
  }
  server.Shutdown();
}

void RelayFromServer(Channel& server, Channel& client) {
  try {
    while (auto message = server.Receive()) {
      if (message->kind == tether::wire::MessageKind::kNotice && message->op == "pong") AddHeld(*message);
      client.Send(*message);
      if (message->kind == tether::wire::MessageKind::kReply) {
        gGreeted = true;  // the first reply answers the hello
      }
    }
  } catch (const std::exception&) {
  }
}

}  // namespace

int main(int argc, char** argv) {
  int clientFd = 3;
  for (int i = 1; i + 1 < argc; ++i) {
    if (std::strcmp(argv[i], "--fd") == 0) {
      clientFd = std::atoi(argv[i + 1]);
    }
  }
  ::signal(SIGPIPE, SIG_IGN);
  int pair[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) {
    return 1;
  }
  UniqueFd ours(pair[0]);
  const pid_t real = StartRealServer(UniqueFd(pair[1]));
  Channel client{UniqueFd(clientFd)};
  Channel server{std::move(ours)};
  const Fault fault = ReadFault();
  std::thread upstream([&] { RelayFromClient(client, server, fault, real); });
  RelayFromServer(server, client);
  // The real server is gone (or closed): so is this stand-in, the same way,
  // so that the client reads the real server's end in the proxy's.
  client.Shutdown();
  int status = 0;
  if (::waitpid(real, &status, WNOHANG) != real) {
    ::kill(real, SIGKILL);
    ::waitpid(real, &status, 0);
  }
  upstream.join();
  if (WIFSIGNALED(status)) {
    ::signal(WTERMSIG(status), SIG_DFL);
    ::raise(WTERMSIG(status));
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}
