#pragma once

#include <kilncore/serialization/JSONConvert.h>
#include <tether/CapsuleParamValues.h>

#include <any>
#include <memory>

namespace kilncore::serialization {

// Capsule parameter values take part in the host's JSON conversions through
// the client library's own converters, so that their JSON form stays the
// library's affair. JSON null reads as empty values.
template <>
struct JSONConvert<tether::CapsuleParamValues> {
  static tether::CapsuleParamValues FromJSON(const std::any& json) {
    if (!json.has_value()) return {};
    // The library's reader takes a shared tree; a copy of the top level is
    // cheap, since members are shared pointers.
    return tether::FromJSON(std::make_shared<std::any>(json));
  }
  static JSONValuePtr ToJSON(const tether::CapsuleParamValues& values) {
    return tether::ToJSON(values);
  }
};

}  // namespace kilncore::serialization
