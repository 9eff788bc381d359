#include "host/output/Interleave.h"

#include <cstddef>

namespace tetherhost {

void Interleave(const std::vector<const float*>& channels, int64_t frames, std::vector<float>& out) {
  const size_t count = channels.size();
  out.resize(static_cast<size_t>(frames) * count);
  for (size_t frame = 0; frame < static_cast<size_t>(frames); ++frame) {
    for (size_t c = 0; c < count; ++c) out[frame * count + c] = channels[c][frame];
  }
}

}  // namespace tetherhost
