#include <kilncore/serialization/JSONString.h>

#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/Guid.h>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <string_view>
#include <vector>

namespace kilncore::serialization {
namespace {

bool IsASCII(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

template <typename Writer>
class TreeWriter {
 public:
  explicit TreeWriter(Writer& writer) : mWriter(writer) {}

  void Write(const std::any& value) {
    if (!value.has_value()) return Null();
    if (WriteScalar(value) || WriteText(value) || WriteContainer(value)) return;
    throw std::bad_any_cast();
  }

 private:
  void Null() { mWriter.Null(); }

  template <typename T>
  static const T* As(const std::any& value) {
    return std::any_cast<T>(&value);
  }

  template <typename... Ts>
  bool WriteSigned(const std::any& value) {
    return (... || (As<Ts>(value) && (mWriter.Int64(static_cast<int64_t>(*As<Ts>(value))), true)));
  }

  template <typename... Ts>
  bool WriteUnsigned(const std::any& value) {
    return (... ||
            (As<Ts>(value) && (mWriter.Uint64(static_cast<uint64_t>(*As<Ts>(value))), true)));
  }

  void WriteDouble(double number) {
    if (std::isfinite(number)) {
      mWriter.Double(number);
    } else {
      mWriter.Null();
    }
  }

  bool WriteScalar(const std::any& value) {
    if (const auto* flag = As<bool>(value)) return mWriter.Bool(*flag), true;
    if (WriteSigned<int64_t, int32_t, int16_t, int8_t, long long, long>(value)) return true;
    if (WriteUnsigned<uint64_t, uint32_t, uint16_t, uint8_t, unsigned long long, unsigned long>(
            value)) {
      return true;
    }
    if (const auto* number = As<double>(value)) return WriteDouble(*number), true;
    if (const auto* number = As<float>(value)) return WriteDouble(*number), true;
    return false;
  }

  void String(std::string_view text) {
    if (IsASCII(text)) {
      mWriter.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
      return;
    }
    // A round trip through UTF-16 is exact for valid UTF-8 and repairs the
    // rest, so the output is always valid.
    const std::string repaired = string::UTF16to8(string::UTF8to16(text));
    mWriter.String(repaired.data(), static_cast<rapidjson::SizeType>(repaired.size()));
  }

  bool WriteText(const std::any& value) {
    if (const auto* text = As<std::string>(value)) return String(*text), true;
    if (const auto* text = As<std::string_view>(value)) return String(*text), true;
    if (const auto* text = As<const char*>(value)) return String(*text ? *text : ""), true;
    if (const auto* text = As<char*>(value)) return String(*text ? *text : ""), true;
    if (const auto* text = As<WideString>(value)) return String(string::UTF16to8(*text)), true;
    if (const auto* guid = As<utility::Guid>(value)) return String(guid->AsUTF8String()), true;
    return false;
  }

  void Pointer(const JSONValuePtr& value) {
    if (value) {
      Write(*value);
    } else {
      Null();
    }
  }

  template <typename Map, typename WriteValue>
  void Object(const Map& object, WriteValue writeValue) {
    mWriter.StartObject();
    for (const auto& [key, member] : object) {
      String(key);
      writeValue(member);
    }
    mWriter.EndObject();
  }

  template <typename Vector, typename WriteValue>
  void Array(const Vector& array, WriteValue writeValue) {
    mWriter.StartArray();
    for (const auto& element : array) writeValue(element);
    mWriter.EndArray();
  }

  bool WriteContainer(const std::any& value) {
    const auto pointer = [this](const JSONValuePtr& member) { Pointer(member); };
    const auto plain = [this](const std::any& member) { Write(member); };
    if (const auto* object = As<JSONObject>(value)) return Object(*object, pointer), true;
    if (const auto* array = As<JSONArray>(value)) return Array(*array, pointer), true;
    if (const auto* nested = As<JSONValuePtr>(value)) return Pointer(*nested), true;
    if (const auto* object = As<std::map<std::string, std::any>>(value)) {
      return Object(*object, plain), true;
    }
    if (const auto* array = As<std::vector<std::any>>(value)) return Array(*array, plain), true;
    return false;
  }

  Writer& mWriter;
};

template <typename Writer>
std::string WriteWith(const std::any& value) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  TreeWriter<Writer>(writer).Write(value);
  return std::string(buffer.GetString(), buffer.GetSize());
}

}  // namespace

std::string GetJSONString(const std::any& value, bool pretty) {
  return pretty ? WriteWith<rapidjson::PrettyWriter<rapidjson::StringBuffer>>(value)
                : WriteWith<rapidjson::Writer<rapidjson::StringBuffer>>(value);
}

std::string GetJSONString(const JSONValuePtr& value, bool pretty) {
  return value ? GetJSONString(*value, pretty) : std::string("null");
}

WideString GetJSONWideString(const std::any& value, bool pretty) {
  return string::UTF8to16(GetJSONString(value, pretty));
}

WideString GetJSONWideString(const JSONValuePtr& value, bool pretty) {
  return string::UTF8to16(GetJSONString(value, pretty));
}

}  // namespace kilncore::serialization
