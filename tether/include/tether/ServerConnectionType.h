#pragma once

#include <cstdint>

namespace tether {

// How a typed server reaches its application.
//
// Callers pass 0 or 1 to CreateTetherServer and the value with all 32 bits set to
// ConnectLinkedServer; any other 32-bit value is carried unchanged to the
// backend, so the enumeration is open (cast from an integer where needed).
enum ServerConnectionType : uint32_t {
  // The application's usual, local server.
  kServerConnectionTypeDefault = 0,
  // The alternative road (for hosts that run their own server, or remote assets
  // with a version).
  kServerConnectionTypeAlternate = 1,
  // For ConnectLinkedServer: reuse whatever road the typed server was made with.
  kServerConnectionTypeInherit = 0xFFFFFFFFu,
};

}  // namespace tether
