#include "WorkerPool.h"

#include <algorithm>

namespace tether::testing {

WorkerPool::WorkerPool(size_t threads) {
  std::lock_guard lock(mMutex);
  for (size_t i = 0; i < std::max<size_t>(threads, 1); ++i) {
    mThreads.emplace_back([this] { Run(); });
    mThreadIds.push_back(mThreads.back().get_id());
  }
}

WorkerPool::~WorkerPool() { Stop(); }

bool WorkerPool::Post(Task& task, Clock::time_point due) {
  {
    std::lock_guard lock(mMutex);
    if (mStopping) {
      return false;
    }
    mQueue.push(Entry{due, mNextSequence++, std::move(task)});
  }
  mWake.notify_one();
  return true;
}

void WorkerPool::Stop() {
  std::vector<std::thread> threads;
  std::vector<Entry> dropped;
  {
    std::lock_guard lock(mMutex);
    mStopping = true;
    threads.swap(mThreads);
  }
  mWake.notify_all();
  for (auto& thread : threads) {
    if (thread.get_id() == std::this_thread::get_id()) {
      thread.detach();
    } else if (thread.joinable()) {
      thread.join();
    }
  }
  {
    std::lock_guard lock(mMutex);
    while (!mQueue.empty()) {
      dropped.push_back(std::move(const_cast<Entry&>(mQueue.top())));
      mQueue.pop();
    }
  }
  // The tasks' captures (callers' callbacks) are destroyed here, unlocked.
  dropped.clear();
  mIdle.notify_all();
}

bool WorkerPool::WaitForIdle(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mMutex);
  return mIdle.wait_for(lock, timeout, [this] { return IdleLocked() || mStopping; });
}

bool WorkerPool::IsWorkerThread() const {
  std::lock_guard lock(mMutex);
  return std::find(mThreadIds.begin(), mThreadIds.end(), std::this_thread::get_id()) != mThreadIds.end();
}

void WorkerPool::Run() {
  std::unique_lock lock(mMutex);
  while (!mStopping) {
    if (mQueue.empty()) {
      mWake.wait(lock);
      continue;
    }
    auto due = mQueue.top().due;
    if (Clock::now() < due) {
      mWake.wait_until(lock, due);
      continue;
    }
    Task task = std::move(const_cast<Entry&>(mQueue.top()).task);
    mQueue.pop();
    ++mRunning;
    lock.unlock();
    task();
    task = nullptr;
    lock.lock();
    --mRunning;
    if (IdleLocked()) {
      mIdle.notify_all();
    }
  }
}

}  // namespace tether::testing
