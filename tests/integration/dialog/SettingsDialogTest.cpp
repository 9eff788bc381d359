// `tetherhost settings` as a user meets it. With a display, the dialog is a
// GTK window on a virtual X server (Xvfb), worked with xdotool's keystrokes as
// a person would: choose "On" and press OK, or press Cancel. Without one, the
// scripted form (--set) works the same dialog, and a bare request says why it
// can't. Each run writes a frame whose stamp tells whether guide layers were
// drawn. A screenshot of the open dialog is kept in the build tree.

#include <host/output/PngFile.h>
#include <host/output/RgbaImage.h>
#include <server/render/FrameStamp.h>

#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace {

namespace fs = std::filesystem;

const fs::path kExamples = TETHER_TEST_EXAMPLES_FOLDER;
const fs::path kArtefacts = TETHER_TEST_ARTEFACTS_FOLDER;
constexpr const char* kDialogTitle = "Marl Composition Render Settings";

std::string ReadAll(const fs::path& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

bool HaveProgram(const std::string& name) {
  return std::system(("command -v '" + name + "' >/dev/null 2>&1").c_str()) == 0;
}

// A child process running `command` through the shell.
pid_t SpawnShell(const std::string& command) {
  const char* argv[] = {"/bin/sh", "-c", command.c_str(), nullptr};
  pid_t pid = -1;
  if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, const_cast<char**>(argv), environ) != 0) return -1;
  return pid;
}

int WaitForExit(pid_t pid) {
  int raw = 0;
  if (waitpid(pid, &raw, 0) != pid) return -1;
  return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
}

// A virtual X server on a display number it picks itself, for one test.
class VirtualDisplay {
 public:
  // Starts Xvfb; on failure the reason is in GetFailure().
  VirtualDisplay() {
    if (!HaveProgram("Xvfb")) {
      mFailure = "Xvfb is not installed";
      return;
    }
    int pipeFds[2];
    if (pipe(pipeFds) != 0) {
      mFailure = "no pipe for Xvfb";
      return;
    }
    const std::string fd = std::to_string(pipeFds[1]);
    const char* argv[] = {"Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "800x600x24", "-nolisten", "tcp", nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addclose(&actions, pipeFds[0]);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    const int spawned = posix_spawnp(&mPid, "Xvfb", &actions, nullptr, const_cast<char**>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(pipeFds[1]);
    if (spawned != 0) mPid = -1;
    mDisplay = spawned == 0 ? ReadDisplayNumber(pipeFds[0]) : "";
    close(pipeFds[0]);
    if (mDisplay.empty()) mFailure = "Xvfb did not start a display";
  }
  ~VirtualDisplay() {
    if (mPid > 0) {
      kill(mPid, SIGTERM);
      WaitForExit(mPid);
    }
  }

  const std::string& GetFailure() const { return mFailure; }
  // ":N"
  const std::string& GetDisplay() const { return mDisplay; }

 private:
  // Xvfb writes its display number to the pipe once it takes connections.
  static std::string ReadDisplayNumber(int fd) {
    std::string number;
    pollfd wait{fd, POLLIN, 0};
    constexpr int kStartLimitMs = 20000;
    while (poll(&wait, 1, kStartLimitMs) == 1) {
      char c = 0;
      if (read(fd, &c, 1) != 1 || c == '\n') break;
      number += c;
    }
    return number.empty() ? "" : ":" + number;
  }

  pid_t mPid = -1;
  std::string mDisplay;
  std::string mFailure;
};

// Whether the server drew the guide layers of a written frame, from its stamp.
// The picture file holds straight colour, so the stamp's colour bytes don't
// survive the host's division by alpha; its flags byte (byte 7 of the stamp)
// is the alpha of the second pixel, which the division leaves as it was.
std::optional<bool> GuideLayersDrawnIn(const fs::path& picture) {
  const tetherhost::RgbaImage image = tetherhost::PngFile::Read(picture);
  if (image.width() < static_cast<int32_t>(tetherserver::FrameStamp::kPixels)) return std::nullopt;
  constexpr size_t kFlagsByte = 7;
  return (image.bytes()[kFlagsByte] & tetherserver::FrameStamp::kFlagGuideLayers) != 0;
}

struct Outcome {
  int status = -1;
  std::string out;
  std::string err;
};

class SettingsDialogTest : public ::testing::Test {
 protected:
  SettingsDialogTest()
      : mFolder(fs::temp_directory_path() / ("tetherhost-settings-" + kilncore::utility::Guid::CreateUnique().AsUTF8String())) {
    fs::create_directories(mFolder);
  }
  ~SettingsDialogTest() override {
    std::error_code ignored;
    fs::remove_all(mFolder, ignored);
  }

  // The command line of `tetherhost settings` on the sample project, with its
  // output in this test's folder.
  std::string SettingsCommand(const std::string& arguments, const std::string& environment) const {
    return environment + " TETHER_SERVER_EXECUTABLE='" TETHER_TEST_SERVER_EXECUTABLE "' exec '" TETHER_TEST_TETHERHOST
           "' settings '" + (kExamples / "simple.marlp").string() + "' --out '" + (mFolder / "out").string() + "' " +
           arguments + " >'" + (mFolder / "stdout.txt").string() + "' 2>'" + (mFolder / "stderr.txt").string() +
           "' </dev/null";
  }

  Outcome Collect(int status) const {
    return {status, ReadAll(mFolder / "stdout.txt"), ReadAll(mFolder / "stderr.txt")};
  }

  Outcome Run(const std::string& arguments, const std::string& environment = "unset DISPLAY;") const {
    return Collect(WaitForExit(SpawnShell(SettingsCommand(arguments, environment))));
  }

  // Runs the command on `display`, waits for the dialog's window, and works it
  // with `keys` (xdotool key names). `screenshot`, if given, receives a picture
  // of the window before the keys are pressed.
  Outcome RunInWindow(const VirtualDisplay& display, const std::string& keys, const fs::path& screenshot = {}) {
    const std::string x = "DISPLAY='" + display.GetDisplay() + "' ";
    // Under the sanitizers, what GTK's font library keeps until exit isn't a
    // leak, and hand-overs inside GTK's libraries aren't races (the
    // suppression files say why).
    const std::string sanitizers =
        "LSAN_OPTIONS=\"${LSAN_OPTIONS:+$LSAN_OPTIONS:}suppressions=" TETHER_TEST_DIALOG_FOLDER
        "/gtk-leaks.supp:print_suppressions=0\" TSAN_OPTIONS=\"${TSAN_OPTIONS:+$TSAN_OPTIONS:}suppressions="
        TETHER_TEST_DIALOG_FOLDER "/gtk-races.supp:print_suppressions=0\" ";
    const pid_t host = SpawnShell(SettingsCommand("", x + sanitizers + "NO_AT_BRIDGE=1 GDK_BACKEND=x11"));
    EXPECT_GT(host, 0);
    const fs::path window = mFolder / "window.txt";
    const int found = std::system((x + "timeout 30 xdotool search --sync --name '" + kDialogTitle +
                                   "' 2>/dev/null | head -n 1 >'" + window.string() + "'").c_str());
    const std::string id = ReadAll(window).substr(0, ReadAll(window).find('\n'));
    if (found != 0 || id.empty()) {
      kill(host, SIGTERM);
      ADD_FAILURE() << "the dialog did not open";
      return Collect(WaitForExit(host));
    }
    EXPECT_EQ(std::system((x + "xdotool windowfocus --sync " + id).c_str()), 0);
    if (!screenshot.empty()) {
      fs::create_directories(screenshot.parent_path());
      EXPECT_EQ(std::system((x + "xwd -silent -id " + id + " | xwdtopnm 2>/dev/null | pnmtopng >'" +
                             screenshot.string() + "'").c_str()),
                0);
    }
    EXPECT_EQ(std::system((x + "xdotool key --delay 50 " + keys).c_str()), 0);
    return Collect(WaitForExit(host));
  }

  fs::path Frame() const { return mFolder / "out" / "frame_00000.png"; }

  fs::path mFolder;
};

#define SKIP_WITHOUT_X(display)                                                                       \
  if (!(display).GetFailure().empty()) GTEST_SKIP() << "no X server can be started: " << (display).GetFailure(); \
  if (!HaveProgram("xdotool") || !HaveProgram("xwd") || !HaveProgram("pnmtopng"))                     \
  GTEST_SKIP() << "xdotool, xwd or netpbm is not installed"

TEST_F(SettingsDialogTest, ChoosingOnAndPressingOkRewritesTheBlobAndDrawsTheGuides) {
  VirtualDisplay display;
  SKIP_WITHOUT_X(display);
  // The popup has the focus: Down chooses "On"; Tab, Tab reach OK.
  const fs::path screenshot = kArtefacts / "settings-dialog.png";
  const Outcome run = RunInWindow(display, "Down Tab Tab space", screenshot);
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("settings:      OK, guide layers on"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("prefs:         5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01 {"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("\"renderguidelayers\":true"), std::string::npos) << run.out;
  const auto guides = GuideLayersDrawnIn(Frame());
  ASSERT_TRUE(guides);
  EXPECT_TRUE(*guides);

  // The dialog as the user saw it, kept for people to look at.
  const tetherhost::RgbaImage picture = tetherhost::PngFile::Read(screenshot);
  EXPECT_GT(picture.width(), 200);
  EXPECT_GT(picture.height(), 60);
}

TEST_F(SettingsDialogTest, ChoosingOnAndPressingCancelKeepsTheGuidesOff) {
  VirtualDisplay display;
  SKIP_WITHOUT_X(display);
  // Down chooses "On"; Tab reaches Cancel.
  const Outcome run = RunInWindow(display, "Down Tab space");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_NE(run.out.find("settings:      cancelled, guide layers off"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("\"renderguidelayers\":false"), std::string::npos) << run.out;
  const auto guides = GuideLayersDrawnIn(Frame());
  ASSERT_TRUE(guides);
  EXPECT_FALSE(*guides);
}

TEST_F(SettingsDialogTest, ScriptedFormSetsTheGuidesWithoutAWindow) {
  for (const bool guides : {true, false}) {
    const Outcome run = Run(guides ? "--set guides=on" : "--set guides=off");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find(guides ? "settings:      OK, guide layers on" : "settings:      OK, guide layers off"),
              std::string::npos)
        << run.out;
    const auto drawn = GuideLayersDrawnIn(Frame());
    ASSERT_TRUE(drawn);
    EXPECT_EQ(*drawn, guides);
  }
}

TEST_F(SettingsDialogTest, WithoutADisplayTheUserIsToldWhyAndHowElse) {
  const Outcome run = Run("");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.err,
            "tetherhost: no display to show the settings dialog on (is DISPLAY set?); use --set guides=on or "
            "--set guides=off to change the settings without one\n");
  EXPECT_FALSE(fs::exists(Frame()));
}

TEST_F(SettingsDialogTest, BadSettingIsAUsageError) {
  const Outcome run = Run("--set colour=red");
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err,
            "tetherhost: --set takes guides=on or guides=off, not 'colour=red' (see 'tetherhost settings --help')\n");
}

}  // namespace
