#include <KL/FarsideAvailability.h>

#include <atomic>

namespace KL {
namespace {

std::atomic<bool> gFarsideClientAvailable{false};

}  // namespace

bool IsFarsideClientAvailable() noexcept {
  return gFarsideClientAvailable.load(std::memory_order_acquire);
}

void SetFarsideClientAvailable(bool available) noexcept {
  gFarsideClientAvailable.store(available, std::memory_order_release);
}

}  // namespace KL
