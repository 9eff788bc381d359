#pragma once

#include <cstdint>
#include <string>

namespace tetherhost {

// A four-character code as people read it: its letters in quotes ('TTHM'),
// or in hex (0x00000001) when a byte isn't a printable character.
std::string FourCharCodeText(uint32_t code);

}  // namespace tetherhost
