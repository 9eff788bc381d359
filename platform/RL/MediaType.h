#pragma once

#include <kilncore/utility/Guid.h>

namespace RL {

// The kinds of stream that a media item can offer, as the host's media model
// tells them apart. A stream count or a stream is always asked for by one of
// these; any other Guid names no stream kind the host knows.
inline constexpr kilncore::utility::Guid kMediaType_Video{
    0x3A9F6C41, 0x5E0B, 0x4D27, {0x9B, 0x61, 0x0C, 0x7E, 0x52, 0xA4, 0x18, 0xF3}};
inline constexpr kilncore::utility::Guid kMediaType_Audio{
    0x3A9F6C42, 0x5E0B, 0x4D27, {0x9B, 0x61, 0x0C, 0x7E, 0x52, 0xA4, 0x18, 0xF3}};

}  // namespace RL
