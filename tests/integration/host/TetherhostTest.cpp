// tetherhost run as a user runs it: each command's output, files and exit
// status, with the reference server started on demand by the link.

#include "RunTetherhost.h"
#include <host/output/PngFile.h>
#include <host/output/WavFile.h>
#include <server/render/AudioSynthesizer.h>
#include <server/project/Project.h>

#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path kExamples = TETHER_TEST_EXAMPLES_FOLDER;

struct Outcome {
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

class TetherhostTest : public ::testing::Test {
 protected:
  TetherhostTest()
      : mFolder(fs::temp_directory_path() / ("tetherhost-test-" + kilncore::utility::Guid::CreateUnique().AsUTF8String())) {
    fs::create_directories(mFolder);
  }
  ~TetherhostTest() override {
    std::error_code ignored;
    fs::remove_all(mFolder, ignored);
  }

  // Runs tetherhost with `arguments` (already quoted for the shell) and an
  // optional environment prefix, and collects what it printed.
  Outcome Tetherhost(const std::string& arguments, const std::string& environment = {}) {
    const tetherhosttest::SeparateStreams run = tetherhosttest::RunTetherhostApart(arguments, mFolder, environment);
    return Outcome{run.status, run.out, run.err};
  }


  static std::string Example(const char* name) { return "'" + (kExamples / name).string() + "'"; }

  // What ffprobe (another tool, as a user's next step would use) says of
  // `input`: its arguments, then "key=value" lines of the entries asked for.
  std::string Probe(const std::string& arguments) {
    const fs::path out = mFolder / "ffprobe.txt";
    const std::string command =
        "ffprobe -v error -of default=noprint_wrappers=1 " + arguments + " >'" + out.string() + "' 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << command << ": " << ReadAll(out);
    return ReadAll(out);
  }

  // Names of the files in `folder` that start with a dot: unfinished outputs.
  static std::vector<std::string> HiddenFiles(const fs::path& folder) {
    std::vector<std::string> hidden;
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (entry.path().filename().string().rfind('.', 0) == 0) hidden.push_back(entry.path().filename());
    }
    return hidden;
  }

  fs::path mFolder;
};

TEST_F(TetherhostTest, ListShowsEveryCompositionDepthFirstWithItsIdentifier) {
  const Outcome run = Tetherhost("list " + Example("nested.marlp"));
  ASSERT_EQ(run.status, 0) << run.err;
  auto project = tetherserver::Project::Open(kExamples / "nested.marlp");
  ASSERT_TRUE(project);
  std::string expected;
  for (const auto& item : (*project)->ListCompositions()) {
    expected += item.id.AsUTF8String() + "  " + kilncore::string::UTF16to8(item.name) + "\n";
  }
  EXPECT_EQ(run.out, expected);
}

TEST_F(TetherhostTest, ImportWritesTheFramesAContactSheetAndTheAudio) {
  const fs::path out = mFolder / "out";
  const Outcome run = Tetherhost("import " + Example("simple.marlp") + " --frames 0-2,24 --out '" + out.string() +
                             "' --audio '" + (out / "simple.wav").string() + "'");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("size:          1920 x 1080"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("frame rate:    25.000 fps"), std::string::npos) << run.out;
  for (const char* name : {"frame_00000.png", "frame_00001.png", "frame_00002.png", "frame_00024.png"}) {
    const tetherhost::RgbaImage frame = tetherhost::PngFile::Read(out / name);
    EXPECT_EQ(frame.width(), 1920) << name;
    EXPECT_EQ(frame.height(), 1080) << name;
  }
  EXPECT_FALSE(fs::exists(out / "frame_00003.png"));
  EXPECT_FALSE(tetherhost::PngFile::Read(out / "contact-sheet.png").empty());

  // The audio is the composition's, sample for sample.
  const auto wav = tetherhost::WavFile::Read(out / "simple.wav");
  ASSERT_EQ(wav.sampleRate, 48000);
  ASSERT_EQ(wav.channels.size(), 2u);
  ASSERT_EQ(wav.channels[0].size(), 480000u);
  auto project = tetherserver::Project::Open(kExamples / "simple.marlp");
  ASSERT_TRUE(project);
  const auto* composition = (*project)->FindComposition(kilncore::utility::Guid("5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01"));
  ASSERT_NE(composition, nullptr);
  size_t differing = 0;
  for (uint32_t channel = 0; channel < 2; ++channel) {
    for (int64_t sample = 0; sample < 480000; sample += 997) {
      const float expected = tetherserver::AudioSynthesizer::ExpectedSample(*composition, 48000, sample, channel);
      if (wav.channels[channel][static_cast<size_t>(sample)] != expected) ++differing;
    }
  }
  EXPECT_EQ(differing, 0u);
}

TEST_F(TetherhostTest, ImportAtASmallerSizeInFloatWritesFramesOfThatSize) {
  const fs::path out = mFolder / "out";
  const Outcome run = Tetherhost("import " + Example("simple.marlp") +
                             " --frames 10 --size 960x540 --format rgba32f --guides on --out '" + out.string() + "'");
  ASSERT_EQ(run.status, 0) << run.err;
  const tetherhost::RgbaImage frame = tetherhost::PngFile::Read(out / "frame_00010.png");
  EXPECT_EQ(frame.width(), 960);
  EXPECT_EQ(frame.height(), 540);
}

TEST_F(TetherhostTest, PlayingTwiceTakesTheSecondPassFromTheCache) {
  const Outcome run = Tetherhost("play " + Example("simple.marlp") + " --seconds 1 --loops 2 --unpaced");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("pass 1: 25 frames"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("pass 2: 25 frames"), std::string::npos) << run.out;
  const std::string second = run.out.substr(run.out.find("pass 2"));
  EXPECT_NE(second.find("cache 25 hits, 0 misses; 0 server renders"), std::string::npos) << run.out;
}

TEST_F(TetherhostTest, MissingFileIsOneLineWithTheFileMissingCode) {
  const Outcome run = Tetherhost("import '" + (mFolder / "absent.marlp").string() + "'");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("tetherhost: no such file:"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("0xA00F0003, file missing"), std::string::npos) << run.err;
}

TEST_F(TetherhostTest, ProjectThatIsNotJSONFailsWithoutAHang) {
  const fs::path bad = mFolder / "broken.marlp";
  std::ofstream(bad) << "{ this is not json";
  const Outcome run = Tetherhost("import '" + bad.string() + "'");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("no composition could be listed"), std::string::npos) << run.err;
}

TEST_F(TetherhostTest, UnknownItemNamesTheItemAndNothingToImport) {
  const Outcome run = Tetherhost("import " + Example("simple.marlp") + " --item 'No Such Comp'");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("no composition named 'No Such Comp'"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("0xA00F000E"), std::string::npos) << run.err;
}

TEST_F(TetherhostTest, ServerThatCannotBeReachedFailsWithAClearLine) {
  const Outcome run = Tetherhost("import " + Example("simple.marlp"),
                             "TETHER_SERVER_SOCKET='" + (mFolder / "no-server.sock").string() + "'");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("tetherhost: "), std::string::npos) << run.err;
}

size_t LineCount(const std::string& text) { return static_cast<size_t>(std::count(text.begin(), text.end(), '\n')); }

TEST_F(TetherhostTest, BadOptionsAreUsageErrorsOfOneLine) {
  for (const std::string& arguments :
       {"import " + Example("simple.marlp") + " --frames 5-2", "import " + Example("simple.marlp") + " --format yuv",
        "play " + Example("simple.marlp") + " --seconds 0", "play " + Example("simple.marlp") + " --seconds nan",
        "play " + Example("simple.marlp") + " --seconds inf", "play " + Example("simple.marlp") + " --seconds 1e19",
        "play " + Example("simple.marlp") + " --seconds abc", "play " + Example("simple.marlp") + " --loops 0",
        "play " + Example("simple.marlp") + " --prefetch -1", "list " + Example("simple.marlp") + " extra",
        std::string("frobnicate"), std::string("--log-level 11 list x"), std::string("")}) {
    const Outcome run = Tetherhost(arguments);
    EXPECT_EQ(run.status, 2) << arguments << ": " << run.err;
    EXPECT_EQ(LineCount(run.err), 1u) << arguments << ": " << run.err;
    EXPECT_EQ(run.err.rfind("tetherhost: ", 0), 0u) << run.err;
    EXPECT_EQ(run.out, "") << arguments;
  }
}

TEST_F(TetherhostTest, MistypedCommandSuggestsTheCommandMeant) {
  const Outcome run = Tetherhost("improt " + Example("simple.marlp"));
  EXPECT_EQ(run.status, 2);
  EXPECT_NE(run.err.find("unknown command 'improt' (did you mean 'import'?)"), std::string::npos) << run.err;
}

TEST_F(TetherhostTest, VersionAndHelpSucceed) {
  const Outcome version = Tetherhost("--version");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out.rfind("tetherhost ", 0), 0u) << version.out;
  const Outcome help = Tetherhost("play --help");
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("Exit status: 0"), std::string::npos) << help.out;
}

TEST_F(TetherhostTest, FailedImportIsOneLineWithoutTheInternalLogUnlessAsked) {
  const fs::path bad = mFolder / "broken.marlp";
  std::ofstream(bad) << "{ this is not json";
  const Outcome quiet = Tetherhost("import '" + bad.string() + "'");
  EXPECT_EQ(quiet.status, 1);
  EXPECT_EQ(LineCount(quiet.err), 1u) << quiet.err;
  EXPECT_EQ(quiet.err.find("[kilncore]"), std::string::npos) << quiet.err;

  const fs::path log = mFolder / "host.log";
  const Outcome logged = Tetherhost("import '" + bad.string() + "'", "TETHERHOST_LOG='" + log.string() + "'");
  EXPECT_EQ(logged.status, 1);
  EXPECT_EQ(LineCount(logged.err), 1u) << logged.err;
  EXPECT_NE(ReadAll(log).find("[kilncore] exception in"), std::string::npos) << ReadAll(log);

  const Outcome verbose = Tetherhost("-v import '" + bad.string() + "'");
  EXPECT_EQ(verbose.status, 1);
  EXPECT_NE(verbose.err.find("[kilncore] exception in"), std::string::npos) << verbose.err;
}

TEST_F(TetherhostTest, DemoSucceedsQuietly) {
  const Outcome run = Tetherhost("demo");
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_NE(run.out.find("code 'TTHM'"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("ended with 0xF3610008"), std::string::npos) << run.out;
}

TEST_F(TetherhostTest, NonSquareFramesStateTheirPixelAspectAndReadAsOneSequence) {
  const fs::path out = mFolder / "sd";
  const Outcome run =
      Tetherhost("import " + Example("nested.marlp") + " --item 'SD 720x480 29.97 lower field' --frames 0-9 --out '" +
                 out.string() + "'");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("pixel aspect 10:11, interlaced, lower field first"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("time display:  29.97 fps non-drop timecode"), std::string::npos) << run.out;
  const std::string frame = Probe("-show_entries stream=width,height,sample_aspect_ratio '" +
                                  (out / "frame_00000.png").string() + "'");
  EXPECT_NE(frame.find("width=720\nheight=480\n"), std::string::npos) << frame;
  // libpng reads the pHYs chunk as the PNG standard defines it (pixels per
  // unit across and down); ffmpeg reads its two numbers as a ratio the other
  // way round, so it shows the reciprocal. Either way the shape is stated.
  const tetherhost::PixelAspect aspect = tetherhost::PngFile::ReadPixelAspect(out / "frame_00000.png");
  EXPECT_EQ(aspect.numerator, 10);
  EXPECT_EQ(aspect.denominator, 11);
  EXPECT_NE(frame.find("sample_aspect_ratio=11:10"), std::string::npos) << frame;
  const std::string sequence = Probe("-f image2 -framerate 30000/1001 -count_frames -show_entries "
                                     "stream=nb_read_frames,r_frame_rate -i '" + (out / "frame_%05d.png").string() + "'");
  EXPECT_NE(sequence.find("r_frame_rate=30000/1001"), std::string::npos) << sequence;
  EXPECT_NE(sequence.find("nb_read_frames=10"), std::string::npos) << sequence;
  EXPECT_EQ(HiddenFiles(out), std::vector<std::string>());
}

TEST_F(TetherhostTest, SixChannelAudioCarriesItsLayout) {
  const fs::path out = mFolder / "main";
  const Outcome run = Tetherhost("import " + Example("nested.marlp") + " --item 'Main 1080p29.97 DF' --frames 0 --out '" +
                                 out.string() + "' --audio '" + (out / "main.wav").string() + "'");
  ASSERT_EQ(run.status, 0) << run.err;
  const std::string audio = Probe("-show_entries stream=sample_rate,channels,channel_layout,duration_ts '" +
                                  (out / "main.wav").string() + "'");
  EXPECT_NE(audio.find("sample_rate=48000"), std::string::npos) << audio;
  EXPECT_NE(audio.find("channels=6"), std::string::npos) << audio;
  EXPECT_NE(audio.find("channel_layout=5.1"), std::string::npos) << audio;
  // 30.03 s at 48 kHz: 900 frames at 30000/1001 fps.
  EXPECT_NE(audio.find("duration_ts=1441440"), std::string::npos) << audio;
  EXPECT_EQ(HiddenFiles(out), std::vector<std::string>());
}

// The lower third of the title is a blue box at low alpha over nothing: its
// straight colour is about (13, 26, 102); written premultiplied by mistake, it
// would read about (1, 1, 6), a dark fringe in every composite.
TEST_F(TetherhostTest, TransparentFramesAreWrittenWithStraightColour) {
  const fs::path out = mFolder / "title";
  const Outcome run = Tetherhost("import " + Example("title.marlgraphic") + " --frames 0 --out '" + out.string() + "'");
  ASSERT_EQ(run.status, 0) << run.err;
  const tetherhost::RgbaImage frame = tetherhost::PngFile::Read(out / "frame_00000.png");
  // Averaged over the faint part of the box, where 8 bits of premultiplied
  // colour leave a few steps of error in each straight pixel.
  double sum[3] = {0, 0, 0};
  int64_t count = 0;
  for (int32_t y = frame.height() * 2 / 3; y < frame.height(); ++y) {
    for (int32_t x = 0; x < frame.width(); ++x) {
      const uint8_t* pixel = frame.PixelAt(x, y);
      if (pixel[3] < 16 || pixel[3] > 31) continue;
      for (int c = 0; c < 3; ++c) sum[c] += pixel[c];
      ++count;
    }
  }
  ASSERT_GT(count, 1000);
  EXPECT_NEAR(sum[0] / count, 13, 4);
  EXPECT_NEAR(sum[1] / count, 26, 4);
  EXPECT_NEAR(sum[2] / count, 102, 4);
}

TEST_F(TetherhostTest, FloatFramesAreWrittenAtSixteenBits) {
  const fs::path out = mFolder / "float";
  const Outcome run = Tetherhost("import " + Example("title.marlgraphic") + " --frames 0 --format rgba32f --out '" +
                                 out.string() + "'");
  ASSERT_EQ(run.status, 0) << run.err;
  const std::string frame = Probe("-show_entries stream=pix_fmt,width '" + (out / "frame_00000.png").string() + "'");
  EXPECT_NE(frame.find("pix_fmt=rgba64be"), std::string::npos) << frame;
}

TEST_F(TetherhostTest, AudioOfAClipWithoutAudioFailsBeforeAnyFrameIsWritten) {
  const fs::path out = mFolder / "sd";
  const Outcome run = Tetherhost("import " + Example("nested.marlp") +
                                 " --item 'SD 720x480 29.97 lower field' --frames 0-2 --out '" + out.string() +
                                 "' --audio '" + (out / "sd.wav").string() + "'");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("the clip has no audio"), std::string::npos) << run.err;
  EXPECT_FALSE(fs::exists(out / "frame_00000.png"));
}

TEST_F(TetherhostTest, AudioOfYearsIsRefusedWithItsSizeUnlessAsked) {
  // The sample project made to last 10^8 frames: 46 days of stereo.
  std::string project = ReadAll(kExamples / "simple.marlp");
  const std::string duration = "\"durationFrames\": 250";
  ASSERT_NE(project.find(duration), std::string::npos);
  project.replace(project.find(duration), duration.size(), "\"durationFrames\": 100000000");
  const fs::path file = mFolder / "long.marlp";
  std::ofstream(file) << project;
  const fs::path out = mFolder / "long";
  const Outcome run = Tetherhost("import '" + file.string() + "' --frames 0 --out '" + out.string() + "' --audio '" +
                                 (out / "long.wav").string() + "'");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("the audio would take 1.4 TiB"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("--large-audio"), std::string::npos) << run.err;
  EXPECT_FALSE(fs::exists(out / "frame_00000.png"));
  EXPECT_FALSE(fs::exists(out / "long.wav"));
}

TEST_F(TetherhostTest, FramesOutsideTheClipNameTheValidRange) {
  for (const char* frames : {"245-260", "9999"}) {
    const Outcome run = Tetherhost("import " + Example("simple.marlp") + " --frames " + frames + " --out '" +
                                   (mFolder / "out").string() + "'");
    EXPECT_EQ(run.status, 2) << frames;
    EXPECT_NE(run.err.find("the clip has frames 0-249"), std::string::npos) << run.err;
    EXPECT_FALSE(fs::exists(mFolder / "out" / "frame_00245.png"));
  }
}

TEST_F(TetherhostTest, ProgressBarLineEndsBeforeTheReportResumes) {
  // On a terminal (script(1) gives it one), the bar is drawn on standard
  // error and the report on standard output; each report line starts a line.
  const fs::path out = mFolder / "tty";
  const std::string inner = "TETHER_SERVER_EXECUTABLE='" TETHER_TEST_SERVER_EXECUTABLE "' '" +
                            std::string(TETHER_TEST_TETHERHOST) + "' import " + Example("simple.marlp") +
                            " --frames 0-2 --out '" + out.string() + "'";
  const fs::path typescript = mFolder / "typescript.txt";
  const std::string command = "script -qec \"" + inner + "\" /dev/null >'" + typescript.string() + "' 2>&1";
  ASSERT_EQ(std::system(command.c_str()), 0) << ReadAll(typescript);
  const std::string shown = ReadAll(typescript);
  ASSERT_NE(shown.find("% Opening"), std::string::npos) << "no bar was drawn: " << shown;
  for (const char* line : {"item:", "duration:", "frames:"}) {
    const size_t at = shown.find(line);
    ASSERT_NE(at, std::string::npos) << line << " in " << shown;
    EXPECT_TRUE(at == 0 || shown[at - 1] == '\n') << line << " runs on from: " << shown.substr(0, at);
  }
}

TEST_F(TetherhostTest, MissingFontsAreInTheSummary) {
  const Outcome run = Tetherhost("import " + Example("title.marlgraphic") + " --frames 0 --out '" +
                                 (mFolder / "title").string() + "'");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("missing fonts: Veldmoor Sans Bold (VeldmoorSans-Bold.otf)\n"), std::string::npos) << run.out;
}

TEST_F(TetherhostTest, TetherhostOutIsTheDefaultFolderAndDashIsNoFolder) {
  const fs::path out = mFolder / "from-environment";
  const Outcome run = Tetherhost("import " + Example("simple.marlp") + " --frames 0", "TETHERHOST_OUT='" + out.string() + "'");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_TRUE(fs::exists(out / "frame_00000.png"));
  const Outcome dash = Tetherhost("import " + Example("simple.marlp") + " --frames 0 --out -");
  EXPECT_EQ(dash.status, 2);
  EXPECT_NE(dash.err.find("'-' (standard output) is not one"), std::string::npos) << dash.err;
}

TEST_F(TetherhostTest, CtrlCDuringPlayPrintsTheTotalsAndExits130) {
  const fs::path out = mFolder / "play.txt";
  const fs::path err = mFolder / "play-err.txt";
  const fs::path status = mFolder / "status.txt";
  // Started in the background, interrupted once it has said it plays; the
  // wait for that line is bounded so that a broken host can't hang the test.
  const std::string command =
      "TETHER_SERVER_EXECUTABLE='" TETHER_TEST_SERVER_EXECUTABLE "' '" + std::string(TETHER_TEST_TETHERHOST) +
      "' play " + Example("simple.marlp") + " --seconds 10 >'" + out.string() + "' 2>'" + err.string() +
      "' </dev/null & pid=$!; for i in $(seq 600); do grep -q '^playing' '" + out.string() +
      "' && break; sleep 0.05; done; kill -INT $pid; wait $pid; echo $? >'" + status.string() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(ReadAll(status), "130\n") << ReadAll(err);
  EXPECT_NE(ReadAll(out).find("pass 1: "), std::string::npos) << ReadAll(out);
  EXPECT_NE(ReadAll(err).find("tetherhost: interrupted during pass 1"), std::string::npos) << ReadAll(err);
}

// `tetherhost import ... | ffprobe -i -`, as a user pipes into ffmpeg.
std::string Piped(const std::string& tetherhost, const std::string& reader, const fs::path& folder) {
  const fs::path out = folder / "piped.txt";
  const fs::path err = folder / "piped-err.txt";
  const std::string command = "set -o pipefail; TETHER_SERVER_EXECUTABLE='" TETHER_TEST_SERVER_EXECUTABLE "' '" +
                              std::string(TETHER_TEST_TETHERHOST) + "' " + tetherhost + " 2>'" + err.string() +
                              "' </dev/null | " + reader + " >'" + out.string() + "' 2>&1";
  const int status = std::system(("bash -c \"" + command + "\"").c_str());
  EXPECT_EQ(status, 0) << command << "\n" << ReadAll(err) << ReadAll(out);
  return ReadAll(out) + ReadAll(err);
}

TEST_F(TetherhostTest, Y4mToStandardOutputStreamsEveryFrameAtTheClipsRate) {
  const std::string seen = Piped("import " + Example("simple.marlp") + " --frames 0-49 --y4m -",
                                 "ffprobe -v error -count_frames -show_entries stream=width,height,r_frame_rate,nb_read_frames "
                                 "-of default=noprint_wrappers=1 -i -",
                                 mFolder);
  EXPECT_NE(seen.find("width=1920\nheight=1080\n"), std::string::npos) << seen;
  EXPECT_NE(seen.find("r_frame_rate=25/1"), std::string::npos) << seen;
  EXPECT_NE(seen.find("nb_read_frames=50"), std::string::npos) << seen;
  // The report went to standard error, out of the stream's way.
  EXPECT_NE(seen.find("y4m:           50 frames at 25/1 fps to standard output"), std::string::npos) << seen;
}

TEST_F(TetherhostTest, RawToStandardOutputSaysHowToReadIt) {
  const std::string seen = Piped("import " + Example("simple.marlp") + " --frames 0-9 --size 320x180 --raw -",
                                 "ffprobe -v error -f rawvideo -pixel_format rgba -video_size 320x180 -framerate 25 "
                                 "-count_frames -show_entries stream=nb_read_frames -of default=noprint_wrappers=1 -i -",
                                 mFolder);
  EXPECT_NE(seen.find("nb_read_frames=10"), std::string::npos) << seen;
  EXPECT_NE(seen.find("-f rawvideo -pixel_format rgba -video_size 320x180 -framerate 25/1 -i -"), std::string::npos)
      << seen;
}

TEST_F(TetherhostTest, AudioToStandardOutputIsAStreamedWav) {
  // Kept as it came through the pipe, then read whole: every sample is there.
  Piped("import " + Example("nested.marlp") + " --item 'Main 1080p29.97 DF' --frames 0 --out '" +
            (mFolder / "main").string() + "' --audio -",
        "cat", mFolder);
  const fs::path wav = mFolder / "piped.txt";
  const std::string seen = Probe("-show_entries stream=sample_rate,channels,channel_layout,duration_ts '" + wav.string() + "'");
  EXPECT_NE(seen.find("sample_rate=48000\nchannels=6\nchannel_layout=5.1"), std::string::npos) << seen;
  EXPECT_NE(seen.find("duration_ts=1441440"), std::string::npos) << seen;
}

TEST_F(TetherhostTest, PngFramesComeWithTheFfmpegCommandThatMakesAMovie) {
  const fs::path out = mFolder / "seq";
  const Outcome run = Tetherhost("import " + Example("nested.marlp") +
                                 " --item 'SD 720x480 29.97 lower field' --frames 5-7 --out '" + out.string() + "'");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("as a movie:    ffmpeg -framerate 30000/1001 -start_number 5 -i '" +
                         (out / "frame_%05d.png").string() + "'"),
            std::string::npos)
      << run.out;
}

TEST_F(TetherhostTest, InfoAsJsonDescribesTheStreamsRateAndMissingFonts) {
  const Outcome run = Tetherhost("info " + Example("title.marlgraphic") + " --json");
  ASSERT_EQ(run.status, 0) << run.err;
  rapidjson::Document json;
  ASSERT_FALSE(json.Parse(run.out.c_str()).HasParseError()) << run.out;
  EXPECT_STREQ(json["id"].GetString(), "7D3F0B2A-1C4E-4F6A-8B9C-0D1E2F3A4B5C");
  EXPECT_EQ(json["frames"].GetInt64(), 150);
  EXPECT_DOUBLE_EQ(json["duration"].GetDouble(), 5.0);
  ASSERT_EQ(json["streams"].Size(), 2u);
  EXPECT_STREQ(json["streams"][0]["frame_rate"].GetString(), "30/1");
  EXPECT_STREQ(json["streams"][0]["field_order"].GetString(), "progressive");
  EXPECT_EQ(json["streams"][1]["channels"].GetInt(), 2);
  ASSERT_EQ(json["missing_fonts"].Size(), 1u);
  EXPECT_STREQ(json["missing_fonts"][0]["family"].GetString(), "Veldmoor Sans");
}

TEST_F(TetherhostTest, ListAsJsonHoldsEveryCompositionWithItsIdentifier) {
  const Outcome run = Tetherhost("list " + Example("nested.marlp") + " --json");
  ASSERT_EQ(run.status, 0) << run.err;
  rapidjson::Document json;
  ASSERT_FALSE(json.Parse(run.out.c_str()).HasParseError()) << run.out;
  auto project = tetherserver::Project::Open(kExamples / "nested.marlp");
  ASSERT_TRUE(project);
  const auto compositions = (*project)->ListCompositions();
  ASSERT_EQ(json.Size(), compositions.size());
  for (rapidjson::SizeType i = 0; i < json.Size(); ++i) {
    EXPECT_EQ(json[i]["id"].GetString(), compositions[i].id.AsUTF8String());
    EXPECT_EQ(json[i]["name"].GetString(), kilncore::string::UTF16to8(compositions[i].name));
    EXPECT_STREQ(json[i]["type"].GetString(), "composition");
  }
}

// A paced pass as a person watches it: preroll, audio on its own thread. How
// many frames were late and how many audio blocks underran depends on the
// machine, so the counts are recorded (in the test's XML report), not
// asserted; what is asserted is that a whole pass was played and counted.
TEST_F(TetherhostTest, PacedPlayCountsLateFramesAndUnderrunsOfAWholePass) {
  const Outcome run = Tetherhost("play " + Example("simple.marlp") + " --seconds 2");
  ASSERT_EQ(run.status, 0) << run.err;
  long long frames = -1, late = -1, blocks = -1, underruns = -1;
  const size_t at = run.out.find("pass 1: ");
  ASSERT_NE(at, std::string::npos) << run.out;
  ASSERT_EQ(std::sscanf(run.out.c_str() + at, "pass 1: %lld frames in %*f s, %*f fps delivered; cache %*d hits, "
                        "%*d misses; %*d server renders; %lld late frames; %lld audio blocks, %lld underruns",
                        &frames, &late, &blocks, &underruns),
            4)
      << run.out;
  EXPECT_EQ(frames, 50);
  // The blocks of 1024 samples at 48 kHz that start within the pass's 2 s.
  EXPECT_EQ(blocks, 94);
  EXPECT_LE(late, frames);
  EXPECT_LE(underruns, blocks);
  RecordProperty("late_frames", static_cast<int>(late));
  RecordProperty("audio_underruns", static_cast<int>(underruns));
}

// A host killed while writing leaves no short file under a frame's name: each
// is written under a hidden name and renamed when complete.
TEST_F(TetherhostTest, KilledImportLeavesOnlyWholeFrames) {
  const fs::path out = mFolder / "killed";
  const fs::path status = mFolder / "status.txt";
  const std::string command =
      "TETHER_SERVER_EXECUTABLE='" TETHER_TEST_SERVER_EXECUTABLE "' '" + std::string(TETHER_TEST_TETHERHOST) +
      "' import " + Example("simple.marlp") + " --frames 0-249 --out '" + out.string() +
      "' >/dev/null 2>&1 </dev/null & pid=$!; for i in $(seq 600); do [ -e '" + (out / "frame_00003.png").string() +
      "' ] && break; sleep 0.05; done; kill -KILL $pid; wait $pid; echo $? >'" + status.string() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0);
  EXPECT_EQ(ReadAll(status), "137\n");
  size_t frames = 0;
  for (const auto& entry : fs::directory_iterator(out)) {
    const std::string name = entry.path().filename();
    if (name.rfind("frame_", 0) != 0) continue;
    ++frames;
    EXPECT_NO_THROW(tetherhost::PngFile::Read(entry.path())) << name;
  }
  EXPECT_GE(frames, 4u);
  EXPECT_FALSE(fs::exists(out / "frame_00249.png"));
}

}  // namespace
