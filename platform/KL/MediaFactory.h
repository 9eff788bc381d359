#pragma once

#include <KL/IVideoSource.h>
#include <KL/IVideoStream.h>

#include <kilncore/classref/InterfaceRef.h>

#include <cstdint>

namespace KL::MediaFactory {

// The result of a factory asked to make something of nothing.
inline constexpr int32_t kNoSource = static_cast<int32_t>(0xA00F0001u);

// Makes a video stream that plays `source`, a source whose frames are
// generated on demand rather than read from a file (a per-clip stream of a
// linked sequence, for instance). 0 and the stream in `outStream`; kNoSource
// with `outStream` left alone when `source` is null.
int32_t CreateGeneratedVideoStream(kilncore::classref::InterfaceRef<IVideoSource> source,
                                   kilncore::classref::InterfaceRef<IVideoStream>& outStream);

}  // namespace KL::MediaFactory
