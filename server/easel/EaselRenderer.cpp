#include <server/easel/EaselRenderer.h>

#include <DocumentJson.h>

namespace tetherserver {

Composition EaselRenderer::Build(const EaselDocument& document) {
  Composition comp;
  comp.id = document.id;
  comp.name = document.name;
  comp.width = document.width;
  comp.height = document.height;
  comp.rateNumerator = document.rateNumerator;
  comp.rateDenominator = document.rateDenominator;
  comp.durationFrames = document.durationFrames;
  comp.workAreaOutFrame = document.durationFrames;
  for (const EaselLayer& source : document.layers) {
    if (source.hidden) continue;
    Layer layer;
    layer.name = source.name;
    layer.color = source.color;
    switch (source.kind) {
      case EaselLayer::Kind::kFill:
        layer.type = Layer::Type::kSolid;
        break;
      case EaselLayer::Kind::kGradient:
        layer.type = Layer::Type::kGradient;
        layer.colorTo = source.colorTo;
        layer.direction = source.vertical ? Layer::Direction::kVertical : Layer::Direction::kHorizontal;
        break;
      case EaselLayer::Kind::kRect:
        // A box that doesn't move: a still.
        layer.type = Layer::Type::kMovingShape;
        layer.from = source.at;
        layer.to = source.at;
        layer.size = source.size;
        break;
    }
    comp.layers.push_back(layer);
  }
  comp.definitionText = document.definition;
  comp.contentState = DocumentJson::ContentState(comp.definitionText);
  return comp;
}

}  // namespace tetherserver
