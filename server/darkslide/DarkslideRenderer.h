#pragma once

#include <server/darkslide/DarkslideCatalogue.h>
#include <server/project/Composition.h>

namespace tetherserver {

// Turns a developed photo into the composition that the frame renderer draws:
// the photo's colour with its develop settings applied, fading towards the
// bottom by the vignette; a still, with no sound.
class DarkslideRenderer {
 public:
  static Composition Build(const DarkslideCatalogue& catalogue, const DarkslidePhoto& photo);
  // The photo's colour as developed.
  static Rgba Developed(const Rgba& color, const DarkslideDevelop& develop);
};

}  // namespace tetherserver
