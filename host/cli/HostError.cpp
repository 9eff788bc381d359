#include <host/cli/HostError.h>

#include <cstdio>

namespace tetherhost {

HostError::HostError(const std::string& message, int32_t code) : std::runtime_error(message), mCode(code) {}

std::string HostError::Describe() const {
  if (mCode == 0) return what();
  return std::string(what()) + " (" + HexCode(mCode) + ", " + DescribeResultCode(mCode) + ")";
}

void HostError::ThrowIfFailed(int32_t code, const std::string& what) {
  if (code >= 0) return;
  throw HostError(what + " failed", code);
}

std::string DescribeResultCode(int32_t code) {
  switch (static_cast<uint32_t>(code)) {
    case 0xA00F0001u: return "the server refused or failed";
    case 0xA00F0003u: return "file missing";
    case 0xA00F0007u: return "cancelled";
    case 0xA00F000Cu: return "not offered by this importer";
    case 0xA00F000Eu: return "nothing to import";
    case 0xA00F000Fu: return "no logged-in server";
    case 0xA00703E9u: return "the linked item has no source";
    case 0xF3610001u: return "server gone: the answer was never given";
    case 0xF3610002u: return "no answer before the deadline";
    case 0xF3610004u: return "request cancelled";
    case 0xF3610008u: return "the application is terminating";
    default: return "unknown failure";
  }
}

std::string HexCode(int32_t code) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08X", static_cast<uint32_t>(code));
  return text;
}

}  // namespace tetherhost
