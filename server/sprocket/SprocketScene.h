#pragma once

#include <server/project/FontReference.h>
#include <server/project/Layer.h>

#include <kilncore/utility/Guid.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tetherserver {

// A prop of a Sprocket scene: a box of `size` and `color` that travels from
// `from` (first frame) to `to` (last frame), in scene pixels.
struct SprocketProp {
  std::string name;
  Rgba color;
  Vec2 size;
  Vec2 from;
  Vec2 to;
};

// One scene of a Sprocket file (docs/project-format.md, "Sprocket scenes").
struct SprocketScene {
  kilncore::utility::Guid id;
  std::string name;
  uint32_t width = 0;
  uint32_t height = 0;
  int64_t rateNumerator = 25;
  int64_t rateDenominator = 1;
  int64_t durationFrames = 0;
  Rgba background;
  std::vector<SprocketProp> props;
  // 0 (silent), 1 or 2 channels carrying a tone of toneHz.
  uint32_t audioChannels = 0;
  double toneHz = 440.0;
  // Textures the scene uses, as written (relative to the file's folder).
  std::vector<std::string> textures;
  std::vector<FontReference> fonts;
  // Each frame takes at least this long to render: a heavy scene.
  int64_t renderDelayMs = 0;
  // The scene's JSON object written compactly: its definition.
  std::string definition;
};

struct SprocketDocument {
  std::vector<SprocketScene> scenes;
};

// The render options a Sprocket source-type project is opened with (the
// clip's options, a JSON object): they change what every scene draws.
struct SprocketRenderOptions {
  // Replaces each scene's background colour.
  bool hasBackground = false;
  Rgba background;
  // Draws the frame number in the top left corner.
  bool frameNumbers = false;
  // The options as received, compacted; part of the rendered content.
  std::string text;
};

}  // namespace tetherserver
