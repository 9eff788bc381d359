#pragma once

#include <string>

namespace tetherhost {

// printf's formatting into a string, for lines printed in one piece.
std::string Formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace tetherhost
