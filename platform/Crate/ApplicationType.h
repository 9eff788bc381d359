#pragma once

#include <cstdint>

namespace Crate {

// The application that is running, as the small number by which the host's
// libraries tell their hosts apart. Only a few values have names; code that
// cares about another host tests for its number, which is why this is a plain
// enumeration that compares with integers.
enum ApplicationType : int32_t {
  kApplicationType_Unknown = 0,
  kApplicationType_Marl = 1,
  kApplicationType_Tolmen = 5,
};

// The running application. Thread-safe. The reference host answers
// kApplicationType_Unknown until told otherwise.
ApplicationType GetApplicationType() noexcept;

// Sets what GetApplicationType answers from now on. The host calls this once
// at start-up, before loading modules; tests call it to play a given host
// (ScopedApplicationType restores the previous value).
void SetApplicationType(ApplicationType type) noexcept;

// Plays the application `type` for the life of the object, then restores the
// previous type. For tests and for tools that host a module briefly.
class ScopedApplicationType {
 public:
  explicit ScopedApplicationType(ApplicationType type) noexcept;
  explicit ScopedApplicationType(int32_t type) noexcept
      : ScopedApplicationType(static_cast<ApplicationType>(type)) {}
  ScopedApplicationType(const ScopedApplicationType&) = delete;
  ScopedApplicationType& operator=(const ScopedApplicationType&) = delete;
  ~ScopedApplicationType();

 private:
  ApplicationType mPrevious;
};

}  // namespace Crate
