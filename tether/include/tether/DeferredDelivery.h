#pragma once

#include <functional>

namespace tether {

// Runs `task` later, on a thread of the library's own, never inside this call.
//
// This is how calls that can't reach a backend still answer asynchronously (the
// callers' rule is that a callback never runs on the calling thread). Tasks run
// one after the other, in order; an exception thrown by a task is caught and
// dropped. Tasks still queued at process exit run before the thread ends.
void DeliverLater(std::function<void()> task);

}  // namespace tether
