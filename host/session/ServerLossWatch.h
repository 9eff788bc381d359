#pragma once

#include <RL/ISource.h>
#include <WF/IMediaModule.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/utility/Guid.h>

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
// Ctrl-C takes the same way, without a loss line: the module's waits (an
// import the server is still opening, a frame it is still rendering) end at
// once instead of after the server, and the command reports the interruption.
// During an import the watch calls the module's CancelImport for it; during
// the listing of compositions it starts termination (see WatchListing).
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

  // Makes the import of the item `sourceID` of `path` cancelled with the
  // streams (through the module's CancelImport), until UnwatchImport.
  static void WatchImport(WF::IMediaModule& module, const kilncore::WideString& path,
                          const kilncore::utility::Guid& sourceID);
  static void UnwatchImport();

  // Marks the listing of a project's compositions (the select-source step),
  // which the module waits for without a request that a host can cancel:
  // Ctrl-C during it ends the application's life (termination fails every
  // open request), as quitting a host does.
  static void WatchListing(bool listing);

  // The line for the user if a server or a request was lost in this process:
  // "lost the link's server: <reason>" or "the link lost a request: <reason>",
  // followed by what the user can do ("; run the command again to start a
  // new server").
  static std::optional<std::string> LossLine();

  // The one line for a command that failed with `error`: a lost server is the
  // cause of whatever failed after it; otherwise the server's own reason, when
  // it gave one, completes the module's code.
  static std::string DescribeFailure(const HostError& error);

 private:
  static void Report(const std::string& line);
  void OnLoss();
  void StartCancelling();
  void WaitForInterruption();
  void CancelUntilStopped();
  void CancelAll();

  std::mutex mMutex;
  std::condition_variable mWake;
  std::vector<kilncore::classref::InterfaceRef<RL::ISource>> mStreams;
  bool mLost = false;
  bool mStopping = false;
  std::thread mCanceller;
  WF::IMediaModule* mImportModule = nullptr;
  kilncore::WideString mImportPath;
  kilncore::utility::Guid mImportSourceID;
  bool mListing = false;
  // Written by the destructor to end the interruption watcher's poll.
  int mStop[2] = {-1, -1};
  std::thread mInterruptionWatcher;
};

}  // namespace tetherhost
