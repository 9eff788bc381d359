#include "SessionSyntheticContent.h"

#include <server/project/ProjectXml.h>

#include <tether/wire/Protocol.h>

#include <kilncore/string/UTFConversion.h>

#include <algorithm>
#include <cstring>

namespace tetherserver {

using kilncore::utility::Guid;

const Guid SessionSyntheticContent::kItemID("5E1D0000-0000-4000-8000-000000000001");
const Guid SessionSyntheticContent::kHangingItemID("5E1D0000-0000-4000-8000-000000000002");

namespace {

constexpr uint32_t kMaxDimension = 16384;

class SyntheticItem : public SessionItem {
 public:
  SyntheticItem(Guid id, std::u16string name, tether::File file, bool hangs)
      : mId(id), mName(std::move(name)), mFile(std::move(file)), mHangs(hangs) {}

  tether::SourceInfo Describe() const override {
    tether::SourceInfo info;
    info.file = mFile;
    info.name = mName;
    info.producerDescription = u"tether-server synthetic content";
    info.sourceID = mId;
    info.width = SessionSyntheticContent::kWidth;
    info.height = SessionSyntheticContent::kHeight;
    info.frameRate = tether::kTicksPerSecond / SessionSyntheticContent::kFramesPerSecond;
    info.nativePixelFormats = {{0x41524742, 0}};  // "BGRA"
    info.fieldType = 0;
    info.audioChannelLayout = {1, 2};
    info.audioSampleRate = tether::kTicksPerSecond / SessionSyntheticContent::kSampleRate;
    info.contentState = Guid("5E1D0000-0000-4000-8000-0000000000C5");
    info.hasVideo = true;
    info.hasAudio = true;
    info.duration = tether::RatioTime(10, 1);
    info.tickCount = info.duration;
    return info;
  }

  size_t FrameBytes(const tether::VideoRenderOptions& options) const override {
    auto [width, height] = Size(options);
    if (width == 0 || height == 0 || width > kMaxDimension || height > kMaxDimension) {
      return 0;
    }
    return size_t{width} * height * 4;
  }

  int32_t RenderFrame(const tether::VideoRenderOptions& options, const tether::RatioTime& time,
                      unsigned char* target, size_t size) const override {
    auto [width, height] = Size(options);
    if (size < FrameBytes(options) || time < 0) {
      return tether::wire::kStatusFailed;
    }
    int64_t frame = boost::rational_cast<int64_t>(time * SessionSyntheticContent::kFramesPerSecond);
    if (options.GetAppSpecificRenderOptionsJSONString().find(u"fill") != std::u16string::npos) {
      // Only write the bytes: what a benchmark of the transport wants.
      std::memset(target, static_cast<int>(frame & 0xFF), FrameBytes(options));
      return tether::wire::kStatusOK;
    }
    for (uint32_t y = 0; y < height; ++y) {
      unsigned char* row = target + size_t{y} * width * 4;
      for (uint32_t x = 0; x < width; ++x) {
        for (uint32_t c = 0; c < 4; ++c) {
          row[x * 4 + c] = SessionSyntheticContent::ExpectedByte(frame, x, y, c);
        }
      }
    }
    return tether::wire::kStatusOK;
  }

  int32_t RenderAudio(const tether::AudioRenderOptions& options, int64_t start, uint32_t frames,
                      float* target) const override {
    size_t channels = options.GetAudioChannelLayout().size();
    for (uint32_t i = 0; i < frames; ++i) {
      for (size_t c = 0; c < channels; ++c) {
        target[i * channels + c] = SessionSyntheticContent::ExpectedSample(start + i, static_cast<uint32_t>(c));
      }
    }
    return tether::wire::kStatusOK;
  }

  uint32_t SampleRate(const tether::AudioRenderOptions& options) const override {
    tether::FrameRate ticks = options.GetSampleRate();
    if (ticks == tether::kNoFrameRate) {
      return SessionSyntheticContent::kSampleRate;
    }
    if (ticks <= 0 || tether::kTicksPerSecond % ticks != 0) {
      return 0;
    }
    return static_cast<uint32_t>(tether::kTicksPerSecond / ticks);
  }

  bool HangsRenders() const override { return mHangs; }
  bool HangsRendererCreation(const tether::VideoRenderOptions& options) const override {
    return mHangs && options.GetAppSpecificRenderOptionsJSONString().find(u"hang") != std::u16string::npos;
  }

 private:
  std::pair<uint32_t, uint32_t> Size(const tether::VideoRenderOptions& options) const {
    auto bounds = options.GetBounds();
    if (bounds.width > 0 && bounds.height > 0) {
      return {static_cast<uint32_t>(bounds.width), static_cast<uint32_t>(bounds.height)};
    }
    return {SessionSyntheticContent::kWidth, SessionSyntheticContent::kHeight};
  }

  Guid mId;
  std::u16string mName;
  tether::File mFile;
  bool mHangs;
};

class SyntheticProject : public SessionProject {
 public:
  explicit SyntheticProject(const tether::File& file)
      : mFile(file),
        mItem(std::make_shared<SyntheticItem>(SessionSyntheticContent::kItemID, u"Synthetic", file, false)),
        mHanging(std::make_shared<SyntheticItem>(SessionSyntheticContent::kHangingItemID, u"Hanging", file, true)) {}

  tether::MissingAssets GetMissingAssets() const override { return {}; }

  std::optional<std::vector<tether::ItemInfo>> GetContainedItems(const Guid& id) const override {
    if (!id.IsNil()) {
      return std::nullopt;
    }
    return std::vector<tether::ItemInfo>{{u"Synthetic", SessionSyntheticContent::kItemID, tether::ItemInfo::kTypeLeaf},
                                         {u"Hanging", SessionSyntheticContent::kHangingItemID,
                                          tether::ItemInfo::kTypeLeaf}};
  }

  std::optional<std::string> ItemsAsXML(const std::vector<Guid>& ids) const override {
    std::vector<ProjectXmlItem> items;
    for (const Guid& id : ids) {
      auto item = GetItem(id);
      if (!item) {
        return std::nullopt;
      }
      items.push_back(ProjectXmlItem{false, id, kilncore::string::UTF16to8(item->Describe().name), {}, {}});
    }
    return WriteProjectXml(kilncore::string::UTF16to8(mFile.FullPath()), items);
  }

  std::shared_ptr<const SessionItem> GetItem(const Guid& id) const override {
    if (id == SessionSyntheticContent::kItemID) {
      return mItem;
    }
    if (id == SessionSyntheticContent::kHangingItemID) {
      return mHanging;
    }
    return nullptr;
  }

 private:
  tether::File mFile;
  std::shared_ptr<const SessionItem> mItem;
  std::shared_ptr<const SessionItem> mHanging;
};

}  // namespace

uint8_t SessionSyntheticContent::ExpectedByte(int64_t frame, uint32_t x, uint32_t y, uint32_t channel) {
  switch (channel) {
    case 0:
      return static_cast<uint8_t>(x + frame);
    case 1:
      return static_cast<uint8_t>(y + 3 * frame);
    case 2:
      return static_cast<uint8_t>(frame);
    default:
      return 0xFF;
  }
}

float SessionSyntheticContent::ExpectedSample(int64_t sample, uint32_t channel) {
  return static_cast<float>(sample % 1000) / 1000.0f + static_cast<float>(channel);
}

bool SessionSyntheticContent::SupportsApplication(const std::string& application) const {
  return application == "Marl";
}

std::shared_ptr<const SessionProject> SessionSyntheticContent::OpenProject(const std::string&,
                                                                           const tether::File& file,
                                                                           const std::string&, int32_t& status,
                                                                           const ProgressSink& progress) const {
  if (file.IsEmpty()) {
    status = tether::wire::kStatusNotFound;
    return nullptr;
  }
  if (progress) {
    progress(kOpeningProgressType, 1.0, {kilncore::string::UTF16to8(file.FullPath())});
  }
  status = tether::wire::kStatusOK;
  return std::make_shared<SyntheticProject>(file);
}

}  // namespace tetherserver
