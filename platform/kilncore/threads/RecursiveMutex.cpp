#include <kilncore/threads/RecursiveMutex.h>

#include <system_error>

namespace kilncore::threads {

bool RecursiveMutex::Lock(std::chrono::milliseconds timeout) {
  const std::thread::id self = std::this_thread::get_id();
  std::unique_lock lock(mMutex);
  // The clock is read only when the lock has to be waited for: most locks of
  // the frame road are free or already held by the caller, and reading the
  // clock costs more than taking the lock.
  if (mOwner != self && mDepth != 0) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    ++mWaiters;
    const bool acquired = mReleased.wait_until(lock, deadline, [this] { return mDepth == 0; });
    --mWaiters;
    if (!acquired) {
      return false;
    }
  }
  mOwner = self;
  ++mDepth;
  return true;
}

bool RecursiveMutex::TryLock() { return Lock(std::chrono::milliseconds::zero()); }

void RecursiveMutex::Unlock() {
  {
    std::lock_guard lock(mMutex);
    if (mOwner != std::this_thread::get_id() || mDepth == 0) {
      throw std::system_error(std::make_error_code(std::errc::operation_not_permitted),
                              "kilncore::threads::RecursiveMutex: unlock by a thread that "
                              "doesn't hold it");
    }
    if (--mDepth > 0) return;
    mOwner = std::thread::id();
    if (mWaiters == 0) return;
  }
  mReleased.notify_one();
}

RecursiveMutex::ScopedLock::ScopedLock(RecursiveMutex& mutex, std::chrono::milliseconds timeout)
    : mMutex(mutex) {
  if (!mMutex.Lock(timeout)) {
    throw std::system_error(std::make_error_code(std::errc::timed_out),
                            "kilncore::threads::RecursiveMutex: lock timed out");
  }
}

RecursiveMutex::ScopedLock::~ScopedLock() { mMutex.Unlock(); }

}  // namespace kilncore::threads
