#pragma once

#include <optional>
#include <string>
#include <vector>

namespace tetherhost {

// The candidate a mistyped `word` most likely meant: the one within two edits
// (insertions, deletions, substitutions, or a swap of neighbours), the closest
// first and the earliest among equals, or one that starts with `word`. None if
// nothing is that close.
std::optional<std::string> Suggest(const std::string& word, const std::vector<std::string>& candidates);

}  // namespace tetherhost
