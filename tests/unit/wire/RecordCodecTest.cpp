#include <tether/wire/RecordCodec.h>
#include <tether/wire/TreeAccess.h>
#include <tether/wire/TreeCodec.h>
#include <tether/wire/WireError.h>

#include <gtest/gtest.h>

namespace tether::wire {
namespace {

using kilncore::utility::Guid;

SourceInfo SampleInfo() {
  SourceInfo info;
  info.file = File(u"/projects/ä.marl", true);
  info.assetRequest.asset = "asset";
  info.assetRequest.serverProperties["k"] = "v";
  info.productionRequest.production = "prod";
  info.name = u"Comp 1";
  info.sourceID = Guid::CreateUnique();
  info.startTime = RatioTime(-3, 7);
  info.pixelAspectRatio = {10, 11};
  info.width = 1920;
  info.height = 1080;
  info.frameRate = 10160640000;
  info.nativePixelFormats = {{0x42475241, 1}};
  info.audioChannelLayout = {1, 2};
  info.audioSampleRate = 5292000;
  info.contentState = Guid::CreateUnique();
  info.hasVideo = true;
  info.duration = RatioTime(10, 1);
  info.matteColorG = 0.5f;
  info.capsuleParams.params.push_back(
      {"size", u"Size", 3, std::vector<double>{1.0, 2.0}});
  info.capsuleParams.params.push_back({"on", u"On", 1, true});
  info.capsuleParams.params.push_back({"none", u"None", 0, std::monostate{}});
  info.capsuleParams.params.push_back({"count", u"Count", 2, int64_t{-5}});
  info.colorSpace.definition = "sRGB";
  info.linkedSources = {Guid::CreateUnique()};
  info.dependencyPaths = {u"/a", u"/b"};
  info.markers = {"m"};
  info.revision = -9;
  info.extraJSON = "{}";
  return info;
}

TEST(RecordCodecTest, SourceInfoSurvivesTheWire) {
  SourceInfo info = SampleInfo();
  EXPECT_EQ(SourceInfoFromTree(DecodeTree(EncodeTree(ToTree(info)))), info);
}

TEST(RecordCodecTest, RenderOptionsSurviveTheWire) {
  VideoRenderOptions video;
  video.SetRenderQuality(2);
  video.SetPixelFormats({{1, 2}, {3, 4}});
  video.SetBounds(640, 360);
  video.SetAppSpecificRenderOptionsJSONString(u"{\"a\":1}");
  video.SetColorSpace(ColorSpace{"linear"});
  EXPECT_EQ(VideoRenderOptionsFromTree(DecodeTree(EncodeTree(ToTree(video)))), video);

  AudioRenderOptions audio;
  audio.SetAudioChannelLayout({1, 2, 3});
  audio.SetSampleRate(5292000);
  EXPECT_EQ(AudioRenderOptionsFromTree(DecodeTree(EncodeTree(ToTree(audio)))), audio);
}

TEST(RecordCodecTest, SmallRecordsSurviveTheWire) {
  std::vector<ItemInfo> items{{u"Comp", Guid::CreateUnique(), ItemInfo::kTypeLeaf},
                              {u"Folder", Guid::CreateUnique(), ItemInfo::kTypeContainer}};
  EXPECT_EQ(ItemsFromTree(DecodeTree(EncodeTree(ToTree(items)))), items);
  MissingAssets assets{{{"a", "b", "c", "d", 3}}, {"fx"}, {u"/missing"}};
  EXPECT_EQ(MissingAssetsFromTree(DecodeTree(EncodeTree(ToTree(assets)))), assets);
  CaptionData captions{2, "data", {{7, true, "en"}}};
  EXPECT_EQ(CaptionDataFromTree(DecodeTree(EncodeTree(ToTree(captions)))), captions);
  CaptionSelectionData selection{1, 3, {{8, false, "de"}}};
  EXPECT_EQ(CaptionSelectionFromTree(DecodeTree(EncodeTree(ToTree(selection)))), selection);
}

TEST(RecordCodecTest, BadValuesAreWireErrors) {
  EXPECT_THROW(RatioFromTree(MakeAny(AnyArray{MakeAny(1), MakeAny(0)})), WireError);
  EXPECT_THROW(RatioFromTree(MakeAny(AnyArray{MakeAny(1), MakeAny(int64_t{-1})})), WireError);
  EXPECT_THROW(RatioFromTree(MakeAny(AnyArray{MakeAny(1)})), WireError);
  EXPECT_THROW(GuidFromTree(MakeAny(std::string("not a guid"))), WireError);
  EXPECT_EQ(GuidFromTree(ToTree(Guid())), Guid());
  EXPECT_THROW(AsUint32(MakeAny(uint64_t{1} << 33)), WireError);
  EXPECT_THROW(AsInt64(MakeAny(uint64_t{1} << 63)), WireError);

  AnyValue tree = ToTree(SampleInfo());
  std::any_cast<AnyObject&>(*tree).erase("width");
  EXPECT_THROW(SourceInfoFromTree(tree), WireError);
  std::any_cast<AnyObject&>(*tree)["width"] = MakeAny(std::string("wide"));
  EXPECT_THROW(SourceInfoFromTree(tree), WireError);
}

}  // namespace
}  // namespace tether::wire
