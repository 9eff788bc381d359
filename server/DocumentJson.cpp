#include "DocumentJson.h"

#include "FailureReason.h"

#include <tether/wire/Protocol.h>

#include <kilncore/utility/HashValueMixerState.h>

#include <rapidjson/error/en.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <cmath>
#include <fstream>
#include <sstream>

namespace tetherserver {

std::string DocumentJson::ReadFile(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    throw Error(ProjectError::Kind::kFileMissing, "no such file: " + path.string());
  }
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in && !in.eof()) throw Error(ProjectError::Kind::kUnreadable, "cannot read " + path.string());
  return text.str();
}

void DocumentJson::ParseDocument(rapidjson::Document& document, std::string_view text, const std::string& format) {
  document.Parse(text.data(), text.size());
  if (document.HasParseError()) {
    throw Error(ProjectError::Kind::kNotJSON, "not JSON: " + std::string(rapidjson::GetParseError_En(
                                                                 document.GetParseError())) +
                                                  " at offset " + std::to_string(document.GetErrorOffset()));
  }
  if (!document.IsObject()) Fail("$", "is not an object");
  const std::string found = OptionalString(document, "format", "$");
  if (found != format) {
    // Says whose file it is, so that a user who picked the wrong one sees it.
    throw Error(ProjectError::Kind::kUnsupportedFileType,
                "not a " + format + " file" + (found.empty() ? std::string() : " (it is a " + found + " file)"));
  }
  Integer(document, "version", "$", 1, 1);
}

void DocumentJson::Fail(const std::string& path, const std::string& what) {
  throw Error(ProjectError::Kind::kBadField, path + " " + what);
}

const DocumentJson::Value* DocumentJson::OptionalMember(const Value& object, const char* name) {
  if (!object.IsObject()) return nullptr;
  const auto found = object.FindMember(name);
  return found == object.MemberEnd() ? nullptr : &found->value;
}

const DocumentJson::Value& DocumentJson::Member(const Value& object, const char* name, const std::string& path) {
  const Value* value = OptionalMember(object, name);
  if (!value) Fail(path + "." + name, "is missing");
  return *value;
}

const DocumentJson::Value& DocumentJson::Array(const Value& object, const char* name, const std::string& path) {
  const Value& value = Member(object, name, path);
  if (!value.IsArray()) Fail(path + "." + name, "is not an array");
  return value;
}

std::string DocumentJson::String(const Value& object, const char* name, const std::string& path) {
  const Value& value = Member(object, name, path);
  if (!value.IsString()) Fail(path + "." + name, "is not a string");
  return std::string(value.GetString(), value.GetStringLength());
}

std::string DocumentJson::OptionalString(const Value& object, const char* name, const std::string& path) {
  return OptionalMember(object, name) ? String(object, name, path) : std::string();
}

int64_t DocumentJson::Integer(const Value& object, const char* name, const std::string& path, int64_t low,
                              int64_t high) {
  const Value& value = Member(object, name, path);
  if (!value.IsInt64()) Fail(path + "." + name, "is not a whole number");
  const int64_t number = value.GetInt64();
  if (number < low || number > high) {
    Fail(path + "." + name, "is outside " + std::to_string(low) + ".." + std::to_string(high));
  }
  return number;
}

int64_t DocumentJson::OptionalInteger(const Value& object, const char* name, const std::string& path, int64_t low,
                                      int64_t high, int64_t fallback) {
  return OptionalMember(object, name) ? Integer(object, name, path, low, high) : fallback;
}

double DocumentJson::OptionalNumber(const Value& object, const char* name, const std::string& path, double low,
                                    double high, double fallback) {
  const Value* value = OptionalMember(object, name);
  if (!value) return fallback;
  if (!value->IsNumber()) Fail(path + "." + name, "is not a number");
  const double number = value->GetDouble();
  if (!std::isfinite(number) || number < low || number > high) {
    Fail(path + "." + name, "is outside " + std::to_string(low) + ".." + std::to_string(high));
  }
  return number;
}

bool DocumentJson::OptionalBool(const Value& object, const char* name, const std::string& path, bool fallback) {
  const Value* value = OptionalMember(object, name);
  if (!value) return fallback;
  if (!value->IsBool()) Fail(path + "." + name, "is not true or false");
  return value->GetBool();
}

Rgba DocumentJson::Colour(const Value& value, const std::string& path) {
  if (!value.IsArray() || (value.Size() != 3 && value.Size() != 4)) Fail(path, "is not [r, g, b] or [r, g, b, a]");
  float channels[4] = {0.0f, 0.0f, 0.0f, 1.0f};
  for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
    if (!value[i].IsNumber() || !(value[i].GetDouble() >= 0.0 && value[i].GetDouble() <= 1.0)) {
      Fail(path + "[" + std::to_string(i) + "]", "is not a number in 0..1");
    }
    channels[i] = static_cast<float>(value[i].GetDouble());
  }
  return Rgba{channels[0], channels[1], channels[2], channels[3]};
}

Vec2 DocumentJson::Pair(const Value& value, const std::string& path) {
  constexpr double kLimit = 1e6;
  if (!value.IsArray() || value.Size() != 2) Fail(path, "is not [x, y]");
  for (rapidjson::SizeType i = 0; i < 2; ++i) {
    if (!value[i].IsNumber() || !(std::fabs(value[i].GetDouble()) <= kLimit)) {
      Fail(path + "[" + std::to_string(i) + "]", "is not a number within 1e6");
    }
  }
  return Vec2{value[0].GetDouble(), value[1].GetDouble()};
}

void DocumentJson::FrameRate(const Value& object, const std::string& path, int64_t& numerator,
                             int64_t& denominator) {
  const std::string text = OptionalString(object, "frameRate", path);
  if (text.empty()) return;  // the caller's default stands
  long long num = 0;
  long long den = 0;
  char slash = 0;
  std::istringstream in(text);
  if (!(in >> num >> slash >> den) || slash != '/' || !in.eof() || num <= 0 || den <= 0 || num > 1000000 ||
      den > 1000000 || num > den * 1000 || den > num * 1000) {
    // Between one frame in 1000 s and 1000 frames a second: every time of a
    // clip then stays well within the host's tick count.
    Fail(path + ".frameRate", "is not \"N/D\" frames per second (0.001 to 1000)");
  }
  numerator = num;
  denominator = den;
}

std::vector<FontReference> DocumentJson::Fonts(const Value& object, const std::string& path) {
  std::vector<FontReference> fonts;
  if (!OptionalMember(object, "fonts")) return fonts;
  const Value& list = Array(object, "fonts", path);
  for (rapidjson::SizeType i = 0; i < list.Size(); ++i) {
    const std::string at = path + ".fonts[" + std::to_string(i) + "]";
    FontReference font;
    font.family = String(list[i], "family", at);
    font.style = OptionalString(list[i], "style", at);
    font.fullName = font.style.empty() ? font.family : font.family + " " + font.style;
    font.available = OptionalBool(list[i], "available", at, true);
    fonts.push_back(std::move(font));
  }
  return fonts;
}

kilncore::utility::Guid DocumentJson::Identifier(const Value& object, const char* name, const std::string& path) {
  const kilncore::utility::Guid id(String(object, name, path));
  if (id.IsNil()) Fail(path + "." + name, "is not an identifier");
  return id;
}

std::string DocumentJson::CompactText(const Value& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  value.Accept(writer);
  return std::string(buffer.GetString(), buffer.GetSize());
}

kilncore::utility::Guid DocumentJson::ContentState(const std::string& definition) {
  static constexpr char kDomain[] = "TetherServerDocumentState";
  kilncore::utility::HashValueMixerState state;
  kilncore::utility::UpdateHashState(state, kDomain, sizeof(kDomain) - 1);
  kilncore::utility::UpdateHashState(state, definition.data(), definition.size());
  kilncore::utility::Guid result;
  kilncore::utility::GetHashResult(state, result);
  return result;
}

int32_t DocumentJson::StatusOf(const ProjectError& error) {
  if (!error.IsError()) return tether::wire::kStatusOK;
  FailureReason::Set(error.message);
  switch (error.kind) {
    case ProjectError::Kind::kFileMissing:
    case ProjectError::Kind::kUnknownItem:
      return tether::wire::kStatusNotFound;
    case ProjectError::Kind::kUnsupportedFileType:
    case ProjectError::Kind::kUnsupportedPixelFormat:
      return tether::wire::kStatusNotSupported;
    default:
      return tether::wire::kStatusFailed;
  }
}

}  // namespace tetherserver
