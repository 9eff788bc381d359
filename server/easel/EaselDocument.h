#pragma once

#include <server/project/FontReference.h>
#include <server/project/Layer.h>

#include <kilncore/utility/Guid.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tetherserver {

// A layer of an Easel document, bottom first.
struct EaselLayer {
  enum class Kind { kFill, kGradient, kRect };
  std::string name;
  Kind kind = Kind::kFill;
  Rgba color;
  // kGradient: the colour at the far edge, and which way it runs.
  Rgba colorTo;
  bool vertical = false;
  // kRect: top left corner and size, in canvas pixels.
  Vec2 at;
  Vec2 size;
  // A hidden layer is kept in the file and not drawn.
  bool hidden = false;
  // The picture the layer was painted from, as written (relative to the
  // document's folder); empty when none.
  std::string file;
};

// A layered still image (docs/project-format.md, "Easel documents").
struct EaselDocument {
  kilncore::utility::Guid id;
  std::string name;
  uint32_t width = 0;
  uint32_t height = 0;
  // As a clip, a still lasts durationFrames at this rate.
  int64_t rateNumerator = 25;
  int64_t rateDenominator = 1;
  int64_t durationFrames = 125;
  std::vector<EaselLayer> layers;
  std::vector<FontReference> fonts;
  int64_t renderDelayMs = 0;
  std::string definition;
};

}  // namespace tetherserver
