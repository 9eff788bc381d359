#pragma once

#include "Session.h"

#include <tether/wire/UniqueFd.h>

#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace tetherserver {

// The server inside the calling process, on its own threads, speaking the
// same protocol over socket pairs: for fast integration tests.
//
//   tetherserver::InProcessServer server;
//   auto backend = tether::ipc::IpcBackend::CreateWithConnector([&] { return server.Connect(); });
class InProcessServer {
 public:
  explicit InProcessServer(Session::Options options = {});
  // A server of `content` only (tests that need a server without some
  // owning application).
  InProcessServer(std::shared_ptr<const SessionContent> content, Session::Options options);
  // Stops every session and joins its thread.
  ~InProcessServer();

  // A new session; returns the client's end of its socket pair.
  tether::wire::UniqueFd Connect();
  // Stops every session, as if the server had died.
  void StopAll();
  // Simulates a change of the machine's fonts, as SIGUSR1 does to a
  // tether-server process.
  void SimulateFontChange() { mOptions.fonts->Change(); }

 private:
  struct Running {
    std::unique_ptr<Session> session;
    std::thread thread;
  };

  Session::Options mOptions;
  std::shared_ptr<const SessionContent> mContent;
  std::mutex mMutex;
  std::list<Running> mSessions;
};

}  // namespace tetherserver
