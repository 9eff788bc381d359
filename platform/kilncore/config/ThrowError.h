#pragma once

#include <kilncore/config/KilnException.h>

#include <string>
#include <string_view>

namespace kilncore::config {

// How grave a thrown error is: 0 a warning the user may ignore, 1 an error that
// ends the operation, 2 a fatal one.
using ErrorLevel = int;

// The error that ThrowError throws: a kiln_exception with the general failure
// code, the localised text, and the level and key it was thrown with.
class KilnError : public kiln_exception {
 public:
  KilnError(ErrorLevel level, std::string key, const std::string& text)
      : kiln_exception(text, kGeneralFailure), mLevel(level), mKey(std::move(key)) {}

  ErrorLevel GetLevel() const noexcept { return mLevel; }
  // The text as thrown, a localisation key with its default.
  const std::string& GetKey() const noexcept { return mKey; }

 private:
  ErrorLevel mLevel;
  std::string mKey;
};

// Throws KilnError for `text`, a user-visible text ("$$$/key=default"), which
// is localised through Localizer.
[[noreturn]] void ThrowError(ErrorLevel level, std::string_view text);

}  // namespace kilncore::config
