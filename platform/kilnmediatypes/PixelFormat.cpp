#include <kilnmediatypes/PixelFormat.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

namespace kilnmediatypes {
namespace {

bool IsAny(const PixelFormat& format) { return format.fourcc == kPixelFormat_Any.fourcc; }

bool IsOffered(const std::vector<PixelFormat>& offered, const PixelFormat& format) {
  if (!format.IsValid() || IsAny(format)) return false;
  return std::any_of(offered.begin(), offered.end(), [&](const PixelFormat& candidate) {
    return IsAny(candidate) || candidate == format;
  });
}

const PixelFormat* FindFirst(const std::vector<PixelFormat>& offered, auto predicate) {
  auto it = std::find_if(offered.begin(), offered.end(), [&](const PixelFormat& candidate) {
    return candidate.IsValid() && !IsAny(candidate) && predicate(candidate);
  });
  return it == offered.end() ? nullptr : &*it;
}

// What the nearness of two formats is judged by.
enum class ColorModel { kRGB, kYUV };

struct Traits {
  ColorModel model;
  int32_t bitsPerChannel;
};

// The named formats; any other code has no known traits.
std::optional<Traits> TraitsOf(const PixelFormat& format) {
  struct Named {
    uint32_t fourcc;
    Traits traits;
  };
  static constexpr Named kNamed[] = {
      {kPixelFormat_BGRA_4444_8u.fourcc, {ColorModel::kRGB, 8}},
      {kPixelFormat_BGRA_4444_16u.fourcc, {ColorModel::kRGB, 16}},
      {kPixelFormat_BGRA_4444_32f.fourcc, {ColorModel::kRGB, 32}},
      {kPixelFormat_RGBA_4444_8u.fourcc, {ColorModel::kRGB, 8}},
      {kPixelFormat_RGBA_4444_32f.fourcc, {ColorModel::kRGB, 32}},
      {kPixelFormat_VUYA_4444_8u.fourcc, {ColorModel::kYUV, 8}},
      {kPixelFormat_VUYA_4444_32f.fourcc, {ColorModel::kYUV, 32}},
  };
  for (const Named& named : kNamed) {
    if (named.fourcc == format.fourcc) return named.traits;
  }
  return std::nullopt;
}

constexpr int32_t kHighRenderQuality = 3;

// How far `candidate` is from `wanted`, lower is nearer; compared
// lexicographically. Both have known traits.
std::array<int32_t, 3> Distance(const Traits& wanted, const Traits& candidate, int32_t renderQuality) {
  const int32_t modelChange = wanted.model == candidate.model ? 0 : 1;
  const int32_t depthChange = candidate.bitsPerChannel - wanted.bitsPerChannel;
  if (renderQuality >= kHighRenderQuality) {
    // Keep the precision first; among those that keep it, the least surplus.
    const int32_t loses = depthChange < 0 ? 1 : 0;
    return {loses, modelChange, loses ? -depthChange : depthChange};
  }
  // A cheap delivery: no conversion of model, then the nearest depth, the
  // smaller one on a tie.
  return {modelChange, 2 * std::abs(depthChange) + (depthChange > 0 ? 1 : 0), 0};
}

// The offered format nearest to `wanted`, or null if `offered` holds no real
// format.
const PixelFormat* FindNearest(const PixelFormat& wanted, const std::vector<PixelFormat>& offered,
                               int32_t renderQuality) {
  if (const PixelFormat* sameCode =
          FindFirst(offered, [&](const PixelFormat& f) { return f.fourcc == wanted.fourcc; })) {
    return sameCode;
  }
  const std::optional<Traits> wantedTraits = TraitsOf(wanted);
  const auto firstReal = [&] { return FindFirst(offered, [](const PixelFormat&) { return true; }); };
  // Nothing to compare by, and no precision to keep: the first on offer.
  if (!wantedTraits && renderQuality < kHighRenderQuality) return firstReal();
  const PixelFormat* best = nullptr;
  std::array<int32_t, 3> bestDistance{};
  for (const PixelFormat& candidate : offered) {
    const std::optional<Traits> traits = TraitsOf(candidate);
    if (!traits) continue;
    // Without a wanted format to compare with, the deepest keeps the most.
    const std::array<int32_t, 3> distance = wantedTraits ? Distance(*wantedTraits, *traits, renderQuality)
                                                         : std::array<int32_t, 3>{-traits->bitsPerChannel, 0, 0};
    if (best == nullptr || distance < bestDistance) {
      best = &candidate;
      bestDistance = distance;
    }
  }
  return best != nullptr ? best : firstReal();
}

}  // namespace

bool IsFloatPixelFormat(const PixelFormat& format) noexcept {
  return format.fourcc == kPixelFormat_BGRA_4444_32f.fourcc ||
         format.fourcc == kPixelFormat_RGBA_4444_32f.fourcc ||
         format.fourcc == kPixelFormat_VUYA_4444_32f.fourcc;
}

PixelFormat SelectNearestPixelFormat(const std::vector<PixelFormat>& wanted,
                                     const PixelFormat& preferred,
                                     const std::vector<PixelFormat>& offered,
                                     int32_t renderQuality, bool exactOnly) {
  for (const PixelFormat& format : wanted) {
    if (IsOffered(offered, format)) return format;
  }
  if (IsOffered(offered, preferred)) return preferred;
  if (exactOnly) return kPixelFormat_Invalid;

  const PixelFormat target = wanted.empty() ? kPixelFormat_Invalid : wanted.front();
  if (const PixelFormat* nearest = FindNearest(target, offered, renderQuality)) return *nearest;
  return kPixelFormat_Invalid;
}

}  // namespace kilnmediatypes
