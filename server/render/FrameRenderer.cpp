#include <server/render/FrameRenderer.h>

#include <server/render/BurnInText.h>
#include <server/render/FrameStamp.h>
#include <server/render/FontCatalog.h>
#include <server/render/GlyphFont.h>
#include <server/render/TextRasterizer.h>

#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/PixelFormat.h>
#include <kilnmediatypes/RatioTime.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tetherserver {
namespace {

using kilnmediatypes::MakeFourCC;

// Premultiplied colour of the frame being composed.
struct Pixel {
  float r = 0.0f;
  float g = 0.0f;
  float b = 0.0f;
  float a = 0.0f;
};

// Straight `src` over premultiplied `dst`. Runs for every pixel of every
// layer, so it is forced inline: frames must stay quick in sanitizer builds.
inline __attribute__((always_inline)) void Over(Pixel& dst, const Rgba& src) {
  const float keep = 1.0f - src.a;
  dst.r = src.r * src.a + dst.r * keep;
  dst.g = src.g * src.a + dst.g * keep;
  dst.b = src.b * src.a + dst.b * keep;
  dst.a = src.a + dst.a * keep;
}

Rgba Mix(const Rgba& a, const Rgba& b, double t) {
  const auto lerp = [t](float x, float y) { return static_cast<float>(x + (y - x) * t); };
  return Rgba{lerp(a.r, b.r), lerp(a.g, b.g), lerp(a.b, b.b), lerp(a.a, b.a)};
}

// What changes between the two fields of a frame: the time and what it shows.
struct FieldState {
  int64_t ticks = 0;
  std::vector<std::string> burnInTexts;  // per layer, empty for other layers
  std::vector<Vec2> shapePositions;      // per layer
};

FieldState MakeFieldState(const Composition& comp, int64_t ticks) {
  FieldState state;
  state.ticks = ticks;
  const int64_t frameTicks = comp.FrameTicks();
  const int64_t frameIndex = kilnmediatypes::TickTime(ticks).ToFrame64(kilnmediatypes::FrameRate(frameTicks));
  // Moving shapes go from `from` at frame 0 to `to` at the last frame, and on
  // between frames so that the two fields of a frame differ.
  const double span = static_cast<double>(frameTicks) * static_cast<double>(comp.durationFrames - 1);
  const double progress = span > 0 ? std::clamp(static_cast<double>(ticks) / span, 0.0, 1.0) : 0.0;
  for (const Layer& layer : comp.layers) {
    std::string text;
    if (layer.type == Layer::Type::kFrameNumberBurnIn) text = BurnInText::FrameNumber(comp, frameIndex);
    if (layer.type == Layer::Type::kTimecodeBurnIn) text = BurnInText::Timecode(comp, frameIndex);
    state.burnInTexts.push_back(std::move(text));
    state.shapePositions.push_back(Vec2{layer.from.x + (layer.to.x - layer.from.x) * progress,
                                        layer.from.y + (layer.to.y - layer.from.y) * progress});
  }
  return state;
}

// One line of the frame being composed, and where each of its pixels samples
// the composition. Layers are drawn one after the other over the whole line,
// so each layer's own test runs once per line (or once per frame) rather than
// once per pixel; every pixel still sees the same operations in the same order.
class LineComposer {
 public:
  LineComposer(const Composition& comp, const RenderSettings& settings, std::vector<double> columnsX)
      : mComp(comp), mSettings(settings), mX(std::move(columnsX)), mLine(mX.size()) {
    for (const Layer& layer : comp.layers) {
      std::vector<Rgba> colors;
      if (layer.type == Layer::Type::kGradient && layer.direction == Layer::Direction::kHorizontal) {
        for (double x : mX) {
          colors.push_back(Mix(layer.color, layer.colorTo, std::clamp(x / comp.width, 0.0, 1.0)));
        }
      }
      mColumnColors.push_back(std::move(colors));
      mTexts.push_back(layer.type == Layer::Type::kText ? DrawnText(layer) : nullptr);
    }
  }

  // Composes the line that samples the composition at height y.
  const std::vector<Pixel>& Compose(const FieldState& field, double y) {
    std::fill(mLine.begin(), mLine.end(), Pixel{});
    for (size_t i = 0; i < mComp.layers.size(); ++i) {
      const Layer& layer = mComp.layers[i];
      if (layer.guide && !mSettings.renderGuideLayers) continue;
      switch (layer.type) {
        case Layer::Type::kSolid:
          for (Pixel& pixel : mLine) Over(pixel, layer.color);
          break;
        case Layer::Type::kGradient:
          if (layer.direction == Layer::Direction::kHorizontal) {
            for (size_t c = 0; c < mLine.size(); ++c) Over(mLine[c], mColumnColors[i][c]);
          } else {
            const Rgba color = Mix(layer.color, layer.colorTo, std::clamp(y / mComp.height, 0.0, 1.0));
            for (Pixel& pixel : mLine) Over(pixel, color);
          }
          break;
        case Layer::Type::kMovingShape: {
          const Vec2& at = field.shapePositions[i];
          if (y < at.y || y >= at.y + layer.size.y) break;
          for (size_t c = 0; c < mLine.size(); ++c) {
            if (mX[c] >= at.x && mX[c] < at.x + layer.size.x) Over(mLine[c], layer.color);
          }
          break;
        }
        case Layer::Type::kFrameNumberBurnIn:
        case Layer::Type::kTimecodeBurnIn:
          DrawBurnIn(layer, field.burnInTexts[i], y);
          break;
        case Layer::Type::kLink:
          break;
        case Layer::Type::kText:
          if (mTexts[i]) DrawText(layer, *mTexts[i], y);
          break;
      }
    }
    return mLine;
  }

 private:
  // The text layer's line, in the font it resolves to now; null while the
  // machine lacks the font.
  static std::shared_ptr<const TextBitmap> DrawnText(const Layer& layer) {
    const std::optional<ResolvedFont> font = FontCatalog::Instance().Resolve(layer.fontFamily, layer.fontStyle);
    if (!font) return nullptr;
    return TextRasterizer::Draw(*font, layer.text, layer.fontSize, static_cast<int32_t>(std::lround(layer.from.x)),
                                static_cast<int32_t>(std::lround(layer.from.y)));
  }

  // Each output pixel takes the coverage of the composition pixel it samples.
  void DrawText(const Layer& layer, const TextBitmap& text, double y) {
    const auto row = static_cast<int64_t>(std::floor(y));
    if (row < text.top || row >= text.top + static_cast<int64_t>(text.height)) return;
    for (size_t c = 0; c < mLine.size(); ++c) {
      const uint8_t coverage = text.At(static_cast<int64_t>(std::floor(mX[c])), row);
      if (coverage == 0) continue;
      Rgba color = layer.color;
      color.a *= static_cast<float>(coverage) / 255.0f;
      Over(mLine[c], color);
    }
  }

  void DrawBurnIn(const Layer& layer, const std::string& text, double y) {
    const double scale = layer.scale;
    const double dotY = (y - layer.from.y) / scale;
    // A margin of one dot around the text, filled with the background.
    const double boxWidth = static_cast<double>(text.size()) * GlyphFont::kAdvance + 1;
    const double boxHeight = GlyphFont::kHeight + 2;
    if (dotY < 0 || dotY >= boxHeight) return;
    const int gy = static_cast<int>(std::floor(dotY)) - 1;
    for (size_t c = 0; c < mLine.size(); ++c) {
      const double dotX = (mX[c] - layer.from.x) / scale;
      if (dotX < 0 || dotX >= boxWidth) continue;
      Over(mLine[c], layer.background);
      const int gx = static_cast<int>(std::floor(dotX)) - 1;
      if (gx < 0 || gy < 0) continue;
      const size_t index = static_cast<size_t>(gx / GlyphFont::kAdvance);
      if (index < text.size() && GlyphFont::IsLit(text[index], gx % GlyphFont::kAdvance, gy)) {
        Over(mLine[c], layer.color);
      }
    }
  }

  const Composition& mComp;
  const RenderSettings& mSettings;
  std::vector<double> mX;
  std::vector<Pixel> mLine;
  // Per layer: the colour of each column, for horizontal gradients.
  std::vector<std::vector<Rgba>> mColumnColors;
  // Per layer: a text layer's drawn line.
  std::vector<std::shared_ptr<const TextBitmap>> mTexts;
};

// Rounds half up: the channels are never negative after the clamp.
inline uint8_t ToByte(float v) { return static_cast<uint8_t>(std::clamp(v, 0.0f, 1.0f) * 255.0f + 0.5f); }

// Writes a composed line in one pixel format; chosen once per frame.
template <bool kBGR, bool kFloat>
void StoreLine(const std::vector<Pixel>& pixels, uint8_t* out) {
  for (const Pixel& pixel : pixels) {
    const float channels[4] = {kBGR ? pixel.b : pixel.r, pixel.g, kBGR ? pixel.r : pixel.b, pixel.a};
    if constexpr (kFloat) {
      std::memcpy(out, channels, sizeof channels);
      out += sizeof channels;
    } else {
      for (int c = 0; c < 4; ++c) *out++ = ToByte(channels[c]);
    }
  }
}

using LineWriter = void (*)(const std::vector<Pixel>&, uint8_t*);

LineWriter WriterFor(uint32_t fourcc) {
  const bool bgr = fourcc == MakeFourCC('B', 'G', 'R', 'A') || fourcc == MakeFourCC('B', 'G', 'R', 'F');
  if (IsFloatPixelFormatCode(fourcc)) return bgr ? StoreLine<true, true> : StoreLine<false, true>;
  return bgr ? StoreLine<true, false> : StoreLine<false, false>;
}

// Lines of the second field in time: odd lines when the upper field comes
// first, even lines when the lower does.
bool IsSecondField(tether::FieldType fieldType, uint32_t line) {
  if (fieldType == 1) return line % 2 == 1;
  if (fieldType == 2) return line % 2 == 0;
  return false;
}

ProjectError CheckTarget(const RenderSettings& settings, const FrameBuffer& target) {
  if (!target.data || target.width != settings.width || target.height != settings.height ||
      target.format.fourcc != settings.pixelFormat.fourcc ||
      target.rowBytes < settings.MinRowBytes()) {
    return ProjectError{ProjectError::Kind::kBadBuffer,
                        "the buffer doesn't have the frame's size, format or row length"};
  }
  return {};
}

}  // namespace

ProjectError FrameRenderer::Render(const Composition& composition, const tether::RatioTime& time,
                                   const RenderSettings& settings, const FrameBuffer& target) {
  return Render(composition, kilnmediatypes::RatioTimeToTime(time), settings, target);
}

ProjectError FrameRenderer::Render(const Composition& composition, kilnmediatypes::TickTime time,
                                   const RenderSettings& settings, const FrameBuffer& target) {
  if (ProjectError error = CheckTarget(settings, target); error.IsError()) return error;
  const int64_t frameTicks = composition.FrameTicks();
  // The second field is half a frame later (saturated at the end of time).
  const int64_t ticks = time.GetTicks();
  const int64_t secondFieldTicks =
      ticks > std::numeric_limits<int64_t>::max() - frameTicks / 2 ? ticks : ticks + frameTicks / 2;
  const FieldState fields[2] = {MakeFieldState(composition, ticks),
                                MakeFieldState(composition, secondFieldTicks)};
  const uint32_t blockX = settings.ReducesResolution() ? settings.downSampleX : 1;
  const uint32_t blockY = settings.ReducesResolution() ? settings.downSampleY : 1;
  const double scaleX = static_cast<double>(composition.width) / settings.width;
  const double scaleY = static_cast<double>(composition.height) / settings.height;
  const LineWriter writeLine = WriterFor(settings.pixelFormat.fourcc);
  std::vector<double> columnsX(settings.width);
  for (uint32_t column = 0; column < settings.width; ++column) {
    columnsX[column] = ((column / blockX) * blockX + 0.5) * scaleX;
  }
  LineComposer composer(composition, settings, std::move(columnsX));
  auto* base = static_cast<uint8_t*>(target.data);
  const size_t lineBytes = settings.MinRowBytes();
  // Lines that sample the same height in the same field are equal; copy them.
  int64_t previousKey = -1;
  for (uint32_t line = 0; line < settings.height; ++line) {
    const int fieldIndex = IsSecondField(settings.fieldType, line) ? 1 : 0;
    const uint32_t sampleLine = (line / blockY) * blockY;
    const int64_t key = int64_t{sampleLine} * 2 + fieldIndex;
    uint8_t* row = base + size_t{line} * target.rowBytes;
    if (key == previousKey) {
      std::memcpy(row, row - target.rowBytes, lineBytes);
      continue;
    }
    previousKey = key;
    const std::vector<Pixel>& pixels = composer.Compose(fields[fieldIndex], (sampleLine + 0.5) * scaleY);
    writeLine(pixels, row);
  }
  FrameStamp stamp;
  stamp.pixelFormatCode = FrameStamp::PixelFormatCode(settings.pixelFormat.fourcc);
  stamp.fieldType = static_cast<uint8_t>(settings.fieldType);
  stamp.flags = static_cast<uint8_t>((settings.renderGuideLayers ? FrameStamp::kFlagGuideLayers : 0) |
                                     (settings.ReducesResolution() ? FrameStamp::kFlagReducedResolution : 0));
  stamp.ticks = time.GetTicks();
  stamp.frameNumber = time.ToFrame64(kilnmediatypes::FrameRate(frameTicks));
  stamp.optionsHash = settings.optionsHash;
  stamp.contentState = composition.contentState;
  stamp.width = static_cast<uint16_t>(std::min<uint32_t>(settings.width, 0xFFFF));
  stamp.height = static_cast<uint16_t>(std::min<uint32_t>(settings.height, 0xFFFF));
  WriteFrameStamp(stamp, target);
  return {};
}

}  // namespace tetherserver
