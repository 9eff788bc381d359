#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace tether::detail {

// One thread that runs queued tasks in order, started on first use and joined
// at static destruction after the queue has drained.
class FallbackDispatcher {
 public:
  static FallbackDispatcher& Get();

  ~FallbackDispatcher();
  void Post(std::function<void()> task);

 private:
  FallbackDispatcher() = default;
  void Run();

  std::mutex mMutex;
  std::condition_variable mWake;
  std::deque<std::function<void()>> mTasks;
  bool mStopping = false;
  std::thread mThread;
};

}  // namespace tether::detail
