#pragma once

#include <tether/MediaTypes.h>

#include <kilncore/string/WideString.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace tether {

// What a video renderer renders: one renderer serves one combination of these.
class VideoRenderOptions {
 public:
  void SetRenderQuality(RenderQuality quality) { mRenderQuality = quality; }
  RenderQuality GetRenderQuality() const { return mRenderQuality; }

  void SetFieldType(FieldType fieldType) { mFieldType = fieldType; }
  FieldType GetFieldType() const { return mFieldType; }

  // Acceptable pixel formats, most wanted first.
  void SetPixelFormats(std::vector<PixelFormat> formats) { mPixelFormats = std::move(formats); }
  const std::vector<PixelFormat>& GetPixelFormats() const { return mPixelFormats; }

  void SetBounds(int32_t width, int32_t height) { mBounds = RenderBounds{width, height}; }
  RenderBounds GetBounds() const { return mBounds; }

  void SetUsePreviewFiles(bool use) { mUsePreviewFiles = use; }
  bool GetUsePreviewFiles() const { return mUsePreviewFiles; }

  void SetUseProxies(bool use) { mUseProxies = use; }
  bool GetUseProxies() const { return mUseProxies; }

  // The owning application's options: its JSON text, or a per-clip number.
  void SetAppSpecificRenderOptionsJSONString(kilncore::WideString json) { mAppOptions = std::move(json); }
  const kilncore::WideString& GetAppSpecificRenderOptionsJSONString() const { return mAppOptions; }

  void SetCaptionStreamFormat(uint32_t format) { mCaptionStreamFormat = format; }
  uint32_t GetCaptionStreamFormat() const { return mCaptionStreamFormat; }

  void SetColorSpace(ColorSpace colorSpace) { mColorSpace = std::move(colorSpace); }
  const ColorSpace& GetColorSpace() const { return mColorSpace; }

  // Equal in every field.
  friend bool operator==(const VideoRenderOptions&, const VideoRenderOptions&) = default;

 private:
  RenderQuality mRenderQuality = 0;
  FieldType mFieldType = 0;
  std::vector<PixelFormat> mPixelFormats;
  RenderBounds mBounds;
  bool mUsePreviewFiles = false;
  bool mUseProxies = false;
  kilncore::WideString mAppOptions;
  uint32_t mCaptionStreamFormat = 0;
  ColorSpace mColorSpace;
};

}  // namespace tether
