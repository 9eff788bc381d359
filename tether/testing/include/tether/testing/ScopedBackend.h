#pragma once

#include <tether/testing/ScriptedBackend.h>

#include <memory>

namespace tether::testing {

// Installs a scripted backend for the length of a scope (a test), and on leaving
// uninstalls it and shuts it down, so that no answer outlives the test.
class ScopedBackend {
 public:
  explicit ScopedBackend(size_t workerThreads = 2);
  ~ScopedBackend();
  ScopedBackend(const ScopedBackend&) = delete;
  ScopedBackend& operator=(const ScopedBackend&) = delete;

  ScriptedBackend& operator*() const { return *mBackend; }
  ScriptedBackend* operator->() const { return mBackend.get(); }
  const std::shared_ptr<ScriptedBackend>& Get() const { return mBackend; }

 private:
  std::shared_ptr<ScriptedBackend> mBackend;
};

}  // namespace tether::testing
