#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <queue>
#include <thread>
#include <vector>

namespace tether::testing {

// Worker threads that run tasks at or after their due time, earliest first and
// in posting order among equal times.
class WorkerPool {
 public:
  using Task = std::function<void()>;
  using Clock = std::chrono::steady_clock;

  explicit WorkerPool(size_t threads);
  ~WorkerPool();

  // False once stopped; the task is then left to the caller.
  bool Post(Task& task, Clock::time_point due);
  // Joins the threads; tasks not run yet are destroyed without running.
  void Stop();
  // Waits until nothing is queued or running.
  bool WaitForIdle(std::chrono::milliseconds timeout);
  bool IsWorkerThread() const;

 private:
  struct Entry {
    Clock::time_point due;
    uint64_t sequence;
    Task task;
  };
  struct Later {
    bool operator()(const Entry& a, const Entry& b) const {
      return a.due != b.due ? a.due > b.due : a.sequence > b.sequence;
    }
  };

  void Run();
  bool IdleLocked() const { return mQueue.empty() && mRunning == 0; }

  mutable std::mutex mMutex;
  std::condition_variable mWake;
  std::condition_variable mIdle;
  std::priority_queue<Entry, std::vector<Entry>, Later> mQueue;
  uint64_t mNextSequence = 0;
  size_t mRunning = 0;
  bool mStopping = false;
  std::vector<std::thread> mThreads;
  std::vector<std::thread::id> mThreadIds;
};

}  // namespace tether::testing
