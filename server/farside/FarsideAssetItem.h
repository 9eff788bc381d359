#pragma once

#include "SessionContent.h"

#include <tether/FarsideAssetRequestInfo.h>

#include <memory>

namespace tetherserver {

// An item opened from a remote asset: the item of the asset's project file,
// described as the asset it came from. Its description names the asset
// (service address, production, version, asset) and shows the asset to the
// user beside the item's name; the credentials are left out, since the
// description travels and may be kept. Everything else is the item's own.
class FarsideAssetItem : public SessionItem {
 public:
  FarsideAssetItem(std::shared_ptr<const SessionItem> item, const tether::FarsideAssetRequestInfo& request);

  tether::SourceInfo Describe() const override;
  size_t FrameBytes(const tether::VideoRenderOptions& options) const override;
  int32_t RenderFrame(const tether::VideoRenderOptions& options, const tether::RatioTime& time, unsigned char* target,
                      size_t size) const override;
  int32_t RenderAudio(const tether::AudioRenderOptions& options, int64_t start, uint32_t frames,
                      float* target) const override;
  uint32_t SampleRate(const tether::AudioRenderOptions& options) const override;
  tether::CaptionData Captions() const override;
  int32_t AnswerRequest(const std::string& name, const tether::AnyValue& arguments, tether::AnyValue& reply,
                        std::string& message) const override;

 private:
  std::shared_ptr<const SessionItem> mItem;
  tether::FarsideAssetRequestInfo mAsset;
};

}  // namespace tetherserver
