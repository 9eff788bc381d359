// tetherhost imports the samples of every owning application over the real
// link, with the reference server it starts: the frames it writes are checked
// by their pictures (a picture file keeps straight colour, which the frame
// stamp doesn't survive; OwnersModuleRoadTest reads the stamps), the audio
// sample for sample, the summary by its lines, and bad files end with the
// server's reason.

#include <tests/integration/host/RunTetherhost.h>
#include <host/output/PngFile.h>
#include <host/output/WavFile.h>
#include <server/render/AudioSynthesizer.h>
#include <server/sprocket/SprocketReader.h>
#include <server/sprocket/SprocketRenderer.h>

#include <kilncore/utility/Guid.h>

#include <rapidjson/document.h>

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using kilncore::utility::Guid;

const fs::path kExamples = TETHER_TEST_EXAMPLES_FOLDER;
const std::string kTurntable = "E956F475-288C-43F3-AE92-CCB84C86C973";
const std::string kShot = "CA012DDA-1BBD-4C6A-B7A5-C9E520FDABEF";
const std::string kPoster = "74F18EBE-4F24-4EC5-B499-4EE2EC86B1E0";
const std::string kMarket = "0B9F7C44-6D2E-4E55-9A0B-3C1F2E8D7A61";

// tetherhost's 0xA00703E9: the linked item ended without a source.
const std::string kNoSourceCode = "0xA00703E9";

struct HostRun {
  int status = -1;
  std::string out;
  std::string err;
};

std::string ReadAll(const fs::path& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

class OwnersImportTest : public ::testing::Test {
 protected:
  OwnersImportTest() : mFolder(fs::temp_directory_path() / ("owners-test-" + Guid::CreateUnique().AsUTF8String())) {
    fs::create_directories(mFolder);
  }
  ~OwnersImportTest() override {
    std::error_code ignored;
    fs::remove_all(mFolder, ignored);
  }

  HostRun Tetherhost(const std::string& arguments, const std::string& environment = {}) {
    const tetherhosttest::SeparateStreams run = tetherhosttest::RunTetherhostApart(arguments, mFolder, environment);
    return HostRun{run.status, run.out, run.err};
  }


  // Imports `file`'s item `id` with `extra` options, frames into out/.
  HostRun Import(const fs::path& file, const std::string& id, const std::string& extra = {},
             const std::string& environment = {}) {
    return Tetherhost("import '" + file.string() + "' --item " + id + " --out '" + (mFolder / "out").string() +
                          "' " + extra,
                      environment);
  }

  tetherhost::RgbaImage Frame(int number) const {
    char name[32];
    std::snprintf(name, sizeof(name), "frame_%05d.png", number);
    return tetherhost::PngFile::Read(mFolder / "out" / name);
  }

  static std::vector<uint8_t> Rgba(const tetherhost::RgbaImage& frame, int x, int y) {
    const uint8_t* pixel = frame.PixelAt(x, y);
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
  }

  fs::path mFolder;
};

TEST_F(OwnersImportTest, SprocketSceneImportsWithItsFramesAndAudio) {
  const HostRun run = Import(kExamples / "turntable.spkscene", kTurntable,
                         "--frames 0,25,49 --audio '" + (mFolder / "scene.wav").string() + "'");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("size:          640 x 360"), std::string::npos) << run.out;
  auto document = tetherserver::SprocketReader::Open(kExamples / "turntable.spkscene");
  ASSERT_TRUE(document) << document.error.message;
  const tetherserver::Composition scene = tetherserver::SprocketRenderer::Build(document->scenes[0], {});
  EXPECT_NE(run.out.find("content state: " + scene.contentState.AsUTF8String() + "\n"), std::string::npos) << run.out;
  for (const int number : {0, 25, 49}) {
    SCOPED_TRACE(number);
    const auto frame = Frame(number);
    EXPECT_EQ(frame.width(), 640);
    EXPECT_EQ(frame.height(), 360);
  }
  // The crate travels across the scene: at first it covers x = 60, at the end
  // it has left it.
  EXPECT_EQ(Rgba(Frame(0), 60, 180), (std::vector<uint8_t>{230, 115, 26, 255}));
  EXPECT_NE(Rgba(Frame(49), 60, 180), Rgba(Frame(0), 60, 180));
  const auto wav = tetherhost::WavFile::Read(mFolder / "scene.wav");
  ASSERT_EQ(wav.sampleRate, 48000);
  ASSERT_EQ(wav.channels.size(), 2u);
  ASSERT_EQ(wav.channels[0].size(), 96000u);
  size_t differing = 0;
  for (uint32_t channel = 0; channel < 2; ++channel) {
    for (int64_t sample = 0; sample < 96000; sample += 331) {
      const float expected = tetherserver::AudioSynthesizer::ExpectedSample(scene, 48000, sample, channel);
      if (wav.channels[channel][static_cast<size_t>(sample)] != expected) ++differing;
    }
  }
  EXPECT_EQ(differing, 0u);
}

TEST_F(OwnersImportTest, SummaryListsTheMediaAndFontsASceneLacks) {
  const HostRun run = Import(kExamples / "turntable.spkscene", kTurntable, "--frames 0");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("missing fonts: Sprocket Sans Bold\n"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("missing media: " + (kExamples / "textures/crate-wood.png").string() + "\n"),
            std::string::npos)
      << run.out;
}

TEST_F(OwnersImportTest, InfoListsTheMediaASceneLacksForPeopleAndAsData) {
  const std::string scene = "'" + (kExamples / "turntable.spkscene").string() + "' --item " + kTurntable;
  const std::string texture = (kExamples / "textures/crate-wood.png").string();
  const HostRun text = Tetherhost("info " + scene);
  ASSERT_EQ(text.status, 0) << text.err;
  EXPECT_NE(text.out.find("missing media: " + texture + "\n"), std::string::npos) << text.out;
  const HostRun json = Tetherhost("info " + scene + " --json");
  ASSERT_EQ(json.status, 0) << json.err;
  rapidjson::Document document;
  document.Parse(json.out.c_str());
  ASSERT_FALSE(document.HasParseError()) << json.out;
  ASSERT_TRUE(document.HasMember("missing_media")) << json.out;
  ASSERT_EQ(document["missing_media"].Size(), 1u);
  EXPECT_EQ(std::string(document["missing_media"][0].GetString()), texture);
}

TEST_F(OwnersImportTest, SprocketSourceTypeProjectOpensWithTheClipsRenderOptions) {
  const HostRun plain = Import(kExamples / "shot.spkproj", kShot, "--frames 0");
  ASSERT_EQ(plain.status, 0) << plain.err;
  const auto plainFrame = Frame(0);
  const HostRun red =
      Import(kExamples / "shot.spkproj", kShot, "--frames 0 --render-options '{\"background\":[1,0,0]}'");
  ASSERT_EQ(red.status, 0) << red.err;
  const auto redFrame = Frame(0);
  // The options reached the server when the project opened: another picture
  // and another content.
  EXPECT_EQ(Rgba(redFrame, 300, 170), (std::vector<uint8_t>{255, 0, 0, 255}));
  EXPECT_EQ(Rgba(plainFrame, 300, 170), (std::vector<uint8_t>{51, 51, 64, 255}));
  const auto state = [](const std::string& out) { return out.substr(out.find("content state: "), 52); };
  EXPECT_NE(state(plain.out), state(red.out));
}

TEST_F(OwnersImportTest, SprocketSourceTypeProjectRefusesOptionsThatAreNoJSONObject) {
  const HostRun run = Import(kExamples / "shot.spkproj", kShot, "--frames 0 --render-options 'draft please'");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find(kNoSourceCode), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("render options are not a JSON object"), std::string::npos) << run.err;
}

TEST_F(OwnersImportTest, EaselDocumentImportsOnTheFileRoadInApplicationEleven) {
  const HostRun run = Import(kExamples / "poster.esd", kPoster, "--frames 0,100", "TETHERHOST_APPLICATION_TYPE=11");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("size:          400 x 300"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("streams:       1 video, 0 audio"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("missing:       1 file(s) missing: " + (kExamples / "pictures/meadow.png").string() +
                         "; 1 font(s) missing: Easel Script Regular\n"),
            std::string::npos)
      << run.out;
  const auto frame = Frame(100);
  EXPECT_EQ(frame.width(), 400);
  // The sun layer, over the sky.
  EXPECT_EQ(Rgba(frame, 300, 60), (std::vector<uint8_t>{255, 217, 51, 255}));
}

TEST_F(OwnersImportTest, EaselDocumentIsNoImportInAnotherApplication) {
  const HostRun run = Import(kExamples / "poster.esd", kPoster, "--frames 0", "TETHERHOST_APPLICATION_TYPE=8");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("0xA00F0001"), std::string::npos) << run.err;
  // The item listing's failure is no reason of this import's.
  EXPECT_EQ(run.err.find("Marl family"), std::string::npos) << run.err;
}

TEST_F(OwnersImportTest, ApplicationTypeThatIsNoNumberInRangeIsAUsageError) {
  for (const char* value : {"eleven", "-1", "1001", "11x"}) {
    const HostRun run =
        Import(kExamples / "poster.esd", kPoster, "--frames 0", std::string("TETHERHOST_APPLICATION_TYPE=") + value);
    EXPECT_EQ(run.status, 2) << value;
    EXPECT_NE(run.err.find("TETHERHOST_APPLICATION_TYPE"), std::string::npos) << run.err;
  }
}

TEST_F(OwnersImportTest, DarkslidePhotoImportsAsAnItemOfItsCatalogue) {
  const HostRun run = Import(kExamples / "holiday.dslcat", kMarket, "--frames 0,74");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("item:          Market/holiday.dslcat"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("size:          320 x 480"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("missing media: " + (kExamples / "originals/harbour.dng").string() + ", " +
                         (kExamples / "originals/market.dng").string() + "\n"),
            std::string::npos)
      << run.out;
  const auto frame = Frame(74);
  EXPECT_EQ(frame.height(), 480);
  // Developed in monochrome.
  const auto grey = Rgba(frame, 100, 100);
  EXPECT_EQ(grey[0], grey[1]);
  EXPECT_EQ(grey[1], grey[2]);
}

TEST_F(OwnersImportTest, DarkslideCatalogueOpensInEveryHostApplication) {
  for (const char* type : {"0", "1", "2", "5", "8", "11"}) {
    const HostRun run = Import(kExamples / "holiday.dslcat", kMarket, "--frames 0",
                               std::string("TETHERHOST_APPLICATION_TYPE=") + type);
    EXPECT_EQ(run.status, 0) << "application " << type << ": " << run.err;
  }
}

TEST_F(OwnersImportTest, FileOfTheWrongOwnerFailsWithTheServersReason) {
  fs::copy_file(kExamples / "poster.esd", mFolder / "poster.spkscene");
  const HostRun run = Import(mFolder / "poster.spkscene", kPoster, "--frames 0");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find(kNoSourceCode), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("not a sprocket-scene file (it is a easel-document file)"), std::string::npos) << run.err;
}

TEST_F(OwnersImportTest, CorruptFilesOfEachOwnerFailWithTheirCause) {
  struct Case {
    const char* sample;
    const char* copy;
    std::string id;
    const char* environment;
  };
  const Case cases[] = {{"turntable.spkscene", "cut.spkscene", kTurntable, ""},
                        {"poster.esd", "cut.esd", kPoster, "TETHERHOST_APPLICATION_TYPE=11"},
                        {"holiday.dslcat", "cut.dslcat", kMarket, ""}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.sample);
    const std::string text = ReadAll(kExamples / c.sample);
    std::ofstream(mFolder / c.copy) << text.substr(0, text.size() / 3);
    const HostRun run = Import(mFolder / c.copy, c.id, "--frames 0", c.environment);
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("not JSON"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find(c.copy), std::string::npos) << run.err;
  }
}

TEST_F(OwnersImportTest, UnknownPhotoOfACatalogueIsNamed) {
  const HostRun run = Import(kExamples / "holiday.dslcat", Guid::CreateUnique().AsUTF8String(), "--frames 0");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("the project has no item"), std::string::npos) << run.err;
}

}  // namespace
