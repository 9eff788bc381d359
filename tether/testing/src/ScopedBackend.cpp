#include <tether/testing/ScopedBackend.h>

namespace tether::testing {

ScopedBackend::ScopedBackend(size_t workerThreads) : mBackend(ScriptedBackend::Create(workerThreads)) {
  InstallBackend(mBackend);
}

ScopedBackend::~ScopedBackend() {
  InstallBackend(nullptr);
  mBackend->Shutdown();
}

}  // namespace tether::testing
