#include <tether/AudioRenderOptions.h>
#include <tether/CaptionData.h>
#include <tether/CaptionSelectionData.h>
#include <tether/CapsuleParamValues.h>
#include <tether/FarsideAssetRequestInfo.h>
#include <tether/FarsideProductionRequestInfo.h>
#include <tether/ItemInfo.h>
#include <tether/MissingAssets.h>
#include <tether/SourceInfo.h>
#include <tether/SprocketServer.h>
#include <tether/VideoRenderOptions.h>

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace {

using tether::RatioTime;

TEST(SourceInfoTest, DefaultsDescribeAnItemNotYetDescribed) {
  tether::SourceInfo info;
  EXPECT_TRUE(info.file.IsEmpty());
  EXPECT_TRUE(info.assetRequest.IsEmpty());
  EXPECT_TRUE(info.productionRequest.IsEmpty());
  EXPECT_TRUE(info.name.empty());
  EXPECT_TRUE(info.producerDescription.empty());
  EXPECT_TRUE(info.sourceID.IsNil());
  EXPECT_EQ(info.startTime, RatioTime(0, 1));
  EXPECT_EQ(info.pixelAspectRatio, tether::PixelAspectRatio{});
  EXPECT_EQ(info.formatVersion, 1u);
  EXPECT_EQ(info.originX, 0u);
  EXPECT_EQ(info.originY, 0u);
  EXPECT_EQ(info.width, 0u);
  EXPECT_EQ(info.height, 0u);
  EXPECT_EQ(info.frameRate, 0x7FFFFFFFFFFFFFFF);
  EXPECT_TRUE(info.nativePixelFormats.empty());
  EXPECT_EQ(info.alphaKind, 3);
  EXPECT_EQ(info.fieldType, 4);
  EXPECT_TRUE(info.audioChannelLayout.empty());
  EXPECT_EQ(info.audioSampleRate, 0x7FFFFFFFFFFFFFFF);
  EXPECT_TRUE(info.contentState.IsNil());
  EXPECT_FALSE(info.hasVideo);
  EXPECT_FALSE(info.hasAudio);
  EXPECT_EQ(info.duration, RatioTime(0, 1));
  // The host's invalid time, -101606400000000000 ticks.
  const RatioTime invalid(-101606400000000000, tether::kTicksPerSecond);
  EXPECT_EQ(info.workInPoint, invalid);
  EXPECT_EQ(info.workOutPoint, invalid);
  EXPECT_EQ(info.matteColorR, 0.0f);
  EXPECT_EQ(info.matteColorG, 0.0f);
  EXPECT_EQ(info.matteColorB, 0.0f);
  EXPECT_EQ(info.tickCount, RatioTime(0, 1));
  EXPECT_TRUE(info.isRenderable);
  EXPECT_FALSE(info.isDropFrame);
  EXPECT_EQ(info.previewInPoint, invalid);
  EXPECT_EQ(info.previewOutPoint, invalid);
  EXPECT_FALSE(info.hasFrozenUnstretchableRegions);
  EXPECT_FALSE(info.isSequence);
  EXPECT_TRUE(info.appSpecificRenderOptions.empty());
  EXPECT_TRUE(info.capsuleParams.params.empty());
  EXPECT_TRUE(info.colorSpace.IsEmpty());
  EXPECT_FALSE(info.isColorManaged);
  EXPECT_TRUE(info.assetDisplayName.empty());
  EXPECT_EQ(info.maxRenderQualityPercent, 100);
  EXPECT_FALSE(info.hasCaptions);
  EXPECT_FALSE(info.isTemplate);
  EXPECT_TRUE(info.linkedSources.empty());
  EXPECT_TRUE(info.dependencyPaths.empty());
  EXPECT_TRUE(info.markers.empty());
  EXPECT_EQ(info.revision, 0);
  EXPECT_TRUE(info.extraJSON.empty());
}

TEST(SourceInfoTest, CopiesCompareEqualAndDifferAfterAChange) {
  tether::SourceInfo info;
  info.width = 1920;
  tether::SourceInfo copy = info;
  EXPECT_EQ(copy, info);
  copy.assetDisplayName.push_back(u'x');
  EXPECT_FALSE(copy == info);
}

TEST(FarsideAssetRequestInfoTest, EmptyUntilAnyMemberIsSet) {
  tether::FarsideAssetRequestInfo request;
  EXPECT_TRUE(request.IsEmpty());
  request.asset = "shot";
  EXPECT_FALSE(request.IsEmpty());
  tether::FarsideAssetRequestInfo withProperty;
  withProperty.serverProperties["region"] = "eu";
  EXPECT_FALSE(withProperty.IsEmpty());
  EXPECT_TRUE(tether::FarsideProductionRequestInfo{}.IsEmpty());
}

TEST(RecordsTest, CaptionRecordsStartAtVersionOne) {
  tether::CaptionData data;
  EXPECT_EQ(data.version, 1);
  EXPECT_TRUE(data.serializedData.empty());
  EXPECT_TRUE(data.streams.empty());
  tether::CaptionSelectionData selection;
  EXPECT_EQ(selection.version, 1);
  EXPECT_EQ(selection.streamIndex, 0);
  EXPECT_TRUE(selection.streams.empty());
}

TEST(RecordsTest, ItemInfoAndMissingAssetsDefaults) {
  tether::ItemInfo item;
  EXPECT_TRUE(item.name.empty());
  EXPECT_TRUE(item.id.IsNil());
  EXPECT_EQ(item.type, tether::ItemInfo::kTypeLeaf);
  tether::MissingAssets assets;
  EXPECT_TRUE(assets.fonts.empty());
  EXPECT_TRUE(assets.effects.empty());
  EXPECT_TRUE(assets.files.empty());
  EXPECT_EQ(tether::MissingFont{}.value, 0);
}

TEST(RecordsTest, SprocketProjectExtensionStartsWithADot) {
  ASSERT_FALSE(tether::SprocketServer::kSprocketSourceTypeProjectExtension.empty());
  EXPECT_EQ(tether::SprocketServer::kSprocketSourceTypeProjectExtension.front(), u'.');
}

// Each change of one field must make the options unequal, and the same change
// on both sides equal again.
TEST(VideoRenderOptionsTest, EqualityCoversEveryField) {
  using Change = std::function<void(tether::VideoRenderOptions&)>;
  const std::vector<Change> changes = {
      [](auto& o) { o.SetRenderQuality(3); },
      [](auto& o) { o.SetFieldType(1); },
      [](auto& o) { o.SetPixelFormats({tether::PixelFormat{0x42475241, 0}}); },
      [](auto& o) { o.SetPixelFormats({tether::PixelFormat{0x42475241, 1}}); },
      [](auto& o) { o.SetBounds(1920, 0); },
      [](auto& o) { o.SetBounds(0, 1080); },
      [](auto& o) { o.SetUsePreviewFiles(true); },
      [](auto& o) { o.SetUseProxies(true); },
      [](auto& o) { o.SetAppSpecificRenderOptionsJSONString(u"7"); },
      [](auto& o) { o.SetCaptionStreamFormat(2); },
      [](auto& o) { o.SetColorSpace(tether::ColorSpace{"Rec. 709"}); },
  };
  const tether::VideoRenderOptions base;
  EXPECT_EQ(base, tether::VideoRenderOptions{});
  for (size_t i = 0; i < changes.size(); ++i) {
    tether::VideoRenderOptions a;
    tether::VideoRenderOptions b;
    changes[i](a);
    EXPECT_FALSE(a == base) << "change " << i;
    changes[i](b);
    EXPECT_EQ(a, b) << "change " << i;
  }
}

TEST(VideoRenderOptionsTest, GettersReturnWhatWasSet) {
  tether::VideoRenderOptions options;
  options.SetRenderQuality(4);
  options.SetFieldType(2);
  options.SetPixelFormats({{1, 2}, {3, 4}});
  options.SetBounds(640, 480);
  options.SetUsePreviewFiles(true);
  options.SetUseProxies(true);
  options.SetAppSpecificRenderOptionsJSONString(u"{}");
  options.SetCaptionStreamFormat(5);
  options.SetColorSpace(tether::ColorSpace{"P3"});
  EXPECT_EQ(options.GetRenderQuality(), 4);
  EXPECT_EQ(options.GetFieldType(), 2);
  EXPECT_EQ(options.GetPixelFormats(), (std::vector<tether::PixelFormat>{{1, 2}, {3, 4}}));
  EXPECT_EQ(options.GetBounds(), (tether::RenderBounds{640, 480}));
  EXPECT_TRUE(options.GetUsePreviewFiles());
  EXPECT_TRUE(options.GetUseProxies());
  EXPECT_EQ(options.GetAppSpecificRenderOptionsJSONString(), u"{}");
  EXPECT_EQ(options.GetCaptionStreamFormat(), 5u);
  EXPECT_EQ(options.GetColorSpace().definition, "P3");
}

TEST(AudioRenderOptionsTest, KeepsLayoutAndRate) {
  tether::AudioRenderOptions options;
  EXPECT_TRUE(options.GetAudioChannelLayout().empty());
  options.SetAudioChannelLayout({1, 2});
  options.SetSampleRate(tether::kTicksPerSecond / 48000);
  EXPECT_EQ(options.GetAudioChannelLayout(), (std::vector<tether::AudioChannelLabel>{1, 2}));
  EXPECT_EQ(options.GetSampleRate(), tether::kTicksPerSecond / 48000);
  tether::AudioRenderOptions other = options;
  EXPECT_EQ(other, options);
  other.SetSampleRate(1);
  EXPECT_FALSE(other == options);
}

TEST(CapsuleParamValuesTest, ValueTreesRoundTrip) {
  tether::CapsuleParamValues values;
  values.values["text"] = std::string("caption");
  values.values["flag"] = false;
  values.values["count"] = int64_t{12};
  values.values["scale"] = 0.75;
  values.values["point"] = std::vector<double>{10, 20};
  values.values["unset"] = std::monostate{};
  EXPECT_EQ(tether::FromJSON(tether::ToJSON(values)), values);
  EXPECT_TRUE(tether::FromJSON(nullptr).IsEmpty());
}

TEST(CapsuleParamValuesTest, IntegersOfEveryWidthReadAsIntegers) {
  tether::AnyObject object;
  object["a"] = tether::MakeAny(int{1});
  object["b"] = tether::MakeAny(unsigned{2});
  object["c"] = tether::MakeAny(uint64_t{3});
  auto values = tether::FromJSON(tether::MakeAny(object));
  EXPECT_EQ(values.values.at("a"), tether::CapsuleParamValue(int64_t{1}));
  EXPECT_EQ(values.values.at("b"), tether::CapsuleParamValue(int64_t{2}));
  EXPECT_EQ(values.values.at("c"), tether::CapsuleParamValue(int64_t{3}));
}

TEST(CapsuleParamValuesTest, WrongShapesThrowBadAnyCast) {
  EXPECT_THROW(tether::FromJSON(tether::MakeAny(std::string("x"))), std::bad_any_cast);
  tether::AnyObject nested;
  nested["inner"] = tether::MakeAny(tether::AnyObject{});
  EXPECT_THROW(tether::FromJSON(tether::MakeAny(nested)), std::bad_any_cast);
  tether::AnyObject textInArray;
  textInArray["list"] = tether::MakeAny(tether::AnyArray{tether::MakeAny(std::string("x"))});
  EXPECT_THROW(tether::FromJSON(tether::MakeAny(textInArray)), std::bad_any_cast);
}

}  // namespace
