#include <server/farside/FarsideAssetItem.h>

#include <kilncore/string/UTFConversion.h>

namespace tetherserver {

FarsideAssetItem::FarsideAssetItem(std::shared_ptr<const SessionItem> item,
                                   const tether::FarsideAssetRequestInfo& request)
    : mItem(std::move(item)) {
  mAsset.serverAddress = request.serverAddress;
  mAsset.production = request.production;
  mAsset.version = request.version;
  mAsset.asset = request.asset;
}

tether::SourceInfo FarsideAssetItem::Describe() const {
  tether::SourceInfo info = mItem->Describe();
  info.assetRequest = mAsset;
  info.assetDisplayName = kilncore::string::UTF8to16(mAsset.asset + " (" + mAsset.production + " @" + mAsset.version + ")");
  return info;
}

size_t FarsideAssetItem::FrameBytes(const tether::VideoRenderOptions& options) const {
  return mItem->FrameBytes(options);
}

int32_t FarsideAssetItem::RenderFrame(const tether::VideoRenderOptions& options, const tether::RatioTime& time,
                                      unsigned char* target, size_t size) const {
  return mItem->RenderFrame(options, time, target, size);
}

int32_t FarsideAssetItem::RenderAudio(const tether::AudioRenderOptions& options, int64_t start, uint32_t frames,
                                      float* target) const {
  return mItem->RenderAudio(options, start, frames, target);
}

uint32_t FarsideAssetItem::SampleRate(const tether::AudioRenderOptions& options) const {
  return mItem->SampleRate(options);
}

tether::CaptionData FarsideAssetItem::Captions() const { return mItem->Captions(); }

int32_t FarsideAssetItem::AnswerRequest(const std::string& name, const tether::AnyValue& arguments,
                                        tether::AnyValue& reply, std::string& message) const {
  return mItem->AnswerRequest(name, arguments, reply, message);
}

}  // namespace tetherserver
