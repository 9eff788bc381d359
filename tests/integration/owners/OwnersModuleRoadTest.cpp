// The module's road for every owner other than Marl, against the reference
// server: a host imports a Sprocket scene, a Sprocket source-type project with
// its render options, an Easel document and a Darkslide photo, and each frame
// it gets carries the server's stamp of its time, size and content.

#include <integration/module/ModuleRoadTest.h>

#include <module/TetherMediaModule.h>
#include <server/darkslide/DarkslideReader.h>
#include <server/darkslide/DarkslideRenderer.h>
#include <server/sprocket/SprocketReader.h>
#include <server/sprocket/SprocketRenderer.h>

#include <RL/MediaType.h>
#include <TetherMedia/Prefs.h>
#include <kilncore/string/UTFConversion.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace TetherMedia::integration {
namespace {

namespace fs = std::filesystem;
using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using kilnmediatypes::TickTime;
using tetherserver::FrameStamp;

const fs::path kExamples = TETHER_TEST_EXAMPLES_FOLDER;
const Guid kTurntable("E956F475-288C-43F3-AE92-CCB84C86C973");
const Guid kShot("CA012DDA-1BBD-4C6A-B7A5-C9E520FDABEF");
const Guid kPoster("74F18EBE-4F24-4EC5-B499-4EE2EC86B1E0");
const Guid kHarbour("5E3766FD-9E0E-4287-8592-1FC61F91EE41");

// tetherhost's 0xA00703E9: the linked item ended without a source.
constexpr int32_t kNoLinkedSource = static_cast<int32_t>(0xA00703E9);

class OwnersModuleRoadTest : public ModuleRoadTest {
 protected:
  // Imports item `id` of a private copy of the sample `file`, with the
  // owner's render options `options` (JSON, possibly empty) in its prefs.
  int32_t Import(const std::string& file, const Guid& id, const std::string& options = {}) {
    const fs::path copy = mExamples.PathFor(file);
    fs::copy_file(kExamples / file, copy, fs::copy_options::overwrite_existing);
    mPrefs = options.empty() ? SourceIDToPrefs(id)
                             : BuildPrefsWithApplicationSpecificRenderOptions(
                                   id.AsString(), kilncore::string::UTF8to16(options));
    bool prefsChanged = false;
    return TetherMediaModule().ImportFile(mItem, kilncore::string::UTF8to16(copy.string()), 0, 0, mPrefs,
                                          prefsChanged, true, false, u"", 0, nullptr, 0, nullptr);
  }

  InterfaceRef<KL::IVideoSource> Video() const {
    InterfaceRef<RL::ISource> stream;
    kilnmediatypes::FrameRate rate;
    if (const InterfaceRef<KL::IVideoSource> video(mItem->GetStream(RL::kMediaType_Video, 0)); video) {
      video->GetFrameRate(rate);
    }
    EXPECT_EQ(mItem->CreateSourceForStream(RL::kMediaType_Video, 0, mPrefs, rate, u"", u"", u"", u"", stream), 0);
    return InterfaceRef<KL::IVideoSource>(stream);
  }

  // The stamp of frame `frame` (at `fps` frames a second) in 8-bit BGRA at
  // the item's own size.
  FrameStamp StampAt(int64_t frame, int64_t fps) const {
    const InterfaceRef<KL::IVideoSource> video = Video();
    EXPECT_TRUE(video);
    if (!video) return {};
    const TickTime time(frame * (tether::kTicksPerSecond / fps));
    RL::FrameFormat format = WantedFormat(kilnmediatypes::kPixelFormat_BGRA_4444_8u);
    EXPECT_GE(video->SelectFrameFormat(time, format), 0);
    KL::IVideoSource::Frame rendered;
    EXPECT_EQ(GetFrameAsTheHostDoes(video, mPrefs, time, format, rendered), 0);
    const std::optional<FrameStamp> stamp = StampOf(rendered);
    EXPECT_TRUE(stamp) << "no readable stamp at frame " << frame;
    return stamp.value_or(FrameStamp{});
  }

  void TearDown() override {
    mItem = nullptr;
    ModuleRoadTest::TearDown();
  }

  RL::BinaryData mPrefs;
  InterfaceRef<KL::IMediaInfo> mItem;
};

tetherserver::Composition SceneOf(const std::string& file, size_t index, const std::string& options = {}) {
  auto document = tetherserver::SprocketReader::Open(kExamples / file);
  EXPECT_TRUE(document) << document.error.message;
  auto parsed = tetherserver::SprocketReader::ParseOptions(options);
  EXPECT_TRUE(parsed);
  return tetherserver::SprocketRenderer::Build(document->scenes.at(index), *parsed);
}

TEST_P(OwnersModuleRoadTest, SprocketSceneFramesCarryTheirTimeAndTheScenesContent) {
  ASSERT_EQ(Import("turntable.spkscene", kTurntable), 0);
  const tetherserver::Composition scene = SceneOf("turntable.spkscene", 0);
  for (const int64_t frame : {0, 12, 49}) {
    SCOPED_TRACE(frame);
    const FrameStamp stamp = StampAt(frame, 25);
    EXPECT_EQ(stamp.frameNumber, frame);
    EXPECT_EQ(stamp.width, 640);
    EXPECT_EQ(stamp.height, 360);
    EXPECT_EQ(stamp.contentState, scene.contentState);
  }
}

TEST_P(OwnersModuleRoadTest, SprocketSourceTypeProjectRendersWithTheClipsOptions) {
  const std::string options = R"({"background":[1,0,0],"frameNumbers":true})";
  ASSERT_EQ(Import("shot.spkproj", kShot, options), 0);
  const FrameStamp withOptions = StampAt(5, 25);
  EXPECT_EQ(withOptions.frameNumber, 5);
  EXPECT_EQ(withOptions.contentState, SceneOf("shot.spkproj", 0, options).contentState);
  mItem = nullptr;
  ASSERT_EQ(Import("shot.spkproj", kShot), 0);
  const FrameStamp plain = StampAt(5, 25);
  EXPECT_EQ(plain.contentState, SceneOf("shot.spkproj", 0).contentState);
  EXPECT_NE(plain.contentState, withOptions.contentState);
}

TEST_P(OwnersModuleRoadTest, EaselDocumentFramesComeOverTheFileServerInApplicationEleven) {
  Crate::ScopedApplicationType easelHost(11);
  ASSERT_EQ(Import("poster.esd", kPoster), 0);
  const FrameStamp stamp = StampAt(100, 25);
  EXPECT_EQ(stamp.frameNumber, 100);
  EXPECT_EQ(stamp.width, 400);
  EXPECT_EQ(stamp.height, 300);
}

TEST_P(OwnersModuleRoadTest, DarkslidePhotoFramesCarryThePhotosContent) {
  ASSERT_EQ(Import("holiday.dslcat", kHarbour), 0);
  auto catalogue = tetherserver::DarkslideReader::Open(kExamples / "holiday.dslcat");
  ASSERT_TRUE(catalogue);
  const FrameStamp stamp = StampAt(30, 25);
  EXPECT_EQ(stamp.frameNumber, 30);
  EXPECT_EQ(stamp.width, 480);
  EXPECT_EQ(stamp.contentState,
            tetherserver::DarkslideRenderer::Build(*catalogue, catalogue->photos[0]).contentState);
}

TEST_P(OwnersModuleRoadTest, CorruptSceneIsAnItemWithoutASourceAndTheServerServesOn) {
  std::ofstream(mExamples.PathFor("broken.spkscene")) << R"({"format":"sprocket-scene","version":1,"scenes":[)";
  bool prefsChanged = false;
  RL::BinaryData prefs = SourceIDToPrefs(kTurntable);
  InterfaceRef<KL::IMediaInfo> broken;
  EXPECT_EQ(TetherMediaModule().ImportFile(broken, kilncore::string::UTF8to16(mExamples.PathFor("broken.spkscene").string()),
                                           0, 0, prefs, prefsChanged, true, false, u"", 0, nullptr, 0, nullptr),
            kNoLinkedSource);
  ASSERT_EQ(Import("turntable.spkscene", kTurntable), 0);
  EXPECT_EQ(StampAt(1, 25).frameNumber, 1);
}

TETHER_INSTANTIATE_FOR_BOTH_SERVERS(OwnersModuleRoadTest);

}  // namespace
}  // namespace TetherMedia::integration
