#include "TokenList.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace farside {
namespace {

bool SameText(const std::string& a, const std::string& b) {
  unsigned char difference = a.size() == b.size() ? 0 : 1;
  for (size_t i = 0; i < a.size(); ++i) {
    difference |= static_cast<unsigned char>(a[i] ^ (i < b.size() ? b[i] : 0));
  }
  return difference == 0;
}

}  // namespace

void TokenList::Add(std::string account, std::string token,
                    std::optional<std::chrono::system_clock::time_point> expires) {
  if (token.empty()) throw std::runtime_error("a token must not be empty");
  mEntries.push_back(Entry{std::move(account), std::move(token), expires});
}

void TokenList::AddFile(const std::filesystem::path& path) {
  std::ifstream in(path);
  if (!in) throw std::runtime_error(path.string() + ": cannot be read");
  std::string line;
  for (int number = 1; std::getline(in, line); ++number) {
    std::istringstream fields(line);
    std::string account;
    std::string token;
    std::string expires;
    std::string extra;
    fields >> account >> token >> expires >> extra;
    if (account.empty() || account[0] == '#') continue;
    // The line is not quoted back: it holds a secret.
    const std::string where = path.string() + ":" + std::to_string(number);
    if (token.empty() || !extra.empty()) throw std::runtime_error(where + ": expected ACCOUNT TOKEN [EXPIRES]");
    std::optional<std::chrono::system_clock::time_point> until;
    if (!expires.empty()) {
      size_t used = 0;
      long long seconds = 0;
      try {
        seconds = std::stoll(expires, &used);
      } catch (const std::exception&) {
        used = 0;
      }
      if (used != expires.size()) throw std::runtime_error(where + ": EXPIRES must be seconds since 1970");
      until = std::chrono::system_clock::time_point(std::chrono::seconds(seconds));
    }
    Add(account, token, until);
  }
}

TokenList::Check TokenList::Verify(const std::string& token, std::chrono::system_clock::time_point now) const {
  Check check;
  for (const Entry& entry : mEntries) {
    if (!SameText(entry.token, token)) continue;
    check.account = entry.account;
    check.verdict = entry.expires && *entry.expires <= now ? Verdict::kExpired : Verdict::kAccepted;
  }
  return check;
}

}  // namespace farside
