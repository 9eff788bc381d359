#pragma once

#include <tether/CapsuleParamValue.h>

#include <kilncore/string/WideString.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tether {

// One parameter that a motion-graphics template exposes.
struct CapsuleParam {
  std::string key;
  kilncore::WideString displayName;
  // The owning application's kind of control (text, slider, checkbox...).
  uint32_t kind = 0;
  CapsuleParamValue defaultValue;

  friend bool operator==(const CapsuleParam&, const CapsuleParam&) = default;
};

// The parameters that a motion-graphics template exposes, in the order of its
// panel. Empty for every other item.
struct CapsuleParams {
  std::vector<CapsuleParam> params;

  friend bool operator==(const CapsuleParams&, const CapsuleParams&) = default;
};

}  // namespace tether
