#include <host/cli/Suggestion.h>

#include <algorithm>

namespace tetherhost {
namespace {

constexpr size_t kMostEdits = 2;

// Optimal string alignment distance: edits as Levenshtein's, plus a swap of
// two neighbouring letters as one edit, the commonest typing slip.
size_t EditDistance(const std::string& a, const std::string& b) {
  std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1, 0));
  for (size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
  for (size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    for (size_t j = 1; j <= b.size(); ++j) {
      const size_t cost = a[i - 1] == b[j - 1] ? 0 : 1;
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + cost});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
      }
    }
  }
  return d[a.size()][b.size()];
}

}  // namespace

std::optional<std::string> Suggest(const std::string& word, const std::vector<std::string>& candidates) {
  std::optional<std::string> best;
  size_t bestDistance = kMostEdits + 1;
  for (const std::string& candidate : candidates) {
    const size_t distance = EditDistance(word, candidate);
    if (distance < bestDistance) {
      best = candidate;
      bestDistance = distance;
    }
  }
  if (best || word.empty()) return best;
  for (const std::string& candidate : candidates) {
    if (candidate.rfind(word, 0) == 0) return candidate;
  }
  return std::nullopt;
}

}  // namespace tetherhost
