#pragma once

#include <cstdint>

namespace tether {

// The family of server that opens a remote asset. Other values are possible on
// the wire (callers refuse them), so the enumeration is open.
enum FarsideAssetServerType : int32_t {
  kFarsideAssetServerTypeMarl = 0,
  kFarsideAssetServerTypeTolmen = 1,
};

}  // namespace tether
