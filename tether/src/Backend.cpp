#include <tether/Backend.h>

#include <mutex>
#include <utility>

namespace tether {
namespace {

std::mutex& BackendMutex() {
  static std::mutex mutex;
  return mutex;
}

std::shared_ptr<Backend>& InstalledBackend() {
  static std::shared_ptr<Backend> backend;
  return backend;
}

}  // namespace

void InstallBackend(std::shared_ptr<Backend> backend) {
  std::shared_ptr<Backend> previous;
  {
    std::lock_guard lock(BackendMutex());
    previous = std::exchange(InstalledBackend(), std::move(backend));
  }
  // The old backend may be released here; its destructor runs outside the lock.
}

std::shared_ptr<Backend> GetBackend() {
  std::lock_guard lock(BackendMutex());
  return InstalledBackend();
}

}  // namespace tether
