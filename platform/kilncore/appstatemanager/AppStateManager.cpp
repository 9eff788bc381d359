#include <kilncore/appstatemanager/AppStateManager.h>

#include <kilncore/logging/Log.h>

#include <atomic>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace kilncore::appstatemanager {
namespace {

constexpr const char* kCallbackLogContext = "kilncore::appstatemanager::AdvanceAppState";

struct AppStateRegistry {
  std::mutex mutex;
  // Serialises whole advances so that the callbacks of one state have all run
  // before those of the next start, even with two threads advancing. Recursive
  // because a callback may advance further.
  std::recursive_mutex advanceMutex;
  // Read without the lock by the fast queries; written under it.
  std::atomic<int> current{kAppStateStarting};
  std::atomic<bool> willTerminate{false};
  std::atomic<uint64_t> generation{0};
  std::map<int, std::vector<std::function<void()>>> callbacks;
};

AppStateRegistry& GetRegistry() {
  static AppStateRegistry registry;
  return registry;
}

void RunCallbacks(std::vector<std::function<void()>>& callbacks) {
  for (auto& callback : callbacks) {
    try {
      callback();
    } catch (...) {
      logging::LogException(std::current_exception(), kCallbackLogContext);
    }
  }
}

}  // namespace

utility::Seam<bool()>& WillTerminateSeam() {
  // Never destroyed: termination code asks until the very end of the process.
  static auto* const seam =
      new utility::Seam<bool()>([] { return GetRegistry().willTerminate.load(std::memory_order_acquire); });
  return *seam;
}

bool WillTerminate() noexcept { return WillTerminateSeam()(); }

bool HasReachedAppStateAlready(int state) noexcept {
  return GetRegistry().current.load(std::memory_order_acquire) >= state;
}

int GetCurrentAppState() noexcept { return GetRegistry().current.load(std::memory_order_acquire); }

void AdvanceAppState(int state) {
  AppStateRegistry& registry = GetRegistry();
  std::lock_guard advancing(registry.advanceMutex);
  // One state per round, taking the lock afresh each time: callbacks run
  // unlocked, and may themselves register callbacks or advance further.
  for (;;) {
    std::vector<std::function<void()>> due;
    {
      std::lock_guard lock(registry.mutex);
      const int current = registry.current.load(std::memory_order_relaxed);
      if (current >= state) return;
      const int next = current + 1;
      if (next >= kAppStateTerminationStarted) {
        registry.willTerminate.store(true, std::memory_order_release);
      }
      registry.current.store(next, std::memory_order_release);
      auto found = registry.callbacks.find(next);
      if (found != registry.callbacks.end()) {
        due = std::move(found->second);
        registry.callbacks.erase(found);
      }
    }
    RunCallbacks(due);
  }
}

void RegisterAppStateCallback(int state, std::function<void()> callback) {
  AppStateRegistry& registry = GetRegistry();
  {
    std::lock_guard lock(registry.mutex);
    if (registry.current.load(std::memory_order_relaxed) < state) {
      registry.callbacks[state].push_back(std::move(callback));
      return;
    }
  }
  std::vector<std::function<void()>> due;
  due.push_back(std::move(callback));
  RunCallbacks(due);
}

void ResetAppStateForTesting() {
  AppStateRegistry& registry = GetRegistry();
  std::map<int, std::vector<std::function<void()>>> forgotten;
  {
    std::lock_guard lock(registry.mutex);
    registry.current.store(kAppStateStarting, std::memory_order_release);
    registry.willTerminate.store(false, std::memory_order_release);
    registry.generation.fetch_add(1, std::memory_order_acq_rel);
    forgotten.swap(registry.callbacks);
  }
  // Destroyed unlocked: a callback's captures may have destructors of their own.
}

uint64_t GetAppStateGeneration() noexcept {
  return GetRegistry().generation.load(std::memory_order_acquire);
}

}  // namespace kilncore::appstatemanager
