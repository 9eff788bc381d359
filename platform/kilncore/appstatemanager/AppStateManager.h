#pragma once

#include <kilncore/appstatemanager/AppState.h>
#include <kilncore/utility/Seam.h>

#include <cstdint>
#include <functional>

namespace kilncore::appstatemanager {

// True once termination has begun (state kAppStateTerminationStarted or later).
// Cheap enough to ask on every request.
bool WillTerminate() noexcept;
// Host policy seam of WillTerminate (see kilncore/utility/Seam.h): a test can
// keep the answer false while the states of termination are reached.
utility::Seam<bool()>& WillTerminateSeam();

// True if the application is in `state` or has passed it.
bool HasReachedAppStateAlready(int state) noexcept;

// The state the application is in now.
int GetCurrentAppState() noexcept;

// Moves the application forward to `state`, passing every state in between in
// order. For each state reached, WillTerminate() and HasReachedAppStateAlready()
// answer for it first, and then its callbacks run on the calling thread, in the
// order registered. A callback that throws is logged and the others still run.
// Advances are serialised, so all callbacks of one state finish before those of
// the next begin; a callback may register callbacks or advance further itself,
// but must not wait for another thread that advances. Asking for a state
// already reached does nothing. Called by the host's start-up and shut-down code.
void AdvanceAppState(int state);

// Runs `callback` once, when `state` is reached. If it has been reached
// already, the callback runs at once on the calling thread, so a registration
// that races with AdvanceAppState is never lost.
void RegisterAppStateCallback(int state, std::function<void()> callback);

// Test support: back to kAppStateStarting, with WillTerminate() false and every
// callback that has not run forgotten, so a test process can go through
// termination many times. Not thread-safe against concurrent AdvanceAppState.
void ResetAppStateForTesting();

// Counts ResetAppStateForTesting calls. Objects tied to the application's life
// (lazy singletons) use it to know that a new "application" began.
uint64_t GetAppStateGeneration() noexcept;

}  // namespace kilncore::appstatemanager
