#pragma once

#include <server/project/FontReference.h>
#include <server/project/Layer.h>
#include <server/project/ProjectError.h>

#include <kilncore/utility/Guid.h>

#include <rapidjson/document.h>

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tetherserver {

// The typed reads that the small JSON formats of the Sprocket, Easel and
// Darkslide handlers share. Every failure is a DocumentJson::Error whose text
// names the file and the JSON path of the bad member, so that a user reading
// the host's message knows what to fix.
class DocumentJson {
 public:
  using Value = rapidjson::Value;

  struct Error : std::runtime_error {
    Error(ProjectError::Kind kind, const std::string& text) : std::runtime_error(text), kind(kind) {}
    ProjectError::Kind kind;
  };

  // Reads the whole file; kFileMissing or kUnreadable.
  static std::string ReadFile(const std::filesystem::path& path);
  // Reads the file at `path` and gives its text to `parse` (text, path): the
  // readers' Open, with a file that can't be read as the outcome's failure.
  template <typename Document, typename Parse>
  static Outcome<Document> Open(const std::filesystem::path& path, Parse parse) {
    try {
      return parse(ReadFile(path), path);
    } catch (const Error& error) {
      return Outcome<Document>::Failure(error.kind, error.what());
    }
  }
  // Parses `text` as a JSON object whose "format" is `format` and whose
  // "version" is 1: a file of another owner fails here, by name.
  static void ParseDocument(rapidjson::Document& document, std::string_view text, const std::string& format);

  static const Value& Member(const Value& object, const char* name, const std::string& path);
  static const Value* OptionalMember(const Value& object, const char* name);
  static const Value& Array(const Value& object, const char* name, const std::string& path);
  static std::string String(const Value& object, const char* name, const std::string& path);
  static std::string OptionalString(const Value& object, const char* name, const std::string& path);
  static int64_t Integer(const Value& object, const char* name, const std::string& path, int64_t low, int64_t high);
  static int64_t OptionalInteger(const Value& object, const char* name, const std::string& path, int64_t low,
                                 int64_t high, int64_t fallback);
  static double OptionalNumber(const Value& object, const char* name, const std::string& path, double low,
                               double high, double fallback);
  static bool OptionalBool(const Value& object, const char* name, const std::string& path, bool fallback);
  // [r, g, b] or [r, g, b, a], each in 0..1.
  static Rgba Colour(const Value& value, const std::string& path);
  // [x, y] within +-1e6.
  static Vec2 Pair(const Value& value, const std::string& path);
  // "N/D" frames per second, N and D positive, 0.001 to 1000.
  static void FrameRate(const Value& object, const std::string& path, int64_t& numerator, int64_t& denominator);

  // The "fonts" array of `object` (each {"family", "style", "available"}),
  // empty when there is none. A font with "available": false is one that this
  // machine lacks.
  static std::vector<FontReference> Fonts(const Value& object, const std::string& path);
  // The identifier in member `name`; a nil or malformed one fails.
  static kilncore::utility::Guid Identifier(const Value& object, const char* name, const std::string& path);

  // The value written compactly, and the content state of such a definition:
  // a hash that changes whenever the definition does.
  static std::string CompactText(const Value& value);
  static kilncore::utility::Guid ContentState(const std::string& definition);

  // The wire status of a failed read or render, 0 for none; the error's text
  // goes to the client as the failure's reason.
  static int32_t StatusOf(const ProjectError& error);

  [[noreturn]] static void Fail(const std::string& path, const std::string& what);
};

}  // namespace tetherserver
