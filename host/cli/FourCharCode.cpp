#include <host/cli/FourCharCode.h>

#include <cstdio>

namespace tetherhost {

std::string FourCharCodeText(uint32_t code) {
  std::string letters = "'";
  for (int shift = 24; shift >= 0; shift -= 8) {
    const char letter = static_cast<char>((code >> shift) & 0xFFu);
    if (letter < 0x20 || letter > 0x7E) {
      char hex[16];
      std::snprintf(hex, sizeof(hex), "0x%08X", code);
      return hex;
    }
    letters += letter;
  }
  return letters + "'";
}

}  // namespace tetherhost
