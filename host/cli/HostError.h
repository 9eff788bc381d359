#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tetherhost {

// A failure that ends a command with one clear line for the user and a
// non-zero exit status. `code` is the module's result code when the failure
// came from the module, 0 when the host found it on its own.
class HostError : public std::runtime_error {
 public:
  HostError(const std::string& message, int32_t code = 0);

  int32_t code() const noexcept { return mCode; }

  // The line shown to the user: the message, and the code in hex when there is
  // one, with what the code means.
  std::string Describe() const;

  // Throws a HostError for a negative `code` of the module, naming `what` was
  // being done ("import", "frame 12", ...). Does nothing for 0 or above.
  static void ThrowIfFailed(int32_t code, const std::string& what);

 private:
  int32_t mCode;
};

// What a result code of the module means, in a few words ("file missing",
// "server gone", ...); "unknown failure" for codes the host doesn't know.
std::string DescribeResultCode(int32_t code);

// The code as eight upper-case hex digits after "0x".
std::string HexCode(int32_t code);

}  // namespace tetherhost
