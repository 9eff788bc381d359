#pragma once

#include <TetherMedia/Export.h>

#include <kilncore/async/Future.h>
#include <kilncore/async/Promise.h>
#include <kilncore/async/UntypedFuture.h>

#include <chrono>
#include <cstdint>
#include <functional>

namespace TetherMedia {

// How a host thread, which calls the module synchronously, waits for an answer
// that the client library gives through a callback on one of its own threads.
// Every blocking answer of a linked item and of its stream object goes through
// here, so that all of them end the same ways and with the same codes. It sits
// beside CreateRequestFuture, whose futures it waits on, so that the item and
// the stream object both reach it downward.
//
// Typical use, with the slots and binders of BaseMediaInfo:
//
//   auto linked = std::make_shared<bool>(false);
//   const int32_t code = ServerWait::Block([&](const kilncore::async::Promise<void>& promise) {
//     source->DoesSourceContainLink(BindWaitForDependanceCheck(promise, linked));
//   });
//   return code >= 0 ? *linked : false;
//
// The caller takes its snapshot of the source (or server) under its lock and
// lets go of the lock before calling Block: the callbacks may need that lock.
class TETHERMEDIA_API ServerWait {
 public:
  // The one limit of a wait: 24 hours on the steady clock. A server may
  // legitimately take very long (a whole project's render), so the limit only
  // keeps a thread from being held forever by a server that went silent.
  static constexpr std::chrono::nanoseconds kDeadline{86400000000000};

  // Starts the client call. It receives the promise of the wait, binds its own
  // copy into the callback that it hands to the client library, and returns
  // once the client call has returned. It must keep no other copy.
  using Issue = std::function<void(const kilncore::async::Promise<void>& promise)>;

  // Makes a request without identity of its own (so only termination ends it
  // from outside), runs `issue`, lets go of the local promise so that a callback
  // that the library drops uncalled breaks the promise and ends the wait, waits
  // until the deadline, and gives the outcome by ResultCodeOf. Never throws
  // kilncore's future exceptions: every ending becomes a code. 0 or above
  // means that the callback succeeded and its slots may be read.
  static int32_t Block(const Issue& issue);

  // Blocks the calling thread until `future` is ready or the deadline passes.
  // Whether it did become ready is left to ResultCodeOf.
  static void WaitUntilDeadline(const kilncore::async::UntypedFuture& future);

  // The code of a wait that has ended: 0 for success; the code of the failure;
  // 0xF3610004 (Future Is Cancelled) for a future without state; 0xF3610002
  // (Future: Not Ready) for one that still isn't ready, i.e. after the deadline.
  static int32_t ResultCodeOf(const kilncore::async::UntypedFuture& future);

  // Shortens the deadline of every wait that starts while it lives, so that
  // tests can reach the deadline without waiting a day. Not for production
  // code; instances must not overlap.
  class TETHERMEDIA_API ScopedDeadlineForTesting {
   public:
    explicit ScopedDeadlineForTesting(std::chrono::nanoseconds deadline);
    ~ScopedDeadlineForTesting();
    ScopedDeadlineForTesting(const ScopedDeadlineForTesting&) = delete;
    ScopedDeadlineForTesting& operator=(const ScopedDeadlineForTesting&) = delete;
  };

  // The deadline that a wait starting now uses.
  static std::chrono::nanoseconds CurrentDeadline();
};

}  // namespace TetherMedia
