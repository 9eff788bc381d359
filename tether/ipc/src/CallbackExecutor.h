#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace tether::ipc {

// The library's own threads, on which every callback of a host runs.
//
// A task that throws is caught and logged; it never ends the thread or the
// process. Tasks posted after Stop still run, on the library's fallback thread,
// so that no callback is ever lost.
class CallbackExecutor {
 public:
  explicit CallbackExecutor(size_t threads);
  // Stops and joins the threads (detaching the calling one, if it is one of
  // them); queued tasks run first.
  ~CallbackExecutor();
  CallbackExecutor(const CallbackExecutor&) = delete;
  CallbackExecutor& operator=(const CallbackExecutor&) = delete;

  void Post(std::function<void()> task);
  bool IsExecutorThread() const;

  // Runs `task`, logging what it throws.
  static void RunGuarded(const std::function<void()>& task) noexcept;

 private:
  struct State;
  std::shared_ptr<State> mState;
  std::vector<std::thread> mThreads;
};

}  // namespace tether::ipc
