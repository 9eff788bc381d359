#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace farside {

// The bearer tokens that the service accepts, each for one account and
// possibly until a moment. A tokens file has one token a line:
//   ACCOUNT TOKEN [EXPIRES]
// where EXPIRES is a time in seconds since 1970 (UTC); blank lines and lines
// that start with '#' are skipped.
class TokenList {
 public:
  enum class Verdict { kAccepted, kUnknown, kExpired };

  struct Check {
    Verdict verdict = Verdict::kUnknown;
    std::string account;
  };

  void Add(std::string account, std::string token,
           std::optional<std::chrono::system_clock::time_point> expires = std::nullopt);
  // Throws std::runtime_error naming the file and line of a malformed entry.
  void AddFile(const std::filesystem::path& path);

  bool empty() const { return mEntries.empty(); }

  // Compares every token in full, so that the time taken tells nothing about
  // how much of a wrong token was right.
  Check Verify(const std::string& token, std::chrono::system_clock::time_point now) const;

 private:
  struct Entry {
    std::string account;
    std::string token;
    std::optional<std::chrono::system_clock::time_point> expires;
  };
  std::vector<Entry> mEntries;
};

}  // namespace farside
