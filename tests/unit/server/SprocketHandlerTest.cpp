// Sprocket scenes and source-type projects as the server opens and draws them.

#include "OwnerTestSupport.h"
#include "ServerTestSupport.h"

#include <FailureReason.h>
#include <server/render/AudioSynthesizer.h>
#include <server/sprocket/SprocketHandler.h>
#include <server/sprocket/SprocketReader.h>

#include <tether/AudioRenderOptions.h>
#include <tether/wire/Protocol.h>

#include <kilncore/string/UTFConversion.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>

namespace {

using kilncore::utility::Guid;
using namespace servertest;
using tetherserver::FailureReason;
using tetherserver::SprocketHandler;

const Guid kTurntable("E956F475-288C-43F3-AE92-CCB84C86C973");
const Guid kCloseUp("A9210780-DA2A-4A2A-A56E-32990BD02659");
const Guid kShot("CA012DDA-1BBD-4C6A-B7A5-C9E520FDABEF");
const Guid kHeavy("07FBE01A-AF1D-45C6-86F8-7401816D30CD");

struct Opened {
  std::shared_ptr<const tetherserver::SessionProject> project;
  int32_t status = -1;
  std::string reason;
};

Opened Open(const std::filesystem::path& path, const std::string& options = {}) {
  Opened opened;
  FailureReason::Scope scope;
  opened.project = SprocketHandler().OpenProject(tether::File(kilncore::string::UTF8to16(path.string()), false),
                                                 options, opened.status, nullptr);
  opened.reason = scope.Text();
  return opened;
}

TEST(SprocketHandlerTest, EachSceneIsAnItemAtTheTopLevel) {
  const Opened opened = Open(ExamplesDir() / "turntable.spkscene");
  ASSERT_EQ(opened.status, 0) << opened.reason;
  const auto items = opened.project->GetContainedItems(Guid());
  ASSERT_TRUE(items);
  ASSERT_EQ(items->size(), 2u);
  EXPECT_EQ((*items)[0].id, kTurntable);
  EXPECT_EQ((*items)[0].name, u"Turntable");
  EXPECT_EQ((*items)[1].id, kCloseUp);
  EXPECT_FALSE(opened.project->GetContainedItems(kTurntable));
  const auto item = opened.project->GetItem(kCloseUp);
  ASSERT_TRUE(item);
  EXPECT_EQ(item->Describe().width, 320u);
  EXPECT_EQ(item->Describe().height, 240u);
  EXPECT_FALSE(item->Describe().hasAudio);
  EXPECT_FALSE(opened.project->GetItem(Guid::CreateUnique()));
}

TEST(SprocketHandlerTest, FramesAreStampedWithTheirTimeAndTheScenesContent) {
  const Opened opened = Open(ExamplesDir() / "turntable.spkscene");
  ASSERT_EQ(opened.status, 0) << opened.reason;
  const auto item = opened.project->GetItem(kTurntable);
  const RenderedFrame frame = RenderAt(*item, 1);
  ASSERT_EQ(frame.status, 0);
  const auto stamp = frame.Stamp();
  ASSERT_TRUE(stamp);
  EXPECT_EQ(stamp->frameNumber, 25);
  EXPECT_EQ(stamp->width, 640);
  EXPECT_EQ(stamp->contentState, item->Describe().contentState);
  // The crate has travelled half way by the middle of the scene.
  EXPECT_NE(RenderAt(*item, 0).Pixel(60, 180), RenderAt(*item, 1).Pixel(60, 180));
}

TEST(SprocketHandlerTest, SceneAudioCarriesItsToneOnEachChannel) {
  const Opened opened = Open(ExamplesDir() / "turntable.spkscene");
  const auto item = opened.project->GetItem(kTurntable);
  const tether::SourceInfo info = item->Describe();
  ASSERT_TRUE(info.hasAudio);
  ASSERT_EQ(info.audioChannelLayout.size(), 2u);
  tether::AudioRenderOptions options;
  options.SetSampleRate(tether::kTicksPerSecond / 48000);
  options.SetAudioChannelLayout(info.audioChannelLayout);
  std::vector<float> block(2 * 64);
  ASSERT_EQ(item->RenderAudio(options, 100, 64, block.data()), 0);
  bool sounding = false;
  for (float sample : block) sounding = sounding || sample != 0.0f;
  EXPECT_TRUE(sounding);
}

TEST(SprocketHandlerTest, RenderOptionsOfASourceTypeProjectChangeTheFrameAndTheContent) {
  const Opened plain = Open(ExamplesDir() / "shot.spkproj");
  const Opened red = Open(ExamplesDir() / "shot.spkproj", R"({"background":[1,0,0]})");
  ASSERT_EQ(plain.status, 0) << plain.reason;
  ASSERT_EQ(red.status, 0) << red.reason;
  const auto plainItem = plain.project->GetItem(kShot);
  const auto redItem = red.project->GetItem(kShot);
  EXPECT_NE(plainItem->Describe().contentState, redItem->Describe().contentState);
  const std::vector<unsigned char> redPixel{0, 0, 255, 255};
  EXPECT_EQ(RenderAt(*redItem, 0).Pixel(300, 170), redPixel);
  EXPECT_NE(RenderAt(*plainItem, 0).Pixel(300, 170), redPixel);
}

TEST(SprocketHandlerTest, FrameNumbersOptionDrawsTheNumber) {
  const Opened plain = Open(ExamplesDir() / "shot.spkproj");
  const Opened numbered = Open(ExamplesDir() / "shot.spkproj", R"({"frameNumbers":true})");
  ASSERT_EQ(numbered.status, 0) << numbered.reason;
  EXPECT_NE(RenderAt(*plain.project->GetItem(kShot), 0).pixels,
            RenderAt(*numbered.project->GetItem(kShot), 0).pixels);
}

TEST(SprocketHandlerTest, OptionsThatAreNoJSONObjectFailWithAReason) {
  for (const char* options : {"not json", "[1,2]", R"({"background":"red"})"}) {
    const Opened opened = Open(ExamplesDir() / "shot.spkproj", options);
    EXPECT_FALSE(opened.project) << options;
    EXPECT_EQ(opened.status, tether::wire::kStatusFailed) << options;
    EXPECT_NE(opened.reason.find("render options"), std::string::npos) << opened.reason;
  }
}

TEST(SprocketHandlerTest, FileOfAnotherOwnerIsRefusedByName) {
  const Opened opened = Open(ExamplesDir() / "poster.esd");
  EXPECT_FALSE(opened.project);
  EXPECT_EQ(opened.status, tether::wire::kStatusNotSupported);
  EXPECT_NE(opened.reason.find("not a sprocket-scene file (it is a easel-document file)"), std::string::npos)
      << opened.reason;
}

TEST(SprocketHandlerTest, CorruptOrMissingScenesFailWithTheirCause) {
  TempDir dir;
  const std::string good = ReadExampleText("turntable.spkscene");
  const Opened truncated = Open(dir.Write("cut.spkscene", good.substr(0, good.size() / 2)));
  EXPECT_EQ(truncated.status, tether::wire::kStatusFailed);
  EXPECT_NE(truncated.reason.find("not JSON"), std::string::npos) << truncated.reason;
  const Opened badField =
      Open(dir.Write("bad.spkscene", R"({"format":"sprocket-scene","version":1,"scenes":[{"id":"x"}]})"));
  EXPECT_EQ(badField.status, tether::wire::kStatusFailed);
  EXPECT_NE(badField.reason.find("$.scenes[0].id"), std::string::npos) << badField.reason;
  const Opened empty = Open(dir.Write("empty.spkscene", R"({"format":"sprocket-scene","version":1,"scenes":[]})"));
  EXPECT_NE(empty.reason.find("$.scenes is empty"), std::string::npos) << empty.reason;
  const Opened missing = Open(dir.Path() / "absent.spkscene");
  EXPECT_EQ(missing.status, tether::wire::kStatusNotFound);
}

TEST(SprocketHandlerTest, FrameRatesOutsideAThousandthToAThousandAreRefused) {
  for (const char* rate : {"1/2000", "2000/1", "0/1", "25/0", "25", "25/1 ", "x/y"}) {
    const std::string text = std::string(R"({"format":"sprocket-scene","version":1,"scenes":[{"id":)") +
                             R"("E956F475-288C-43F3-AE92-CCB84C86C973","name":"S","width":8,"height":8,)" +
                             R"("durationFrames":5,"frameRate":")" + rate + R"("}]})";
    const auto read = tetherserver::SprocketReader::Parse(text, "rate.spkscene");
    ASSERT_FALSE(read) << rate;
    EXPECT_NE(read.error.message.find("$.scenes[0].frameRate"), std::string::npos) << read.error.message;
  }
}

TEST(SprocketHandlerTest, MissingAssetsAreTheTexturesAndFontsTheMachineLacks) {
  const Opened opened = Open(ExamplesDir() / "turntable.spkscene");
  const tether::MissingAssets missing = opened.project->GetMissingAssets();
  ASSERT_EQ(missing.files.size(), 1u);
  EXPECT_EQ(kilncore::string::UTF16to8(missing.files[0]), (ExamplesDir() / "textures/crate-wood.png").string());
  ASSERT_EQ(missing.fonts.size(), 1u);
  EXPECT_EQ(missing.fonts[0].identityA, "Sprocket Sans");
  EXPECT_EQ(missing.fonts[0].identityB, "Bold");
  EXPECT_TRUE(Open(ExamplesDir() / "shot.spkproj").project->GetMissingAssets().files.empty());
}

TEST(SprocketHandlerTest, HeavySceneStopsRenderingOnceStopped) {
  const Opened opened = Open(ExamplesDir() / "heavy.spkscene");
  const auto item = opened.project->GetItem(kHeavy);
  const tether::VideoRenderOptions options;
  std::vector<unsigned char> pixels(item->FrameBytes(options));
  std::atomic<int> asked{0};
  // Stopped from the third look on: the minute-long frame ends at once.
  const int32_t status = item->RenderFrameUnlessStopped(options, tether::RatioTime(0), pixels.data(), pixels.size(),
                                                         [&] { return ++asked > 2; });
  EXPECT_EQ(status, tether::wire::kStatusRenderCancelled);
  EXPECT_EQ(asked.load(), 3);
}

TEST(SprocketHandlerTest, ReaderRefusesFileOfOtherFormatWithoutAFormatName) {
  const auto read = tetherserver::SprocketReader::Parse(R"({"items":[]})", "x.spkscene");
  ASSERT_FALSE(read);
  EXPECT_NE(read.error.message.find("not a sprocket-scene file"), std::string::npos);
}

}  // namespace
