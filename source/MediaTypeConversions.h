#pragma once

#include <RL/RectT.h>

#include <kilnmediatypes/AudioChannelDescription.h>
#include <kilnmediatypes/FieldType.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/PAR.h>
#include <kilnmediatypes/PixelFormat.h>
#include <kilnmediatypes/color/ColorSpace.h>
#include <tether/MediaTypes.h>

#include <vector>

namespace TetherMedia {

// The client library keeps media values in its own small types so that it
// builds without the host's media library; these turn them into the host's
// types and back. Each is a plain member copy.

inline kilnmediatypes::PixelFormat ToHost(const tether::PixelFormat& format) {
  kilnmediatypes::PixelFormat result;
  result.fourcc = format.fourcc;
  result.properties = format.properties;
  return result;
}

inline tether::PixelFormat ToTether(const kilnmediatypes::PixelFormat& format) {
  return tether::PixelFormat{format.fourcc, format.properties};
}

inline std::vector<kilnmediatypes::PixelFormat> ToHost(const std::vector<tether::PixelFormat>& formats) {
  std::vector<kilnmediatypes::PixelFormat> result;
  result.reserve(formats.size());
  for (const auto& format : formats) result.push_back(ToHost(format));
  return result;
}

inline kilnmediatypes::PixelAspectRatio ToHost(const tether::PixelAspectRatio& ratio) {
  return kilnmediatypes::PixelAspectRatio(ratio.numerator, ratio.denominator);
}

inline RL::RectT<int> ToHost(const tether::FrameRect& rect) {
  return RL::RectT<int>{rect.left, rect.top, rect.right, rect.bottom};
}

inline kilnmediatypes::FieldType ToHostFieldType(tether::FieldType fieldType) {
  return static_cast<kilnmediatypes::FieldType>(fieldType);
}

inline kilnmediatypes::FrameRate ToHostFrameRate(tether::FrameRate rate) {
  return kilnmediatypes::FrameRate(rate);
}

// The server's colour space definition is the host colour space's name.
inline kilnmediatypes::color::ColorSpace ToHost(const tether::ColorSpace& space) {
  if (space.IsEmpty()) return kilnmediatypes::color::ColorSpace();
  return kilnmediatypes::color::ColorSpace(space.definition);
}

// Labels keep their value; discrete channels are numbered in layout order.
inline std::vector<kilnmediatypes::AudioChannelDescription> ToHost(
    const std::vector<tether::AudioChannelLabel>& layout) {
  std::vector<kilnmediatypes::AudioChannelDescription> result;
  result.reserve(layout.size());
  uint32_t discrete = 0;
  for (const auto label : layout) {
    kilnmediatypes::AudioChannelDescription channel;
    channel.label = static_cast<kilnmediatypes::AudioChannelLabel>(label);
    if (channel.label == kilnmediatypes::kAudioChannelLabel_Discrete) channel.discreteIndex = discrete++;
    result.push_back(channel);
  }
  return result;
}

}  // namespace TetherMedia
