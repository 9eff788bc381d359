#include <kilncore/threads/RecursiveMutex.h>

#include <system_error>

namespace kilncore::threads {

bool RecursiveMutex::Lock(std::chrono::milliseconds timeout) {
  const std::thread::id self = std::this_thread::get_id();
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  std::unique_lock lock(mMutex);
  if (mOwner != self &&
      !mReleased.wait_until(lock, deadline, [this] { return mDepth == 0; })) {
    return false;
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
