#include <host/cli/Formatted.h>

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace tetherhost {

std::string Formatted(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::string text;
  if (length > 0) {
    std::vector<char> buffer(static_cast<size_t>(length) + 1);
    std::vsnprintf(buffer.data(), buffer.size(), format, again);
    text.assign(buffer.data(), static_cast<size_t>(length));
  }
  va_end(again);
  return text;
}

}  // namespace tetherhost
