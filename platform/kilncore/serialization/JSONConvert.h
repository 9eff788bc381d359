#pragma once

#include <kilncore/serialization/JSONTypes.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

#include <any>
#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace kilncore::serialization {

// The conversion of a type to and from a JSON tree: the customisation point
// through which types of other libraries take part in JSON (for example the
// parameter values of a render option class).
//
// A specialisation provides:
//   static T FromJSON(const std::any& json);   // throws std::bad_any_cast for
//                                              // a value of the wrong form
//   static JSONValuePtr ToJSON(const T& value);
//
// Specialisations here cover bool, the integer types, double, std::string,
// WideString, Guid (its text form), std::vector<T> and std::map<std::string, T>
// of convertible T. Readers are strict: an integer must fit the target type,
// text isn't read as a number, and JSON null is no value of any of these.
//
// Example:
//   template <>
//   struct JSONConvert<Point> {
//     static Point FromJSON(const std::any& json) {
//       return {JSONConvert<int32_t>::FromJSON(*GetVariantInObject(json, "x")), ...};
//     }
//     static JSONValuePtr ToJSON(const Point& p) { ... }
//   };
template <typename T, typename Enable = void>
struct JSONConvert;

// Shorthands. The pointer form throws std::bad_any_cast for a null pointer.
template <typename T>
T FromJSON(const std::any& json) {
  return JSONConvert<T>::FromJSON(json);
}
template <typename T>
T FromJSON(const JSONValuePtr& json) {
  if (!json) throw std::bad_any_cast();
  return JSONConvert<T>::FromJSON(*json);
}
template <typename T>
JSONValuePtr ToJSON(const T& value) {
  return JSONConvert<T>::ToJSON(value);
}

namespace detail {

// Sets `out` if `json` holds an integer of any type whose value fits Target.
template <typename Target>
bool ReadInteger(const std::any& json, Target& out) {
  bool found = false;
  const auto tryType = [&]<typename Source>(Source*) {
    if (found) return;
    if (const auto* value = std::any_cast<Source>(&json)) {
      found = true;
      if (!std::in_range<Target>(*value)) throw std::bad_any_cast();
      out = static_cast<Target>(*value);
    }
  };
  tryType(static_cast<uint64_t*>(nullptr));
  tryType(static_cast<int64_t*>(nullptr));
  tryType(static_cast<int32_t*>(nullptr));
  tryType(static_cast<uint32_t*>(nullptr));
  tryType(static_cast<int16_t*>(nullptr));
  tryType(static_cast<uint16_t*>(nullptr));
  tryType(static_cast<long long*>(nullptr));
  tryType(static_cast<unsigned long long*>(nullptr));
  return found;
}

}  // namespace detail

template <>
struct JSONConvert<bool> {
  static bool FromJSON(const std::any& json) { return std::any_cast<bool>(json); }
  static JSONValuePtr ToJSON(bool value) { return std::make_shared<std::any>(value); }
};

template <typename T>
struct JSONConvert<T, std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>>> {
  static T FromJSON(const std::any& json) {
    T value{};
    if (!detail::ReadInteger(json, value)) throw std::bad_any_cast();
    return value;
  }
  // Stored as a parsed tree would hold it, so that trees compare alike.
  static JSONValuePtr ToJSON(T value) {
    if (value < 0) return std::make_shared<std::any>(static_cast<int64_t>(value));
    return std::make_shared<std::any>(static_cast<uint64_t>(value));
  }
};

template <>
struct JSONConvert<double> {
  static double FromJSON(const std::any& json) {
    if (const auto* value = std::any_cast<double>(&json)) return *value;
    if (const auto* value = std::any_cast<float>(&json)) return *value;
    if (const auto* value = std::any_cast<uint64_t>(&json)) return static_cast<double>(*value);
    if (const auto* value = std::any_cast<int64_t>(&json)) return static_cast<double>(*value);
    int64_t small = 0;
    if (detail::ReadInteger(json, small)) return static_cast<double>(small);
    throw std::bad_any_cast();
  }
  static JSONValuePtr ToJSON(double value) { return std::make_shared<std::any>(value); }
};

template <>
struct JSONConvert<std::string> {
  static std::string FromJSON(const std::any& json) { return std::any_cast<std::string>(json); }
  static JSONValuePtr ToJSON(const std::string& value) { return std::make_shared<std::any>(value); }
};

template <>
struct JSONConvert<WideString> {
  static WideString FromJSON(const std::any& json) {
    return string::UTF8to16(std::any_cast<const std::string&>(json));
  }
  static JSONValuePtr ToJSON(const WideString& value) {
    return std::make_shared<std::any>(string::UTF16to8(value));
  }
};

// A Guid travels as its text form; text that isn't a Guid reads as nil.
template <>
struct JSONConvert<utility::Guid> {
  static utility::Guid FromJSON(const std::any& json) {
    return utility::Guid(std::string_view(std::any_cast<const std::string&>(json)));
  }
  static JSONValuePtr ToJSON(const utility::Guid& value) {
    return std::make_shared<std::any>(value.AsUTF8String());
  }
};

template <typename T>
struct JSONConvert<std::vector<T>> {
  static std::vector<T> FromJSON(const std::any& json) {
    const auto& array = std::any_cast<const JSONArray&>(json);
    std::vector<T> result;
    result.reserve(array.size());
    for (const JSONValuePtr& element : array) result.push_back(serialization::FromJSON<T>(element));
    return result;
  }
  static JSONValuePtr ToJSON(const std::vector<T>& values) {
    JSONArray array;
    array.reserve(values.size());
    for (const T& value : values) array.push_back(JSONConvert<T>::ToJSON(value));
    return std::make_shared<std::any>(std::move(array));
  }
};

template <typename T>
struct JSONConvert<std::map<std::string, T>> {
  static std::map<std::string, T> FromJSON(const std::any& json) {
    std::map<std::string, T> result;
    for (const auto& [key, member] : std::any_cast<const JSONObject&>(json)) {
      result.emplace(key, serialization::FromJSON<T>(member));
    }
    return result;
  }
  static JSONValuePtr ToJSON(const std::map<std::string, T>& values) {
    JSONObject object;
    for (const auto& [key, value] : values) object.emplace(key, JSONConvert<T>::ToJSON(value));
    return std::make_shared<std::any>(std::move(object));
  }
};

}  // namespace kilncore::serialization
