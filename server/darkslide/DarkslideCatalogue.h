#pragma once

#include <server/project/Layer.h>

#include <kilncore/utility/Guid.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tetherserver {

// How a photo is developed: the settings a Darkslide user edits, applied to
// the photo's base colour when it is rendered.
struct DarkslideDevelop {
  // Stops of exposure: each stop doubles (or halves) the light.
  double exposure = 0.0;
  // Drawn in grey levels (Rec. 709 luma).
  bool monochrome = false;
  // 0..1: how far the bottom of the picture fades to black.
  double vignette = 0.0;
};

// One photo of a catalogue; an item of its own.
struct DarkslidePhoto {
  kilncore::utility::Guid id;
  std::string name;
  // The original the photo was developed from, as written (relative to the
  // catalogue's folder).
  std::string file;
  uint32_t width = 0;
  uint32_t height = 0;
  // What the original shows, reduced to one colour.
  Rgba color;
  DarkslideDevelop develop;
  std::string definition;
};

// A catalogue of photos (docs/project-format.md, "Darkslide catalogues").
struct DarkslideCatalogue {
  std::string name;
  // As a clip, each photo lasts durationFrames at this rate.
  int64_t rateNumerator = 25;
  int64_t rateDenominator = 1;
  int64_t durationFrames = 125;
  std::vector<DarkslidePhoto> photos;
};

}  // namespace tetherserver
