#pragma once

#include <cstdint>
#include <vector>

namespace tetherhost {

// Puts `frames` sample frames of planar channels (`channels[c]` points at
// channel c's samples) into `out` one frame after another, as sound files
// hold them. `out` keeps its capacity between calls.
void Interleave(const std::vector<const float*>& channels, int64_t frames, std::vector<float>& out);

}  // namespace tetherhost
