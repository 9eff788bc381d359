#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace tetherserver {

// Why the server couldn't open a project, find an item or render.
struct ProjectError {
  enum class Kind {
    kNone,
    // The project file doesn't exist.
    kFileMissing,
    // The file exists but couldn't be read.
    kUnreadable,
    // The file's extension names no project flavour this server serves.
    kUnsupportedFileType,
    // The text isn't well-formed JSON.
    kNotJSON,
    // A member is missing, of the wrong type or out of range.
    kBadField,
    // No item of that identifier in the project.
    kUnknownItem,
    // None of the pixel formats asked for can be rendered.
    kUnsupportedPixelFormat,
    // The caller's buffer doesn't fit the frame or the block.
    kBadBuffer,
  };

  Kind kind = Kind::kNone;
  // For people: what went wrong and where (file, JSON path, offset).
  std::string message;

  // The host's result code for this failure: 0xA00F0003 (file missing) for a
  // missing file, 0xA00F0001 (general failure) for every other failure, 0 for
  // none. The plumbing sends it as the status of the failed request.
  int32_t ResultCode() const;

  bool IsError() const { return kind != Kind::kNone; }
};

// A value or the error that prevented it.
template <typename T>
struct Outcome {
  std::optional<T> value;
  ProjectError error;

  static Outcome Success(T v) { return Outcome{std::move(v), {}}; }
  static Outcome Failure(ProjectError::Kind kind, std::string message) {
    return Outcome{std::nullopt, ProjectError{kind, std::move(message)}};
  }

  bool ok() const { return value.has_value(); }
  explicit operator bool() const { return ok(); }
  const T& operator*() const { return *value; }
  T& operator*() { return *value; }
  const T* operator->() const { return &*value; }
  T* operator->() { return &*value; }
};

}  // namespace tetherserver
