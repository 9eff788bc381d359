#include <host/session/FramePuller.h>

#include <host/cli/FourCharCode.h>
#include <host/cli/HostError.h>
#include <host/output/FrameView.h>
#include <host/session/LinkedClip.h>

#include <RL/IPane.h>

#include <optional>
#include <string>

namespace tetherhost {

FramePuller::FramePuller(KL::IVideoSource& video, const RL::BinaryData& prefs,
                         kilnmediatypes::FrameRate frameRate, kilnmediatypes::PixelFormat pixelFormat,
                         int32_t width, int32_t height)
    : mVideo(video),
      mPrefs(prefs),
      mFrameRate(frameRate),
      mPixelFormat(pixelFormat),
      mWidth(width),
      mHeight(height) {}

kilnmediatypes::TickTime FramePuller::TimeOf(int64_t frame) const {
  return kilnmediatypes::TickTime(frame, mFrameRate);
}

template <typename Convert>
auto FramePuller::Fetch(int64_t frame, Convert convert) {
  const kilnmediatypes::TickTime time = TimeOf(frame);
  const RL::FrameFormat format = WantedFormat(mVideo, time, mPixelFormat, mWidth, mHeight);
  KL::IVideoSource::Frame pane;
  int32_t result = mVideo.GetFrame(time, format, mPrefs, false, pane);
  if (result < 0 || !pane) {
    // A blocking request can be released just before its frame is filed; the
    // frame is in the cache by then, so one more request finds it there.
    result = mVideo.GetFrame(time, format, mPrefs, false, pane);
  }
  HostError::ThrowIfFailed(result, "frame " + std::to_string(frame));
  if (!pane) throw HostError("frame " + std::to_string(frame) + " came back empty");
  return convert(ViewOf(*pane, format));
}

RgbaImage FramePuller::Pull(int64_t frame) { return Fetch(frame, &RgbaImage::FromFrame); }

Rgba16Image FramePuller::PullDeep(int64_t frame) { return Fetch(frame, &Rgba16Image::FromFrame); }

namespace {

std::optional<PixelLayout> LayoutOf(kilnmediatypes::PixelFormat format) {
  if (format.fourcc == kilnmediatypes::kPixelFormat_BGRA_4444_8u.fourcc) return PixelLayout::kBGRA8;
  if (format.fourcc == kilnmediatypes::kPixelFormat_RGBA_4444_32f.fourcc) return PixelLayout::kRGBA32F;
  if (format.fourcc == kilnmediatypes::kPixelFormat_BGRA_4444_32f.fourcc) return PixelLayout::kBGRA32F;
  return std::nullopt;
}

}  // namespace

FrameView ViewOf(const RL::IPane& frame, const RL::FrameFormat& requested) {
  FrameView view;
  view.data = static_cast<const uint8_t*>(frame.GetData());
  // A frame that states its layout is read by it. A frame straight from the
  // link is only bytes: it holds the format settled for its request, rows
  // packed one after the other.
  const bool described = frame.GetWidth() > 0 && frame.GetPixelFormat() != kilnmediatypes::kPixelFormat_Invalid;
  const kilnmediatypes::PixelFormat format = described ? frame.GetPixelFormat() : requested.pixelFormat;
  const std::optional<PixelLayout> layout = LayoutOf(format);
  if (!layout) {
    throw HostError("the frame is in pixel format " + FourCharCodeText(format.fourcc) + ", which this host can't show");
  }
  view.layout = *layout;
  view.width = described ? frame.GetWidth() : requested.width;
  view.height = described ? frame.GetHeight() : requested.height;
  view.rowBytes = described ? frame.GetRowBytes()
                            : static_cast<int32_t>(static_cast<size_t>(view.width) * BytesPerPixel(view.layout));
  const size_t needed = static_cast<size_t>(view.rowBytes) * static_cast<size_t>(view.height);
  if (view.height > 0 && (view.data == nullptr || frame.GetDataSize() < needed)) {
    throw HostError("the frame holds " + std::to_string(frame.GetDataSize()) + " bytes, fewer than its " +
                    std::to_string(view.width) + " x " + std::to_string(view.height) + " pixels need");
  }
  return view;
}

}  // namespace tetherhost
