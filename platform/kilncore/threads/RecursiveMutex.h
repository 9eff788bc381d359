#pragma once

#include <chrono>
#include <cstdint>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace kilncore::threads {

// A mutex that the owning thread may lock again, with a time limit on every
// Lock. Callers pass a constant limit (60,000 ms by convention); a lock that
// cannot be had within it means a deadlock or a stalled thread, and the scoped
// lock turns that into an exception rather than hanging the application.
//
// Not copyable or movable. Each Lock that returned true must be matched by one
// Unlock on the same thread.
class RecursiveMutex {
 public:
  // The limit used by ScopedLock when none is given.
  static constexpr std::chrono::milliseconds kDefaultTimeout{60000};

  RecursiveMutex() = default;
  RecursiveMutex(const RecursiveMutex&) = delete;
  RecursiveMutex& operator=(const RecursiveMutex&) = delete;

  // Locks, waiting at most `timeout`. Returns true when the lock is held (again)
  // by the calling thread, false when the time ran out.
  bool Lock(std::chrono::milliseconds timeout);
  bool Lock(uint32_t timeoutMilliseconds) {
    return Lock(std::chrono::milliseconds(timeoutMilliseconds));
  }

  // Locks only if that is possible at once.
  bool TryLock();

  // Releases one level of locking held by the calling thread. Unlocking a
  // mutex that the calling thread doesn't hold is a programming error and throws
  // std::system_error (operation_not_permitted).
  void Unlock();

  class ScopedLock;

 private:
  // Built from a plain mutex and a condition variable rather than
  // std::recursive_timed_mutex: the latter's timed lock goes through
  // pthread_mutex_clocklock, which ThreadSanitizer doesn't follow, so every
  // timed lock would be reported as a race.
  std::mutex mMutex;
  std::condition_variable mReleased;
  std::thread::id mOwner;  // guarded by mMutex; empty id when free
  uint32_t mDepth = 0;     // guarded by mMutex
  uint32_t mWaiters = 0;   // guarded by mMutex; threads blocked in Lock
};

// Holds a RecursiveMutex for its lifetime.
//
// At the time limit the constructor throws std::system_error with
// std::errc::timed_out, and nothing is held. The module's code never expects
// this; it exists so that a deadlock surfaces as a failure of one operation
// (config::ExtractResultFromException gives the general failure code) instead
// of a frozen host.
class RecursiveMutex::ScopedLock {
 public:
  explicit ScopedLock(RecursiveMutex& mutex,
                      std::chrono::milliseconds timeout = RecursiveMutex::kDefaultTimeout);
  ~ScopedLock();
  ScopedLock(const ScopedLock&) = delete;
  ScopedLock& operator=(const ScopedLock&) = delete;

 private:
  RecursiveMutex& mMutex;
};

// The usual spelling at call sites.
using ScopedRecursiveLock = RecursiveMutex::ScopedLock;

}  // namespace kilncore::threads
