#pragma once

namespace KL::UnifiedProject {

// Whether the host saves and opens projects in the unified format besides
// the legacy one. This is host policy, decided at start-up from the host's
// feature settings; the reference host answers false until told otherwise.
// Both calls are thread-safe.
bool IsUnifiedProjectEnabled() noexcept;

// Switches the answer of IsUnifiedProjectEnabled; for the host and for tests.
void SetUnifiedProjectEnabled(bool enabled) noexcept;

}  // namespace KL::UnifiedProject
