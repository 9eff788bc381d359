#include <source/TetherSource.h>

#include <source/MediaTypeConversions.h>

#include <kilncore/utility/HashValueMixerState.h>
#include <kilncore/utility/Murmur3MixerState.h>

#include <array>
#include <type_traits>
#include <string_view>

namespace TetherMedia {

using kilncore::threads::ScopedRecursiveLock;
using kilncore::utility::Guid;

namespace {

// Domain separators: they keep these hashes apart from each other and from
// every other hash of the host, and never change, so that equal input gives
// equal keys in every build.
constexpr std::string_view kContentStateDomain = "TetherSource::GetContentState";
constexpr std::string_view kFrameIdentifierDomain = "TetherSource::GetIdentifierForSourceVideo";

void MixText(kilncore::utility::HashMixerState& state, std::string_view text) {
  kilncore::utility::UpdateHashState(state, text.data(), text.size());
}

void MixGuid(kilncore::utility::HashMixerState& state, const Guid& guid) {
  uint8_t bytes[16];
  Guid::GuidToBytes(guid, bytes);
  kilncore::utility::UpdateHashState(state, bytes, sizeof bytes);
}

// Integers are fed little-endian whatever the machine, so that identifiers
// are the same on every host.
template <class Integer>
void MixLittleEndian(kilncore::utility::HashMixerState& state, Integer value) {
  using Unsigned = std::make_unsigned_t<Integer>;
  auto bits = static_cast<Unsigned>(value);
  std::array<uint8_t, sizeof(Integer)> bytes{};
  for (auto& byte : bytes) {
    byte = static_cast<uint8_t>(bits & 0xFF);
    bits = static_cast<Unsigned>(bits >> 8);
  }
  kilncore::utility::UpdateHashState(state, bytes.data(), bytes.size());
}

}  // namespace

int32_t TetherSource::GetContentState(Guid& out) {
  ScopedRecursiveLock lock(mStateMutex);
  out = mSource ? mSource->GetContentState() : Guid();
  if (mClipID != 0) {
    // Per-clip sources of one item must differ from each other and from the
    // item: each shows a different clip of the same server state.
    kilncore::utility::HashValueMixerState state;
    MixText(state, kContentStateDomain);
    MixGuid(state, out);
    MixLittleEndian(state, mClipID);
    kilncore::utility::GetHashResult(state, out);
  }
  return 0;
}

int32_t TetherSource::GetIdentifierForSourceVideo(Guid& out, kilnmediatypes::TickTime time,
                                                  const RL::FrameFormat& format, const RL::BinaryData& prefs) {
  kilncore::utility::Murmur3MixerState state;
  MixText(state, kFrameIdentifierDomain);
  MixLittleEndian(state, time.GetTicks());
  format.MixInWithHash(state);
  Guid contentState;
  static_cast<KL::IVideoSource*>(this)->GetContentState(contentState);
  MixGuid(state, contentState);
  kilncore::utility::UpdateHashState(state, prefs.GetData(), prefs.GetSize());
  {
    ScopedRecursiveLock lock(mStateMutex);
    // Only a source with a colour space hashes one, so that identifiers of
    // sources without one don't change when this field is added.
    // HasColorSpace's own test, made here under the lock already held rather
    // than by taking it again: a frame request pays for every lock.
    static const tether::ColorSpace kNoColorSpace;
    const tether::ColorSpace& space = mSource ? mSource->GetSourceInfo().colorSpace : kNoColorSpace;
    if (IsColorManagedExternally() || !space.IsEmpty()) MixGuid(state, ToHost(space).ToGuid());
    // Likewise the font state: untouched until a font change has happened.
    if (!mRuntimeFontGuid.IsNil()) MixGuid(state, mRuntimeFontGuid);
  }
  kilncore::utility::GetHashResult(state, out);
  return 0;
}

}  // namespace TetherMedia
