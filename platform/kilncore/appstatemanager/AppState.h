#pragma once

namespace kilncore::appstatemanager {

// The application's life as a sequence of states. States only move forward,
// one at a time; AdvanceAppState(n) passes every state up to n in order.
//
// Termination has two steps on purpose: at kAppStateTerminationStarted
// WillTerminate() becomes true, so code stops starting new work; at
// kAppStateTerminating long-lived objects (lazy singletons) are torn down,
// which is the point where anything still open gets failed.
enum AppState : int {
  kAppStateStarting = 0,             // the process is loading libraries
  kAppStateInitializing = 1,         // the host is initialising its subsystems
  kAppStateRunning = 2,              // normal running
  kAppStateShuttingDownUI = 3,       // the user interface is being closed
  kAppStateTerminationStarted = 4,   // WillTerminate() is true from here on
  kAppStateTerminating = 5,          // singletons are destroyed
  kAppStateTerminated = 6,           // nothing of the host may be used any more
};

}  // namespace kilncore::appstatemanager
