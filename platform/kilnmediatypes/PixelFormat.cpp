#include <kilnmediatypes/PixelFormat.h>

#include <algorithm>

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

  if (!wanted.empty()) {
    const uint32_t code = wanted.front().fourcc;
    if (const PixelFormat* sameCode =
            FindFirst(offered, [&](const PixelFormat& f) { return f.fourcc == code; })) {
      return *sameCode;
    }
  }
  constexpr int32_t kHighRenderQuality = 3;
  if (renderQuality >= kHighRenderQuality) {
    if (const PixelFormat* floatFormat = FindFirst(offered, IsFloatPixelFormat)) {
      return *floatFormat;
    }
  }
  if (const PixelFormat* first = FindFirst(offered, [](const PixelFormat&) { return true; })) {
    return *first;
  }
  return kPixelFormat_Invalid;
}

}  // namespace kilnmediatypes
