#include <requests/RequestKey.h>

#include <kilncore/utility/HashValueMixerState.h>

#include <cstdint>

namespace TetherMedia {
namespace {

// Separates request keys from every other hash fed with paths and identifiers.
constexpr char kRequestKeyDomain[] = "TetherFuture";

}  // namespace

RequestKey MakeRequestKey(const kilncore::WideString& path,
                          const kilncore::utility::Guid& sourceID) {
  kilncore::utility::HashValueMixerState state;
  kilncore::utility::UpdateHashState(state, kRequestKeyDomain, sizeof(kRequestKeyDomain) - 1);
  kilncore::utility::UpdateHashState(state, path.data(), path.size() * sizeof(char16_t));
  uint8_t sourceBytes[16];
  kilncore::utility::Guid::GuidToBytes(sourceID, sourceBytes);
  kilncore::utility::UpdateHashState(state, sourceBytes, sizeof(sourceBytes));
  RequestKey key;
  kilncore::utility::GetHashResult(state, key);
  return key;
}

}  // namespace TetherMedia
