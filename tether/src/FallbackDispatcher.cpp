#include "FallbackDispatcher.h"

#include <tether/DeferredDelivery.h>

namespace tether::detail {

FallbackDispatcher& FallbackDispatcher::Get() {
  static FallbackDispatcher dispatcher;
  return dispatcher;
}

FallbackDispatcher::~FallbackDispatcher() {
  {
    std::lock_guard lock(mMutex);
    mStopping = true;
  }
  mWake.notify_all();
  if (mThread.joinable()) {
    mThread.join();
  }
}

void FallbackDispatcher::Post(std::function<void()> task) {
  {
    std::lock_guard lock(mMutex);
    if (!mStopping) {
      mTasks.push_back(std::move(task));
      if (!mThread.joinable()) {
        mThread = std::thread([this] { Run(); });
      }
      task = nullptr;
    }
  }
  mWake.notify_one();
  // Posted during process exit: run it here rather than lose the answer.
  if (task) {
    try {
      task();
    } catch (...) {
    }
  }
}

void FallbackDispatcher::Run() {
  std::unique_lock lock(mMutex);
  for (;;) {
    mWake.wait(lock, [this] { return mStopping || !mTasks.empty(); });
    if (mTasks.empty()) {
      return;
    }
    auto task = std::move(mTasks.front());
    mTasks.pop_front();
    lock.unlock();
    try {
      task();
    } catch (...) {
      // A caller's callback failed; the library has nobody to report it to.
    }
    task = nullptr;
    lock.lock();
  }
}

}  // namespace tether::detail

namespace tether {

void DeliverLater(std::function<void()> task) {
  if (task) {
    detail::FallbackDispatcher::Get().Post(std::move(task));
  }
}

}  // namespace tether
