#pragma once

#include "FarsideStore.h"
#include "TokenList.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace httplib {
class Server;
}

namespace farside {

// The reference Farside service: productions, versions and assets served over
// HTTP from a folder (FarsideStore), on the loopback interface only, to
// callers that present a bearer token of the TokenList. The API is in
// docs/farside.md.
//
// Every request is logged in one line (method, path with its query, status,
// account); the Authorization header and tokens never are.
class FarsideService {
 public:
  struct Settings {
    std::filesystem::path root;
    TokenList tokens;
    // 0: any free port.
    uint16_t port = 0;
    // For tests of a service that dies during a download: send this many bytes
    // of an asset file, say "stalled" in the log, and send no more until the
    // service stops.
    std::optional<size_t> stallFileAfter;
    std::function<void(const std::string& line)> log;
  };

  explicit FarsideService(Settings settings);
  // Stops the service if it runs.
  ~FarsideService();
  FarsideService(const FarsideService&) = delete;
  FarsideService& operator=(const FarsideService&) = delete;

  // Binds 127.0.0.1 and serves on a thread of its own; returns the port.
  // Throws std::runtime_error if the port can't be bound.
  uint16_t Start();
  // Serves on the calling thread until Stop (from another thread or a signal
  // handler's helper); Start must not have been called.
  void Run();
  void Stop();

  uint16_t port() const { return mPort; }
  // "http://127.0.0.1:PORT"
  std::string Address() const;

 private:
  void Bind();
  void Route();
  void Log(const std::string& line) const;

  Settings mSettings;
  FarsideStore mStore;
  std::unique_ptr<httplib::Server> mServer;
  std::thread mThread;
  uint16_t mPort = 0;
  std::mutex mStallMutex;
  std::condition_variable mStallWake;
  bool mStopping = false;
};

}  // namespace farside
