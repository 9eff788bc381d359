#pragma once

#include <cstddef>

namespace TetherMedia {

// Test support: the number of requests in the table of open requests right
// now; 0 when the table hasn't been made yet or has been destroyed. Doesn't
// make the table.
std::size_t GetPendingRequestCountForTesting();

}  // namespace TetherMedia
