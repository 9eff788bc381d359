#include <Crate/ApplicationType.h>

#include <atomic>

namespace Crate {
namespace {

std::atomic<ApplicationType> gApplicationType{kApplicationType_Unknown};

}  // namespace

ApplicationType GetApplicationType() noexcept {
  return gApplicationType.load(std::memory_order_acquire);
}

void SetApplicationType(ApplicationType type) noexcept {
  gApplicationType.store(type, std::memory_order_release);
}

ScopedApplicationType::ScopedApplicationType(ApplicationType type) noexcept
    : mPrevious(gApplicationType.exchange(type, std::memory_order_acq_rel)) {}

ScopedApplicationType::~ScopedApplicationType() { SetApplicationType(mPrevious); }

}  // namespace Crate
