#pragma once

#include <RL/ISource.h>
#include <kilncore/classref/InterfaceRef.h>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace tetherhost {

class HostError;

// What this host does when the link loses its server (or a request that the
// server never received, or the server refuses the clip's video renderer), as
// a real host must.
//
// The module waits for a renderer or a frame until CancelPendingRequests or
// its 24-hour limit: a server that dies while a renderer is being made leaves
// the host's thread in that wait. So, told by the IPC backend that its server
// is gone, the watch cancels the pending requests of every stream the host
// opened (and keeps cancelling what they start until the command gives up),
// and keeps the reason, which the host prints as its one line before it exits
// with status 1.
//
// One per HostSession; installs itself as the backend's listener.
class ServerLossWatch {
 public:
  ServerLossWatch();
  // Removes the listener and stops cancelling; releases the streams.
  ~ServerLossWatch();
  ServerLossWatch(const ServerLossWatch&) = delete;
  ServerLossWatch& operator=(const ServerLossWatch&) = delete;

  // Adds a stream of a linked item to those cancelled on a loss (with the
  // watch of the running session; nothing without one).
  static void Watch(const kilncore::classref::InterfaceRef<RL::ISource>& stream);

  // The line for the user if a server or a request was lost in this process:
  // "lost the link's server: <reason>" or "the link lost a request: <reason>".
  static std::optional<std::string> LossLine();

  // The one line for a command that failed with `error`: a lost server is the
  // cause of whatever failed after it; otherwise the server's own reason, when
  // it gave one, completes the module's code.
  static std::string DescribeFailure(const HostError& error);

 private:
  static void Report(const std::string& line);
  void OnLoss();
  void CancelUntilStopped();
  void CancelAll();

  std::mutex mMutex;
  std::condition_variable mWake;
  std::vector<kilncore::classref::InterfaceRef<RL::ISource>> mStreams;
  bool mLost = false;
  bool mStopping = false;
  std::thread mCanceller;
};

}  // namespace tetherhost
