// Feeds arbitrary bodies to the readers of the Farside service's answers.
// Answers come over the network from a service that may be broken or hostile,
// so a reader may refuse a body only with FarsideServiceError; any other
// exception aborts, and the sanitizers catch crashes, leaks and undefined
// behaviour. The first byte picks the reader, the rest is the body.

#include <FarsideCL/FarsideResponse.h>
#include <FarsideCL/FarsideServiceError.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const std::string_view body(reinterpret_cast<const char*>(data) + 1, size - 1);
  try {
    switch (data[0] % 4) {
      case 0: {
        const FarsideCL::FarsideAssetRecord record = FarsideCL::FarsideResponse::ParseAsset(body);
        if (record.production.empty() || record.asset.empty()) __builtin_trap();
        break;
      }
      case 1:
        FarsideCL::FarsideResponse::ParseProduction(body);
        break;
      case 2:
        FarsideCL::FarsideResponse::ParseLocation(body);
        break;
      default:
        FarsideCL::FarsideResponse::ParseAccount(body);
        break;
    }
  } catch (const FarsideCL::FarsideServiceError&) {
  }
  FarsideCL::FarsideResponse::ErrorMessage(body);
  return 0;
}
