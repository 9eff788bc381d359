#include <kilncore/config/Localizer.h>

#include <kilncore/string/UTFConversion.h>

#include <optional>

namespace kilncore::config {
namespace {

struct KeyedText {
  std::string key;
  WideString defaultText;
};

// Splits a text at its first '='; nullopt if it isn't a key text.
std::optional<KeyedText> Split(WideStringView text) {
  const WideStringView prefix = u"$$$/";
  if (text.substr(0, prefix.size()) != prefix) return std::nullopt;
  const size_t equals = text.find(u'=');
  if (equals == WideStringView::npos) return KeyedText{string::UTF16to8(text), WideString(text)};
  return KeyedText{string::UTF16to8(text.substr(0, equals)), WideString(text.substr(equals + 1))};
}

}  // namespace

Localizer& Localizer::Get() {
  static Localizer* const localizer = new Localizer;
  return *localizer;
}

WideString Localizer::Localize(WideStringView text) const {
  std::optional<KeyedText> keyed = Split(text);
  if (!keyed) return WideString(text);
  std::lock_guard lock(mMutex);
  const auto found = mTranslations.find(keyed->key);
  return found != mTranslations.end() ? found->second : std::move(keyed->defaultText);
}

std::string Localizer::Localize(std::string_view text) const {
  if (text.substr(0, kKeyPrefix.size()) != kKeyPrefix) return std::string(text);
  return string::UTF16to8(Localize(WideStringView(string::UTF8to16(text))));
}

void Localizer::LoadTranslation(std::string_view key, WideStringView translation) {
  std::lock_guard lock(mMutex);
  mTranslations.insert_or_assign(std::string(key), WideString(translation));
}

void Localizer::LoadTranslation(std::string_view key, std::string_view translationUTF8) {
  LoadTranslation(key, WideStringView(string::UTF8to16(translationUTF8)));
}

void Localizer::ClearTranslations() {
  std::lock_guard lock(mMutex);
  mTranslations.clear();
}

}  // namespace kilncore::config
