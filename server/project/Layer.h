#pragma once

#include <kilncore/utility/Guid.h>

#include <cstdint>
#include <string>

namespace tetherserver {

// A colour with straight components in 0..1.
struct Rgba {
  float r = 0.0f;
  float g = 0.0f;
  float b = 0.0f;
  float a = 1.0f;

  friend bool operator==(const Rgba&, const Rgba&) = default;
};

// A point or size in composition pixels.
struct Vec2 {
  double x = 0.0;
  double y = 0.0;

  friend bool operator==(const Vec2&, const Vec2&) = default;
};

// One layer of a composition. Which members count depends on `type`; the
// others keep their defaults. docs/project-format.md describes each type.
struct Layer {
  enum class Type {
    // Fills the frame with `color`.
    kSolid,
    // Blends `color` into `colorTo` across the frame.
    kGradient,
    // A rectangle of `size` and `color` moving from `from` (first frame) to
    // `to` (last frame).
    kMovingShape,
    // The frame number (start frame included) as digits at `from`.
    kFrameNumberBurnIn,
    // The timecode of the frame as HH:MM:SS:FF (';' before FF when drop-frame).
    kTimecodeBurnIn,
    // A link to an item of another application's project (a host project's
    // sequence). The reference server draws nothing for it; it counts for the
    // link questions (is a source linked, does an item hold a link).
    kLink,
    // One line of `text` in the machine's font `fontFamily` (`fontStyle`),
    // `fontSize` pixels to the em, its baseline starting at `from`, in
    // `color`. Nothing is drawn while the machine lacks the family.
    kText,
  };
  enum class Direction { kHorizontal, kVertical };

  Type type = Type::kSolid;
  std::string name;
  // Drawn only when the render options ask for guide layers.
  bool guide = false;
  Rgba color;
  Rgba colorTo;
  Direction direction = Direction::kHorizontal;
  Vec2 from;
  Vec2 to;
  Vec2 size;
  // Burn-in: composition pixels per glyph dot.
  uint32_t scale = 8;
  // Burn-in: fills the text's box before the digits are drawn.
  Rgba background{0.0f, 0.0f, 0.0f, 0.0f};
  // Link: the project file as written (relative to the project's folder when
  // relative) and the item in it.
  std::string linkProject;
  kilncore::utility::Guid linkItem;
  // Text (UTF-8).
  std::string text;
  std::string fontFamily;
  std::string fontStyle;
  double fontSize = 0.0;

  friend bool operator==(const Layer&, const Layer&) = default;
};

}  // namespace tetherserver
