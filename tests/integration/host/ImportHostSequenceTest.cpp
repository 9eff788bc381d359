// `tetherhost import` of a Final Cut Pro XML file (the file road of the host
// project server) and of both host project flavours, as a user runs it: the
// frames and the audio that reach the files it writes.
#include "RunTetherhost.h"

#include <host/output/PngFile.h>
#include <host/output/WavFile.h>

#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kHost = fs::path(TETHER_TEST_EXAMPLES_FOLDER) / "host";

struct Outcome {
  int status = -1;
  std::string out;
};

Outcome Tetherhost(const std::string& arguments) {
  auto [status, out] = tetherhosttest::RunTetherhost(arguments);
  return Outcome{status, std::move(out)};
}

std::array<uint8_t, 4> PixelAt(const tetherhost::RgbaImage& image, int x, int y) {
  const uint8_t* pixel = image.PixelAt(x, y);
  return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

class ImportHostSequenceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    mFolder = fs::temp_directory_path() / ("import-host-" + kilncore::utility::Guid::CreateUnique().AsUTF8String());
    fs::create_directories(mFolder);
  }
  void TearDown() override { fs::remove_all(mFolder); }

  fs::path mFolder;
};

TEST_F(ImportHostSequenceTest, FinalCutXMLImportsItsFirstSequenceWithItsFramesAndAudio) {
  const fs::path out = mFolder / "cut";
  const Outcome run = Tetherhost("import '" + (kHost / "cut.xml").string() + "' --frames 5,40,70,95,110 --out '" +
                                 out.string() + "' --audio '" + (mFolder / "cut.wav").string() + "'");
  ASSERT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("Cut 29.97 DF"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("64 x 36"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("29.97"), std::string::npos) << run.out;

  // Each frame shows what the sequence has at its time, read where the
  // server's stamp in the top row doesn't reach.
  const auto middle = [&](int frame) {
    char name[32];
    std::snprintf(name, sizeof(name), "frame_%05d.png", frame);
    const tetherhost::RgbaImage image = tetherhost::PngFile::Read(out / name);
    EXPECT_EQ(image.width(), 64) << name;
    EXPECT_EQ(image.height(), 36) << name;
    return PixelAt(image, 40, 30);
  };
  const std::array<uint8_t, 4> shot{30, 180, 60, 255};
  const std::array<uint8_t, 4> slate{115, 13, 13, 255};
  EXPECT_EQ(middle(5), shot);     // the still, by its path relative to the file
  EXPECT_EQ(middle(40), slate);   // after the dissolve's cut: the missing title
  EXPECT_EQ(middle(70), shot);    // the still again, by its reused file id
  EXPECT_EQ(middle(95), (std::array<uint8_t, 4>{0, 0, 0, 255}));  // a generator's place: black
  EXPECT_EQ(middle(110), slate);  // a nested sequence: the slate

  // Audio: the interview's samples for its 60 frames, then silence.
  const auto wav = tetherhost::WavFile::Read(mFolder / "cut.wav");
  const auto interview = tetherhost::WavFile::Read(kHost / "interview.wav");
  ASSERT_EQ(wav.sampleRate, 48000);
  ASSERT_EQ(wav.channels.size(), 2u);
  ASSERT_EQ(wav.channels[0].size(), 192192u);  // 120 frames at 30000/1001
  ASSERT_EQ(interview.channels.size(), 1u);
  size_t differing = 0;
  for (size_t channel = 0; channel < 2; ++channel) {
    for (size_t sample = 0; sample < interview.channels[0].size(); sample += 101) {
      if (std::fabs(wav.channels[channel][sample] - interview.channels[0][sample]) > 1e-6f) ++differing;
    }
    for (size_t sample = 96096; sample < wav.channels[channel].size(); sample += 101) {
      if (wav.channels[channel][sample] != 0.0f) ++differing;
    }
  }
  EXPECT_EQ(differing, 0u);
}

TEST_F(ImportHostSequenceTest, BothHostProjectFlavoursImportTheSameSequenceAlike) {
  const std::string main = "5E7A1C0D-0000-4000-8000-000000000011";
  for (const char* flavour : {"edit.tlmproj", "edit.tlmprojx"}) {
    const Outcome run = Tetherhost("import '" + (kHost / flavour).string() + "' --item " + main +
                                   " --frames 0,60,160 --size 64x36 --out '" + (mFolder / flavour).string() + "'");
    ASSERT_EQ(run.status, 0) << flavour << "\n" << run.out;
    EXPECT_NE(run.out.find("Main 1080p25"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("1920 x 1080"), std::string::npos) << run.out;
  }
  for (const char* name : {"frame_00000.png", "frame_00060.png", "frame_00160.png"}) {
    const tetherhost::RgbaImage legacy = tetherhost::PngFile::Read(mFolder / "edit.tlmproj" / name);
    const tetherhost::RgbaImage unified = tetherhost::PngFile::Read(mFolder / "edit.tlmprojx" / name);
    ASSERT_EQ(legacy.width(), 64) << name;
    ASSERT_EQ(unified.width(), 64) << name;
    // Below the stamp's row the two flavours draw the same picture.
    for (int y = 1; y < 36; ++y) {
      for (int x = 0; x < 64; ++x) ASSERT_EQ(PixelAt(legacy, x, y), PixelAt(unified, x, y)) << name << " " << x << "," << y;
    }
  }
  // Frame 160 lies between clips: black.
  EXPECT_EQ(PixelAt(tetherhost::PngFile::Read(mFolder / "edit.tlmproj" / "frame_00160.png"), 40, 20),
            (std::array<uint8_t, 4>{0, 0, 0, 255}));
}

TEST_F(ImportHostSequenceTest, HostProjectWithoutAnItemImportsItsFirstSequenceAndNamesAreAccepted) {
  const Outcome first = Tetherhost("import '" + (kHost / "edit.tlmprojx").string() + "' --frames 0 --size 64x36 --out '" +
                                   (mFolder / "first").string() + "'");
  ASSERT_EQ(first.status, 0) << first.out;
  EXPECT_EQ(first.out.rfind("item:          Main 1080p25", 0), 0u) << first.out;
  EXPECT_NE(first.out.find("(5E7A1C0D-0000-4000-8000-000000000011)\n"), std::string::npos) << first.out;
  const Outcome named = Tetherhost("import '" + (kHost / "edit.tlmproj").string() +
                                   "' --item 'NTSC 29.97 lower field' --frames 0 --out '" + (mFolder / "named").string() + "'");
  ASSERT_EQ(named.status, 0) << named.out;
  EXPECT_EQ(named.out.rfind("item:          NTSC 29.97 lower field", 0), 0u) << named.out;
  EXPECT_NE(named.out.find("(5E7A1C0D-0000-4000-8000-000000000012)\n"), std::string::npos) << named.out;
}

TEST_F(ImportHostSequenceTest, FinalCutXMLLinksOnlyItsFirstSequenceAndSaysSo) {
  const Outcome run = Tetherhost("import '" + (kHost / "cut.xml").string() + "' --item 'Film 23.976' --frames 0 --out '" +
                                 (mFolder / "film").string() + "'");
  EXPECT_EQ(run.status, 1) << run.out;
  EXPECT_EQ(run.out, "tetherhost: a Final Cut Pro XML file links as one clip, its first sequence ('Cut 29.97 DF') in " +
                         (kHost / "cut.xml").string() + " (0xA00F000E, nothing to import)\n");
  // The second sequence has no uuid: its identifier is the one list gives
  // for the same path.
  const Outcome listed = Tetherhost("list '" + (kHost / "cut.xml").string() + "'");
  ASSERT_EQ(listed.status, 0) << listed.out;
  const std::string film = listed.out.substr(listed.out.find('\n') + 1, 36);
  const Outcome byID = Tetherhost("import '" + (kHost / "cut.xml").string() + "' --item " + film + " --frames 0 --out '" +
                                  (mFolder / "film").string() + "'");
  EXPECT_EQ(byID.status, 1) << byID.out;
  EXPECT_NE(byID.out.find("links as one clip, its first sequence"), std::string::npos) << byID.out;
  const Outcome first = Tetherhost("import '" + (kHost / "cut.xml").string() + "' --item 5E7A1C0D-0000-4000-8000-0000000000C1 "
                                   "--frames 0 --out '" + (mFolder / "first").string() + "'");
  EXPECT_EQ(first.status, 0) << first.out;
  const Outcome unknown = Tetherhost("import '" + (kHost / "cut.xml").string() + "' --item Nothing --frames 0 --out '" +
                                     (mFolder / "none").string() + "'");
  EXPECT_EQ(unknown.status, 1) << unknown.out;
  EXPECT_NE(unknown.out.find("no sequence named 'Nothing' in "), std::string::npos) << unknown.out;
}

TEST_F(ImportHostSequenceTest, MalformedFinalCutXMLFailsInOneLineNamingTheElementAndLine) {
  std::ofstream(mFolder / "dangling.xml") << "<xmeml version='5'>\n<sequence><media><video><track><clipitem>\n"
                                             "<file id='gone'/></clipitem></track></video></media></sequence></xmeml>\n";
  const Outcome run = Tetherhost("import '" + (mFolder / "dangling.xml").string() + "' --frames 0 --out '" +
                                 (mFolder / "out").string() + "'");
  EXPECT_EQ(run.status, 1) << run.out;
  EXPECT_EQ(run.out, "tetherhost: " + (mFolder / "dangling.xml").string() +
                         ": file \"gone\" is defined nowhere in the file at /xmeml/sequence/media/video/track/clipitem/file "
                         "(line 3) (0xA00F000E, nothing to import)\n");
  EXPECT_FALSE(fs::exists(mFolder / "out" / "frame_00000.png"));
}

}  // namespace
