#include <KL/UnifiedProject.h>

#include <atomic>

namespace KL::UnifiedProject {
namespace {

std::atomic<bool> gUnifiedProjectEnabled{false};

}  // namespace

bool IsUnifiedProjectEnabled() noexcept { return gUnifiedProjectEnabled.load(std::memory_order_acquire); }

void SetUnifiedProjectEnabled(bool enabled) noexcept {
  gUnifiedProjectEnabled.store(enabled, std::memory_order_release);
}

}  // namespace KL::UnifiedProject
