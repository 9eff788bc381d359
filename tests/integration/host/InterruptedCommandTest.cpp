// Ctrl-C in tetherhost while its server is slow at something: the host
// cancels what it waits for (the import through CancelImport, the frames
// through CancelPendingRequests, the listing of compositions through
// termination) and exits at once with status 130 and one line saying what was
// done, instead of waiting for a server that may take hours.
//
// The server is slow on purpose: it sits behind the fault proxy, which holds
// one request ("hold:OP:N") and lists it as held in every pong, so the link
// waits without taking it for lost. The proxy writes its report file when it
// holds the request: that is the moment SIGINT goes to the host.

#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;

const std::string kExamples = TETHER_TEST_EXAMPLES_FOLDER;

// Far longer than a cancelled wait takes, far shorter than the waits it
// replaces (the held request is never answered).
constexpr std::chrono::seconds kBound{30};

std::string ReadAll(const fs::path& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

struct Outcome {
  int status = -1;  // -1: it didn't end within the bound (and was killed)
  std::string out;
  std::string err;
};

class InterruptedCommandTest : public ::testing::Test {
 protected:
  InterruptedCommandTest()
      : mFolder(fs::temp_directory_path() /
                ("tetherhost-ctrlc-" + kilncore::utility::Guid::CreateUnique().AsUTF8String())) {
    fs::create_directories(mFolder);
  }
  ~InterruptedCommandTest() override {
    std::error_code ignored;
    fs::remove_all(mFolder, ignored);
  }

  // Runs `tetherhost <arguments>` with its server holding request `held`
  // ("OP:N"), sends it SIGINT once the proxy holds that request, and collects
  // how it ended.
  Outcome InterruptWhileHeld(const std::string& held, std::vector<std::string> arguments) {
    const fs::path report = mFolder / "held";
    std::vector<std::string> environment = {"TETHER_SERVER_EXECUTABLE=" TETHER_TEST_PROXY_EXECUTABLE,
                                            "TETHER_PROXY_SERVER=" TETHER_TEST_SERVER_EXECUTABLE,
                                            "TETHER_PROXY_FAULT=hold:" + held,
                                            "TETHER_PROXY_REPORT=" + report.string()};
    for (char** variable = environ; *variable; ++variable) {
      if (std::string(*variable).rfind("TETHER", 0) != 0) environment.emplace_back(*variable);
    }
    arguments.insert(arguments.begin(), TETHER_TEST_TETHERHOST);
    const pid_t host = Spawn(arguments, environment);
    Outcome outcome;
    if (host <= 0) return outcome;
    if (!WaitFor([&] { return fs::exists(report); })) {
      ADD_FAILURE() << "the server was never asked for " << held;
    } else {
      EXPECT_EQ(kill(host, SIGINT), 0);
    }
    outcome.status = ExitStatusWithinBound(host);
    outcome.out = ReadAll(mFolder / "out.txt");
    outcome.err = ReadAll(mFolder / "err.txt");
    return outcome;
  }

  // The files left in `folder`, by name.
  static std::vector<std::string> FilesIn(const fs::path& folder) {
    std::vector<std::string> names;
    if (!fs::exists(folder)) return names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }

  const fs::path mFolder;

 private:
  pid_t Spawn(std::vector<std::string>& arguments, std::vector<std::string>& environment) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, (mFolder / "out.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, (mFolder / "err.txt").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<char*> argv;
    for (auto& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (auto& variable : environment) envp.push_back(variable.data());
    envp.push_back(nullptr);
    pid_t pid = -1;
    EXPECT_EQ(posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), envp.data()), 0);
    posix_spawn_file_actions_destroy(&actions);
    return pid;
  }

  // Polls `condition` (a file the proxy writes) until it holds or the bound
  // passes.
  template <class Condition>
  static bool WaitFor(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + kBound;
    while (!condition()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
  }

  // The exit status of `pid` if it ends within the bound; -1 (after killing
  // it) otherwise.
  static int ExitStatusWithinBound(pid_t pid) {
    int raw = 0;
    if (!WaitFor([&] { return waitpid(pid, &raw, WNOHANG) == pid; })) {
      kill(pid, SIGKILL);
      waitpid(pid, &raw, 0);
      return -1;
    }
    return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  }
};

TEST_F(InterruptedCommandTest, CtrlCWhileTheServerOpensTheItemCancelsTheImportAndExits130) {
  // The first open lists the project's compositions; the second is the
  // import's own, which the module waits for by path and item.
  const fs::path out = mFolder / "frames";
  const Outcome run = InterruptWhileHeld("server.open-project:2",
                                         {"import", kExamples + "/simple.marlp", "--out", out.string()});
  EXPECT_EQ(run.status, 130) << run.err;
  const std::vector<std::string> lines = Lines(run.err);
  ASSERT_EQ(lines.size(), 1u) << run.err;
  EXPECT_EQ(lines[0], "tetherhost: interrupted while the server opened " + kExamples +
                          "/simple.marlp; the import was cancelled");
  EXPECT_FALSE(fs::exists(out)) << "an output folder was made for an import that never came";
}

TEST_F(InterruptedCommandTest, CtrlCWhileTheCompositionsAreListedExits130) {
  const fs::path out = mFolder / "frames";
  const Outcome run = InterruptWhileHeld("server.open-project:1",
                                         {"import", kExamples + "/simple.marlp", "--out", out.string()});
  EXPECT_EQ(run.status, 130) << run.err;
  const std::vector<std::string> lines = Lines(run.err);
  ASSERT_EQ(lines.size(), 1u) << run.err;
  EXPECT_EQ(lines[0], "tetherhost: interrupted while the server listed the compositions of " + kExamples +
                          "/simple.marlp; nothing was imported");
  EXPECT_FALSE(fs::exists(out));
}

TEST_F(InterruptedCommandTest, CtrlCWhileAFrameRendersKeepsTheWholeFramesBeforeItAndExits130) {
  // Frames are asked for one at a time: the second render is frame 1's.
  const fs::path out = mFolder / "frames";
  const Outcome run = InterruptWhileHeld(
      "video-renderer.render:2", {"import", kExamples + "/simple.marlp", "--frames", "0-3", "--out", out.string()});
  EXPECT_EQ(run.status, 130) << run.err;
  const std::vector<std::string> lines = Lines(run.err);
  ASSERT_EQ(lines.size(), 1u) << run.err;
  EXPECT_EQ(lines[0], "tetherhost: interrupted after 1 frames");
  EXPECT_NE(run.out.find("frames:        1 PNG files"), std::string::npos) << run.out;
  // Only whole files under their own names: no frame 1, no temporary.
  EXPECT_EQ(FilesIn(out), (std::vector<std::string>{"contact-sheet.png", "frame_00000.png"}));
}

TEST_F(InterruptedCommandTest, CtrlCDuringPlayPrintsThePassTotalsAndExits130) {
  const Outcome run = InterruptWhileHeld(
      "video-renderer.render:3", {"play", kExamples + "/simple.marlp", "--unpaced", "--prefetch", "0"});
  EXPECT_EQ(run.status, 130) << run.err;
  const std::vector<std::string> lines = Lines(run.err);
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(), "tetherhost: interrupted during pass 1") << run.err;
  EXPECT_NE(run.out.find("pass 1: 2 frames in"), std::string::npos) << run.out;
}

}  // namespace
