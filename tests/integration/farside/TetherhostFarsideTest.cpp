// Remote assets as a user meets them: tetherhost lists and imports assets of
// the reference Farside service (a process of its own, on loopback), through
// the module and the reference server, which fetches each asset's project file
// from the service.

#include <host/output/PngFile.h>

#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;

const fs::path kExamples = TETHER_TEST_EXAMPLES_FOLDER;
constexpr char kToken[] = "integration-token";

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

std::string ReadAll(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// farside-service as a child process, its log read line by line.
class ServiceProcess {
 public:
  explicit ServiceProcess(std::vector<std::string> extra) {
    std::vector<std::string> arguments{TETHER_TEST_FARSIDE_SERVICE, "--root", (kExamples / "farside").string(),
                                       "--port", "0"};
    arguments.insert(arguments.end(), extra.begin(), extra.end());
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    int pipeFds[2];
    if (pipe(pipeFds) != 0) throw std::runtime_error("pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipeFds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    if (posix_spawn(&mPid, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
      throw std::runtime_error("cannot start farside-service");
    }
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    mLog = fdopen(pipeFds[0], "r");
    const std::string first = ReadLine();
    const std::string prefix = "listening on ";
    if (first.rfind(prefix, 0) != 0) throw std::runtime_error("farside-service said: " + first);
    mAddress = first.substr(prefix.size());
  }

  ~ServiceProcess() {
    Kill();
    if (mLog != nullptr) fclose(mLog);
  }

  const std::string& Address() const { return mAddress; }

  // The next line of the log, without its end; empty at its end.
  std::string ReadLine() {
    char* line = nullptr;
    size_t capacity = 0;
    const ssize_t length = getline(&line, &capacity, mLog);
    std::string text = length > 0 ? std::string(line, static_cast<size_t>(length)) : std::string();
    free(line);
    if (!text.empty() && text.back() == '\n') text.pop_back();
    mSeen += text + "\n";
    return text;
  }

  // Reads the log until a line contains `text`; false at its end.
  bool WaitForLine(const std::string& text) {
    for (std::string line = ReadLine(); !line.empty(); line = ReadLine()) {
      if (line.find(text) != std::string::npos) return true;
    }
    return false;
  }

  void Kill() {
    if (mPid <= 0) return;
    kill(mPid, SIGKILL);
    waitpid(mPid, nullptr, 0);
    mPid = -1;
  }

  const std::string& Seen() const { return mSeen; }

 private:
  pid_t mPid = -1;
  FILE* mLog = nullptr;
  std::string mAddress;
  std::string mSeen;
};

class TetherhostFarsideTest : public ::testing::Test {
 protected:
  TetherhostFarsideTest()
      : mFolder(fs::temp_directory_path() /
                ("farside-import-test-" + kilncore::utility::Guid::CreateUnique().AsUTF8String())) {
    fs::create_directories(mFolder);
  }
  ~TetherhostFarsideTest() override {
    std::error_code ignored;
    fs::remove_all(mFolder, ignored);
  }

  void StartService(std::vector<std::string> extra = {}) {
    extra.insert(extra.end(), {"--token", kToken});
    mService = std::make_unique<ServiceProcess>(std::move(extra));
  }

  // Runs tetherhost with `arguments` (quoted for the shell), logged in to the
  // service with `token`, with a cache folder of this test's own.
  Outcome Tetherhost(const std::string& arguments, const std::string& token = kToken,
                     const std::string& environment = {}) {
    const fs::path out = mFolder / "stdout.txt";
    const fs::path err = mFolder / "stderr.txt";
    const std::string command =
        environment + " TETHER_SERVER_CACHE='" + (mFolder / "cache").string() + "' TETHERHOST_FARSIDE_URL='" + mService->Address() +
        "' TETHERHOST_FARSIDE_TOKEN='" + token + "' TETHER_SERVER_EXECUTABLE='" TETHER_TEST_SERVER_EXECUTABLE "' '" +
        std::string(TETHER_TEST_TETHERHOST) + "' " + arguments + " >'" + out.string() + "' 2>'" + err.string() +
        "' </dev/null";
    const int raw = std::system(command.c_str());
    Outcome run;
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = ReadAll(out);
    run.err = ReadAll(err);
    return run;
  }

  std::string Out(const std::string& name) const { return "--out '" + (mFolder / name).string() + "'"; }

  static std::string Quoted(const std::string& text) { return "'" + text + "'"; }

  fs::path mFolder;
  std::unique_ptr<ServiceProcess> mService;
};

constexpr char kTitlesLink[] = R"({"production":"Trailer","mediaPath":"/Shots/Titles","version":"2","asset":"Titles"})";
constexpr char kEditLink[] = R"({"production":"Trailer","mediaPath":"/Edits/Promo","version":"2","asset":"Edit"})";

TEST_F(TetherhostFarsideTest, ListShowsTheProductionsAssetsWithTheirFamiliesAndLinks) {
  StartService();
  const Outcome run = Tetherhost("list farside:Trailer --json");
  ASSERT_EQ(run.status, 0) << run.err;
  rapidjson::Document listing;
  listing.Parse(run.out.c_str());
  ASSERT_TRUE(listing.IsArray()) << run.out;
  ASSERT_EQ(listing.Size(), 2u);
  EXPECT_STREQ(listing[0]["asset"].GetString(), "Titles");
  EXPECT_STREQ(listing[0]["family"].GetString(), "marl");
  EXPECT_STREQ(listing[0]["linkedAsset"].GetString(), kTitlesLink);
  EXPECT_STREQ(listing[1]["asset"].GetString(), "Edit");
  EXPECT_STREQ(listing[1]["family"].GetString(), "host-project");
  EXPECT_STREQ(listing[1]["linkedAsset"].GetString(), kEditLink);
  EXPECT_STREQ(listing[1]["assetName"].GetString(), R"({"production":"Trailer","version":"2","asset":"Edit"})");
  EXPECT_EQ(Tetherhost("list farside:Trailer@1").out.find("Edit"), std::string::npos);
}

TEST_F(TetherhostFarsideTest, AMarlAssetByNameRendersItsCompositionsFrames) {
  StartService();
  const Outcome run = Tetherhost("import farside:Trailer --item Titles --frames 0,12 " + Out("remote"));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("item:          Simple 1080p25/Titles (Trailer @2)"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("size:          1920 x 1080"), std::string::npos) << run.out;
  // The asset is the sample project: its frames are those of the local file.
  const Outcome local = Tetherhost("import '" + (kExamples / "simple.marlp").string() + "' --frames 0,12 " + Out("local"));
  ASSERT_EQ(local.status, 0) << local.err;
  for (const char* frame : {"frame_00000.png", "frame_00012.png"}) {
    const auto remote = tetherhost::PngFile::Read(mFolder / "remote" / frame);
    const auto expected = tetherhost::PngFile::Read(mFolder / "local" / frame);
    ASSERT_EQ(remote.width(), 1920) << frame;
    // Beyond the frame stamp (the first 16 pixels of the top row, which hold
    // the hash of the clip's render options), the picture is the file's.
    const size_t stampBytes = 16 * 4;
    ASSERT_EQ(remote.bytes().size(), expected.bytes().size());
    EXPECT_TRUE(std::equal(remote.bytes().begin() + stampBytes, remote.bytes().end(),
                           expected.bytes().begin() + stampBytes))
        << frame;
  }
}

TEST_F(TetherhostFarsideTest, AHostProjectAssetByNameRendersItsSequence) {
  StartService();
  const Outcome run = Tetherhost("import " + Quoted(R"({"production":"Trailer","version":"2","asset":"Edit"})") +
                                 " --frames 0 " + Out("edit"));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("item:          Promo 720p/Edit (Trailer @2)"), std::string::npos) << run.out;
  EXPECT_EQ(tetherhost::PngFile::Read(mFolder / "edit" / "frame_00000.png").width(), 1280);
}

TEST_F(TetherhostFarsideTest, EachFamilyImportsByItsLinkedAssetText) {
  StartService();
  const Outcome titles = Tetherhost("import " + Quoted(kTitlesLink) + " --frames 0 " + Out("titles"));
  ASSERT_EQ(titles.status, 0) << titles.err;
  EXPECT_NE(titles.out.find("size:          1920 x 1080"), std::string::npos) << titles.out;
  const Outcome edit = Tetherhost("import " + Quoted(kEditLink) + " --frames 0 " + Out("edit"));
  ASSERT_EQ(edit.status, 0) << edit.err;
  EXPECT_NE(edit.out.find("size:          1280 x 720"), std::string::npos) << edit.out;
}

TEST_F(TetherhostFarsideTest, ALinkToARenamedProductionIsLocatedByTheService) {
  StartService();
  const Outcome run = Tetherhost(
      "import " + Quoted(R"({"production":"Trailer draft","mediaPath":"/Edits/Promo","version":"2","asset":"Edit"})") +
      " --frames 0 " + Out("moved"));
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("size:          1280 x 720"), std::string::npos) << run.out;
}

TEST_F(TetherhostFarsideTest, AnAssetNameNamingNothingFailsWithTheServicesReason) {
  StartService();
  const Outcome run = Tetherhost("import farside:Trailer --item Credits " + Out("none"));
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("HTTP 404: no asset named 'Credits' in production 'Trailer'"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("0xA00F000E"), std::string::npos) << run.err;
}

TEST_F(TetherhostFarsideTest, ARefusedTokenFailsWithTheServicesReason) {
  StartService();
  const Outcome run = Tetherhost("import farside:Trailer --item Titles " + Out("refused"), "not-the-token");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("HTTP 401: the token is not known"), std::string::npos) << run.err;
  EXPECT_EQ(mService->Seen().find("not-the-token"), std::string::npos);
}

TEST_F(TetherhostFarsideTest, AnExpiredTokenFailsAsExpired) {
  const fs::path tokens = mFolder / "tokens.txt";
  std::ofstream(tokens) << "old expired-token 1000000000\n";
  StartService({"--tokens", tokens.string()});
  const Outcome run = Tetherhost("list farside:Trailer", "expired-token");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("HTTP 401: the token has expired"), std::string::npos) << run.err;
}

TEST_F(TetherhostFarsideTest, AServiceThatIsDownIsSaidSo) {
  StartService();
  mService->Kill();
  const Outcome run = Tetherhost("list farside:Trailer");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("did not answer"), std::string::npos) << run.err;
}

TEST_F(TetherhostFarsideTest, AServiceKilledDuringTheAssetsDownloadEndsTheImportWithItsReason) {
  StartService({"--stall-file-after", "100"});
  Outcome run;
  std::thread import([&] { run = Tetherhost("import farside:Trailer --item Titles --frames 0 " + Out("killed")); });
  // The server is fetching the asset's file; the service dies mid-way.
  const bool stalled = mService->WaitForLine("stalled after 100 bytes");
  mService->Kill();
  import.join();
  ASSERT_TRUE(stalled) << mService->Seen();
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("0xA00703E9"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("Farside service at " + mService->Address() + " did not answer"), std::string::npos)
      << run.err;
  EXPECT_FALSE(fs::exists(mFolder / "killed" / "frame_00000.png"));
  // Nothing half-fetched is left to be taken for the asset later.
  if (fs::exists(mFolder / "cache")) {
    for (const auto& entry : fs::recursive_directory_iterator(mFolder / "cache")) {
      EXPECT_FALSE(entry.is_regular_file()) << entry.path();
    }
  }
}

TEST_F(TetherhostFarsideTest, AServiceTooSlowToSendTheAssetEndsTheImportAndServesOthersStill) {
  StartService({"--stall-file-after", "100"});
  // The link server inherits the shorter wait from tetherhost's environment.
  const Outcome run = Tetherhost("import farside:Trailer --item Titles --frames 0 " + Out("slow"), kToken,
                                 "FARSIDE_READ_TIMEOUT_MS=500");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.err.find("0xA00703E9"), std::string::npos) << run.err;
  EXPECT_NE(run.err.find("did not answer"), std::string::npos) << run.err;
  const Outcome list = Tetherhost("list farside:Trailer");
  EXPECT_EQ(list.status, 0) << list.err;
}

}  // namespace
