#include <server/darkslide/DarkslideRenderer.h>

#include <DocumentJson.h>

#include <algorithm>
#include <cmath>

namespace tetherserver {

Rgba DarkslideRenderer::Developed(const Rgba& color, const DarkslideDevelop& develop) {
  const auto gain = static_cast<float>(std::exp2(develop.exposure));
  Rgba out{std::min(1.0f, color.r * gain), std::min(1.0f, color.g * gain), std::min(1.0f, color.b * gain), color.a};
  if (develop.monochrome) {
    const float luma = 0.2126f * out.r + 0.7152f * out.g + 0.0722f * out.b;
    out = Rgba{luma, luma, luma, out.a};
  }
  return out;
}

Composition DarkslideRenderer::Build(const DarkslideCatalogue& catalogue, const DarkslidePhoto& photo) {
  Composition comp;
  comp.id = photo.id;
  comp.name = photo.name;
  comp.width = photo.width;
  comp.height = photo.height;
  comp.rateNumerator = catalogue.rateNumerator;
  comp.rateDenominator = catalogue.rateDenominator;
  comp.durationFrames = catalogue.durationFrames;
  comp.workAreaOutFrame = catalogue.durationFrames;
  const Rgba developed = Developed(photo.color, photo.develop);
  const auto keep = static_cast<float>(1.0 - photo.develop.vignette);
  Layer picture;
  picture.name = photo.name;
  picture.type = Layer::Type::kGradient;
  picture.direction = Layer::Direction::kVertical;
  picture.color = developed;
  picture.colorTo = Rgba{developed.r * keep, developed.g * keep, developed.b * keep, developed.a};
  comp.layers.push_back(picture);
  comp.definitionText = photo.definition;
  comp.contentState = DocumentJson::ContentState(comp.definitionText);
  return comp;
}

}  // namespace tetherserver
