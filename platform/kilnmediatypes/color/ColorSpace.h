#pragma once

#include <kilncore/utility/Guid.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kilnmediatypes::color {

// A colour space, as the host and the servers exchange it: a name (such as
// "Rec. 709" or "ACEScg") and an optional definition in the host's binary form
// (an ICC profile or a serialised description). A default-built colour space is
// empty: no colour space was stated, and renderers use the working default.
class ColorSpace {
 public:
  ColorSpace() = default;
  explicit ColorSpace(std::string name, std::vector<uint8_t> definition = {});

  bool IsEmpty() const noexcept { return mName.empty() && mDefinition.empty(); }
  const std::string& GetName() const noexcept { return mName; }
  const std::vector<uint8_t>& GetDefinition() const noexcept { return mDefinition; }

  // The identity of the colour space, stable from one run to the next: a hash
  // of the name and the definition. Equal colour spaces have equal Guids; the
  // empty colour space has the nil Guid.
  kilncore::utility::Guid ToGuid() const;

  friend bool operator==(const ColorSpace&, const ColorSpace&) = default;

 private:
  std::string mName;
  std::vector<uint8_t> mDefinition;
};

// The colour space of an item that states none: the empty colour space.
ColorSpace GetDefaultColorSpace();

// The process-wide cache of the colour spaces that items have brought, by
// ToGuid, so that a colour space can be found again from its identity (for
// instance in a frame's identifier). Thread-safe. Adding an empty colour space
// does nothing; adding one that is there already keeps the entry.
void AddColorSpaceToCache(const ColorSpace& space);

// The cached colour space with identity `guid`, if any.
std::optional<ColorSpace> FindColorSpaceInCache(const kilncore::utility::Guid& guid);

}  // namespace kilnmediatypes::color
