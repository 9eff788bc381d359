#include <kilncore/debug/DebugDatabase.h>

#include <kilncore/string/UTFConversion.h>

#include <cstdlib>

namespace kilncore::debug {

DebugDatabase& DebugDatabase::Instance() {
  static DebugDatabase* const database = new DebugDatabase;
  return *database;
}

std::optional<std::string> DebugDatabase::Lookup(std::string_view key) const {
  {
    std::lock_guard lock(mMutex);
    if (const auto found = mEntries.find(key); found != mEntries.end()) return found->second;
  }
  const std::string variable = "KILN_DEBUG_" + std::string(key);
  if (variable.find('\0') != std::string::npos) return std::nullopt;
  if (const char* value = std::getenv(variable.c_str())) return std::string(value);
  return std::nullopt;
}

std::string DebugDatabase::GetEntry(std::string_view key, std::string_view defaultText) const {
  return Lookup(key).value_or(std::string(defaultText));
}

WideString DebugDatabase::GetEntry(WideStringView key, WideStringView defaultText) const {
  const std::optional<std::string> text = Lookup(string::UTF16to8(key));
  return text ? string::UTF8to16(*text) : WideString(defaultText);
}

void DebugDatabase::SetEntry(std::string_view key, std::string_view text) {
  std::lock_guard lock(mMutex);
  mEntries.insert_or_assign(std::string(key), std::string(text));
}

void DebugDatabase::SetEntry(WideStringView key, WideStringView text) {
  SetEntry(string::UTF16to8(key), string::UTF16to8(text));
}

void DebugDatabase::RemoveEntry(std::string_view key) {
  std::lock_guard lock(mMutex);
  if (const auto found = mEntries.find(key); found != mEntries.end()) mEntries.erase(found);
}

}  // namespace kilncore::debug
