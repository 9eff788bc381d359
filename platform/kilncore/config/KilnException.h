#pragma once

#include <cstdint>
#include <exception>
#include <stdexcept>
#include <string>

namespace kilncore::config {

// The host's exception: a text and a 32-bit result code. Negative codes (the
// high bit set) are failures.
class kiln_exception : public std::runtime_error {
 public:
  kiln_exception(const std::string& text, int32_t code) : std::runtime_error(text), mCode(code) {}
  kiln_exception(const std::string& text, uint32_t code)
      : kiln_exception(text, static_cast<int32_t>(code)) {}

  int32_t GetCode() const noexcept { return mCode; }

 private:
  int32_t mCode;
};

// The general failure code, for exceptions that carry no code of their own.
inline constexpr int32_t kGeneralFailure = static_cast<int32_t>(0xA00F0001u);

// The code carried by the exception: 0 for an empty pointer, the code of a
// kiln_exception, and the general failure for any other exception.
int32_t ExtractResultFromException(const std::exception_ptr& exception) noexcept;

// Reports a dereferenced null reference by throwing NullPtrException, naming the
// type that was expected.
[[noreturn]] void DoThrowNullPtrException(const std::string& typeName);

// Thrown by DoThrowNullPtrException.
class NullPtrException : public kiln_exception {
 public:
  explicit NullPtrException(const std::string& typeName)
      : kiln_exception("Null pointer: " + typeName, kGeneralFailure), mTypeName(typeName) {}
  const std::string& GetTypeName() const noexcept { return mTypeName; }

 private:
  std::string mTypeName;
};

}  // namespace kilncore::config
