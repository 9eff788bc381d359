#include <server/sprocket/SprocketRenderer.h>

#include <DocumentJson.h>

#include <kilnmediatypes/AudioChannelDescription.h>

namespace tetherserver {

Composition SprocketRenderer::Build(const SprocketScene& scene, const SprocketRenderOptions& options) {
  Composition comp;
  comp.id = scene.id;
  comp.name = scene.name;
  comp.width = scene.width;
  comp.height = scene.height;
  comp.rateNumerator = scene.rateNumerator;
  comp.rateDenominator = scene.rateDenominator;
  comp.durationFrames = scene.durationFrames;
  comp.workAreaOutFrame = scene.durationFrames;

  Layer background;
  background.name = "background";
  background.color = options.hasBackground ? options.background : scene.background;
  comp.layers.push_back(background);
  for (const SprocketProp& prop : scene.props) {
    Layer layer;
    layer.type = Layer::Type::kMovingShape;
    layer.name = prop.name;
    layer.color = prop.color;
    layer.size = prop.size;
    layer.from = prop.from;
    layer.to = prop.to;
    comp.layers.push_back(layer);
  }
  if (options.frameNumbers) {
    Layer numbers;
    numbers.type = Layer::Type::kFrameNumberBurnIn;
    numbers.name = "frame number";
    numbers.color = Rgba{1.0f, 1.0f, 1.0f, 1.0f};
    numbers.from = Vec2{8.0, 24.0};
    numbers.scale = 4;
    comp.layers.push_back(numbers);
  }

  if (scene.audioChannels > 0) {
    comp.audio.channelCount = scene.audioChannels;
    comp.audio.channelLabels = scene.audioChannels == 1
                                   ? std::vector<uint32_t>{kilnmediatypes::kAudioChannelLabel_Mono}
                                   : std::vector<uint32_t>{kilnmediatypes::kAudioChannelLabel_Left,
                                                           kilnmediatypes::kAudioChannelLabel_Right};
    comp.audio.tones.push_back(AudioTone{scene.toneHz, 0.25, 0.0, {}});
  }
  comp.definitionText = scene.definition + options.text;
  comp.contentState = DocumentJson::ContentState(comp.definitionText);
  return comp;
}

}  // namespace tetherserver
