#pragma once

#include <kilncore/serialization/JSONTypes.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace FarsideCL::detail {

// The client's texts (asset names, linked-asset texts) are small JSON objects
// of string members. These two helpers read and write them.

// The object that `root` holds, or null if it holds no JSON object. The
// pointer lives as long as `root`'s value.
const kilncore::serialization::JSONObject* ParseObject(const kilncore::serialization::JSONValuePtr& root);

// Member `key` of `object` if it is a string; nothing if it is missing or of
// another type.
std::optional<std::string> FindString(const kilncore::serialization::JSONObject& object,
                                      std::string_view key);

// A JSON object of string members written in the order given. The host's JSON
// objects order their keys alphabetically, and these texts are compared as
// texts by the remote service, so the order is fixed here; the values are
// escaped by the host's JSON writer.
std::string WriteOrderedObject(const std::vector<std::pair<std::string_view, std::string_view>>& members);

}  // namespace FarsideCL::detail
