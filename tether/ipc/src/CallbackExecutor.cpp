#include "CallbackExecutor.h"

#include <tether/DeferredDelivery.h>

#include <kilncore/logging/Log.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace tether::ipc {

// Shared with the threads, so that a thread detached during destruction still
// finds its queue.
struct CallbackExecutor::State {
  std::mutex mutex;
  std::condition_variable wake;
  std::deque<std::function<void()>> tasks;
  std::vector<std::thread::id> threadIds;
  bool stopping = false;
};


CallbackExecutor::CallbackExecutor(size_t threads) : mState(std::make_shared<State>()) {
  threads = std::max<size_t>(threads, 1);
  std::lock_guard lock(mState->mutex);
  for (size_t i = 0; i < threads; ++i) {
    mThreads.emplace_back([state = mState] {
      std::unique_lock lock(state->mutex);
      for (;;) {
        state->wake.wait(lock, [&] { return state->stopping || !state->tasks.empty(); });
        if (state->tasks.empty()) {
          return;
        }
        auto task = std::move(state->tasks.front());
        state->tasks.pop_front();
        lock.unlock();
        RunGuarded(task);
        task = nullptr;
        lock.lock();
      }
    });
    mState->threadIds.push_back(mThreads.back().get_id());
  }
}

CallbackExecutor::~CallbackExecutor() {
  {
    std::lock_guard lock(mState->mutex);
    mState->stopping = true;
  }
  mState->wake.notify_all();
  for (auto& thread : mThreads) {
    if (thread.get_id() == std::this_thread::get_id()) {
      thread.detach();
    } else {
      thread.join();
    }
  }
}

void CallbackExecutor::Post(std::function<void()> task) {
  {
    std::lock_guard lock(mState->mutex);
    if (!mState->stopping) {
      mState->tasks.push_back(std::move(task));
      mState->wake.notify_one();
      return;
    }
  }
  DeliverLater([task = std::move(task)] { RunGuarded(task); });
}

bool CallbackExecutor::IsExecutorThread() const {
  std::lock_guard lock(mState->mutex);
  auto self = std::this_thread::get_id();
  return std::find(mState->threadIds.begin(), mState->threadIds.end(), self) != mState->threadIds.end();
}

void CallbackExecutor::RunGuarded(const std::function<void()>& task) noexcept {
  try {
    task();
  } catch (...) {
    kilncore::logging::LogException(std::current_exception(), "tether::ipc callback");
  }
}

}  // namespace tether::ipc
