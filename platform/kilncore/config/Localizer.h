#pragma once

#include <kilncore/string/WideString.h>

#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace kilncore::config {

// Turns user-visible texts into the user's language.
//
// A text names its key and carries its default behind the first '=':
// "$$$/TetherMedia/fps=fps" has the key "$$$/TetherMedia/fps" and the default
// "fps". Localize gives the loaded translation of the key, or else the default.
// A text that doesn't start with "$$$/" isn't a key and comes back unchanged;
// a key text without '=' gives its translation or, lacking one, the text
// itself. Thread-safe.
//
// Example:
//   WideString fps = Localizer::Get().Localize(u"$$$/TetherMedia/fps=fps");
class Localizer {
 public:
  // The process's localiser.
  static Localizer& Get();

  WideString Localize(WideStringView text) const;
  std::string Localize(std::string_view text) const;
  WideString Localize(const char16_t* text) const { return Localize(WideStringView(text)); }
  std::string Localize(const char* text) const { return Localize(std::string_view(text)); }

  // Loads the translation of `key` ("$$$/TetherMedia/fps", without '=' and
  // default), replacing an earlier one.
  void LoadTranslation(std::string_view key, WideStringView translation);
  void LoadTranslation(std::string_view key, std::string_view translationUTF8);

  // Forgets all translations: every text gives its default again.
  void ClearTranslations();

  // "$$$/", the start of every key.
  static constexpr std::string_view kKeyPrefix = "$$$/";

 private:
  Localizer() = default;

  mutable std::mutex mMutex;
  std::map<std::string, WideString, std::less<>> mTranslations;
};

}  // namespace kilncore::config
