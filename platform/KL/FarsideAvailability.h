#pragma once

namespace KL {

// Whether the client of the remote Farside service can be used in this process.
//
// The host loads that client only on demand and only where the service is set
// up, so code that offers remote assets asks this first and treats every name
// as a local path while it is false. The reference host starts with the client
// unavailable; a host (or a test) that provides the client switches it on.
// Both calls are thread-safe.
bool IsFarsideClientAvailable() noexcept;

// Switches the answer of IsFarsideClientAvailable.
void SetFarsideClientAvailable(bool available) noexcept;

}  // namespace KL
