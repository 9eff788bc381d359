#pragma once

#include <kilncore/string/WideString.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace kilncore::debug {

// Named text settings for debugging and for switches that have no user
// interface.
//
// An entry's text comes, in this order, from SetEntry, from the environment
// variable KILN_DEBUG_<key> (read on every lookup, so that a process can be
// started with a switch on), or from the default given to GetEntry. Keys and
// texts are UTF-8; the wide forms convert. Thread-safe.
//
// Example:
//   bool allow = DebugDatabase::Instance().GetEntry("AllowTetherToOwnProjectType",
//                                                   "false") == "true";
class DebugDatabase {
 public:
  static DebugDatabase& Instance();

  std::string GetEntry(std::string_view key, std::string_view defaultText) const;
  WideString GetEntry(WideStringView key, WideStringView defaultText) const;
  std::string GetEntry(const char* key, const char* defaultText) const {
    return GetEntry(std::string_view(key), std::string_view(defaultText));
  }

  // Stores a text, which then wins over the environment.
  void SetEntry(std::string_view key, std::string_view text);
  void SetEntry(WideStringView key, WideStringView text);

  // Forgets what SetEntry stored under `key`.
  void RemoveEntry(std::string_view key);

 private:
  DebugDatabase() = default;
  std::optional<std::string> Lookup(std::string_view key) const;

  mutable std::mutex mMutex;
  std::map<std::string, std::string, std::less<>> mEntries;
};

}  // namespace kilncore::debug
