#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

// tetherhost, as a user runs it, with its server behind the fault proxy
// (tether-proxy-server): whatever the link loses, the host ends with status 1
// and one line that says what was lost, and never waits for the module's
// 24-hour limit.
namespace tether::ipctest {
namespace {

namespace fs = std::filesystem;

struct HostRun {
  int status = -1;
  std::vector<std::string> hostLines;  // stderr lines of tetherhost itself
};

// Runs `tetherhost <command>`, adding where an import writes when `outputs`.
HostRun RunHostWithFault(const std::string& fault, const std::string& command, bool outputs = true) {
  char pattern[] = "/tmp/tether-host-fault-XXXXXX";
  const fs::path folder = ::mkdtemp(pattern);
  const fs::path errors = folder / "stderr";
  const std::string line = "TETHER_SERVER_EXECUTABLE=" TETHER_TEST_PROXY_EXECUTABLE
                           " TETHER_PROXY_SERVER=" TETHER_TEST_SERVER_EXECUTABLE " TETHER_PROXY_FAULT=" +
                           fault + " " TETHER_TEST_HOST_EXECUTABLE " " + command +
                           (outputs ? " --out " + (folder / "out").string() + " --audio " +
                                          (folder / "out.wav").string()
                                    : std::string()) +
                           " >/dev/null 2>" + errors.string();
  HostRun run;
  const int status = std::system(line.c_str());
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  std::ifstream in(errors);
  for (std::string text; std::getline(in, text);) {
    if (text.rfind("tetherhost:", 0) == 0) {
      run.hostLines.push_back(text);
    }
  }
  fs::remove_all(folder);
  return run;
}


struct HostFault {
  std::string fault;
  std::string expected;  // a part of the one line
};

class IpcHostFaultTest : public ::testing::TestWithParam<HostFault> {};

TEST_P(IpcHostFaultTest, ImportEndsWithOneLineNamingTheLoss) {
  const std::string command = "import " TETHER_TEST_EXAMPLES_FOLDER "/simple.marlp --frames 0-2";
  HostRun run = RunHostWithFault(GetParam().fault, command);
  EXPECT_EQ(run.status, 1);
  ASSERT_EQ(run.hostLines.size(), 1u);
  EXPECT_NE(run.hostLines[0].find(GetParam().expected), std::string::npos) << run.hostLines[0];
}

TEST(IpcHostFaultTest, FrameLargerThanTheClientMapsEndsTheImportWithTheServersReason) {
  // A 16384 x 16384 composition in float: 4 GiB a frame, twice what the
  // client maps. The server refuses the renderer before allocating it.
  char pattern[] = "/tmp/tether-host-huge-XXXXXX";
  const fs::path folder = ::mkdtemp(pattern);
  std::ifstream sample(TETHER_TEST_EXAMPLES_FOLDER "/simple.marlp");
  std::stringstream text;
  text << sample.rdbuf();
  std::string project = text.str();
  for (const auto& [from, to] : {std::pair<std::string, std::string>{"\"width\": 1920", "\"width\": 16384"},
                                 {"\"height\": 1080", "\"height\": 16384"}}) {
    const size_t at = project.find(from);
    ASSERT_NE(at, std::string::npos);
    project.replace(at, from.size(), to);
  }
  std::ofstream((folder / "huge.marlp").string()) << project;
  HostRun run = RunHostWithFault("none:nothing:1", "import " + (folder / "huge.marlp").string() +
                                                       " --frames 0 --format rgba32f");
  fs::remove_all(folder);
  EXPECT_EQ(run.status, 1);
  ASSERT_EQ(run.hostLines.size(), 1u);
  EXPECT_NE(run.hostLines[0].find("a frame of 4096 MiB is larger than the 2048 MiB the client maps"),
            std::string::npos)
      << run.hostLines[0];
}

TEST(IpcHostFaultTest, PlayThatLosesItsServerEndsWithOneLineSayingHowToGoOn) {
  HostRun run = RunHostWithFault("kill:video-renderer.render:3",
                                 "play " TETHER_TEST_EXAMPLES_FOLDER "/simple.marlp --unpaced --seconds 1", false);
  EXPECT_EQ(run.status, 1);
  ASSERT_EQ(run.hostLines.size(), 1u);
  EXPECT_EQ(run.hostLines[0].rfind("tetherhost: lost the link's server: ", 0), 0u) << run.hostLines[0];
  const std::string hint = "; run the command again to start a new server";
  ASSERT_GE(run.hostLines[0].size(), hint.size());
  EXPECT_EQ(run.hostLines[0].substr(run.hostLines[0].size() - hint.size()), hint) << run.hostLines[0];
}

void PrintTo(const HostFault& fault, std::ostream* out) { *out << fault.fault; }

INSTANTIATE_TEST_SUITE_P(
    Faults, IpcHostFaultTest,
    ::testing::Values(HostFault{"kill:source.get-video-renderer:1", "lost the link's server"},
                      HostFault{"kill:video-renderer.render:2", "the server closed the connection"},
                      HostFault{"kill:server.open-project:1", "the server closed the connection"},
                      HostFault{"drop:source.get-video-renderer:1", "\"source.get-video-renderer\" request"},
                      HostFault{"drop:video-renderer.render:2", "lost on the way"},
                      HostFault{"kill:audio-renderer.render:3", "the server closed the connection"},
                      HostFault{"drop:audio-renderer.render:1", "lost on the way"},
                      HostFault{"drop:server.open-project:1", "lost on the way"},
                      HostFault{"drop:project.get-source:1", "lost on the way"}),
    [](const ::testing::TestParamInfo<HostFault>& info) {
      std::string name;
      for (char c : info.param.fault) {
        name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
      }
      return name;
    });

}  // namespace
}  // namespace tether::ipctest
