#pragma once

#include <WF/IMediaModule.h>
#include <kilncore/classref/InterfaceRef.h>

#include <functional>
#include <memory>

namespace tetherhost {

class ProgressView;
class ServerLossWatch;

// The host's side of the module's life, as an application lives it:
//
// - start: the application state goes to running, the importer layer gets its
//   factory, the link client library gets its IPC backend (which starts the
//   reference server on demand), and the module is initialised and then found
//   through the importer factory, never by a direct call;
// - run: work runs on a worker thread while the calling thread plays the
//   user-interface thread, pumping the messages posted to it (progress);
// - stop: the application state goes to termination, which fails whatever the
//   module still has open, and the module is shut down.
//
// One per process.
class HostSession {
 public:
  // Throws HostError if the module doesn't show up in the importer factory.
  HostSession();
  // Termination, then Shutdown, then the link is let go (ending a server the
  // backend started). Everything taken from the module must be gone by then.
  ~HostSession();
  HostSession(const HostSession&) = delete;
  HostSession& operator=(const HostSession&) = delete;

  // The module as the importer layer knows it.
  WF::IMediaModule& Module() const { return *mModule; }

  // The progress bar that the module's progress reports drive.
  ProgressView& Progress() const { return *mProgress; }

  // Runs `job` on a worker thread and pumps the user-interface queue on this
  // thread until the job ends; returns its result, or rethrows what it threw.
  int RunWithUserInterface(const std::function<int()>& job);

 private:
  kilncore::classref::InterfaceRef<WF::IMediaModule> mModule;
  std::unique_ptr<ProgressView> mProgress;
  std::unique_ptr<ServerLossWatch> mLossWatch;
};

}  // namespace tetherhost
