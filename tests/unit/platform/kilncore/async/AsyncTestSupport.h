#pragma once

#include <kilncore/async/AsyncExceptions.h>
#include <kilncore/async/Executor.h>
#include <kilncore/config/KilnException.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <vector>

namespace kilncore::async::test {

inline int32_t CodeOf(const std::exception_ptr& exception) {
  return config::ExtractResultFromException(exception);
}

inline constexpr int32_t kBrokenPromise = static_cast<int32_t>(BrokenPromiseException::kCode);
inline constexpr int32_t kNotReady = static_cast<int32_t>(FutureNotReadyException::kCode);
inline constexpr int32_t kCancelled = static_cast<int32_t>(FutureIsCancelledException::kCode);
inline constexpr int32_t kUserCancelled = static_cast<int32_t>(0xA00F0007u);

inline std::exception_ptr MakeKilnError(int32_t code) {
  return std::make_exception_ptr(config::kiln_exception("test failure", code));
}

// An executor that only queues, so a test can see what was handed to it and
// run it later.
class QueueExecutor : public Executor {
 public:
  void Execute(std::function<void()> task) override {
    std::lock_guard lock(mMutex);
    mTasks.push_back(std::move(task));
  }
  std::size_t Pending() {
    std::lock_guard lock(mMutex);
    return mTasks.size();
  }
  void RunAll() {
    std::vector<std::function<void()>> tasks;
    {
      std::lock_guard lock(mMutex);
      tasks.swap(mTasks);
    }
    for (auto& task : tasks) task();
  }

 private:
  std::mutex mMutex;
  std::vector<std::function<void()>> mTasks;
};

}  // namespace kilncore::async::test
