// A server that dies under the host: an import or a blocking render in flight
// ends at once with a failure code, and the next import starts a fresh server.

#include "ModuleRoadTest.h"

#include <kilnmediatypes/PixelFormat.h>
#include <kilncore/string/UTFConversion.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <future>

namespace TetherMedia::integration {
namespace {

using Clock = std::chrono::steady_clock;
using kilnmediatypes::TickTime;

// Well under a second on any machine; the margin keeps busy CI machines green.
constexpr auto kPromptly = std::chrono::seconds(2);
// An item whose connection ended before its stream object came.
constexpr int32_t kNoLinkedSource = static_cast<int32_t>(0xA00703E9);
// A blocking render whose request failed with the link's (positive) status.
constexpr int32_t kRenderFailed = static_cast<int32_t>(0xA00F0001);

class ServerLossTest : public ModuleRoadTest {
 protected:
  // A clip of the simple sample from a copy of its own, with a frame pulled
  // through it: the link works after a loss.
  void ExpectAFreshServerServesTheNextImport(pid_t lostServer) {
    const HostClip clip(mExamples.SecondCopy(kSimpleProject), kSimpleComposition);
    ASSERT_EQ(clip.ImportResult(), 0);
    EXPECT_GT(mServer.ServerProcessId(), 0);
    EXPECT_NE(mServer.ServerProcessId(), lostServer);
    const RL::FrameFormat format = clip.Select(TickTime(0), WantedFormat(kilnmediatypes::kPixelFormat_BGRA_4444_8u));
    KL::IVideoSource::Frame frame;
    ASSERT_EQ(GetFrameAsTheHostDoes(clip, TickTime(0), format, frame), 0);
    EXPECT_TRUE(StampOf(frame));
  }
};

// A project file that is a named pipe: the server that opens it to read the
// project blocks until a writer comes, and the writer's open returns only once
// the server is reading. So an import of it is known to be in flight inside the
// server, with nothing timed.
class BlockingProjectFile {
 public:
  explicit BlockingProjectFile(const std::filesystem::path& path) : mPath(path) {
    EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0);
  }
  ~BlockingProjectFile() {
    if (mWriter >= 0) ::close(mWriter);
  }
  // Blocks until a reader has opened the file.
  bool WaitForReader() {
    mWriter = ::open(mPath.c_str(), O_WRONLY);
    return mWriter >= 0;
  }
  // Lets a writer blocked in WaitForReader go on, if nobody else did.
  void ReleaseWriter() const {
    const int reader = ::open(mPath.c_str(), O_RDONLY | O_NONBLOCK);
    if (reader >= 0) ::close(reader);
  }
  kilncore::WideString Path() const { return kilncore::string::UTF8to16(mPath.string()); }

 private:
  std::filesystem::path mPath;
  int mWriter = -1;
};

TEST_P(ServerLossTest, ServerKilledDuringAnImportFailsItPromptly) {
  BlockingProjectFile project(mExamples.PathFor("pending.marlp"));
  auto import = std::async(std::launch::async, [&] {
    const HostClip clip(project.Path(), kSimpleComposition);
    const Clock::time_point ended = Clock::now();
    // Had the server never opened the file, the writer would wait for ever.
    project.ReleaseWriter();
    return std::make_pair(clip.ImportResult(), ended);
  });
  ASSERT_TRUE(project.WaitForReader());
  ASSERT_EQ(import.wait_for(std::chrono::seconds(0)), std::future_status::timeout)
      << "the import ended before the server read its project";
  const pid_t server = mServer.ServerProcessId();
  ASSERT_GT(server, 0);

  const Clock::time_point killed = Clock::now();
  ASSERT_EQ(::kill(server, SIGKILL), 0);
  ASSERT_EQ(import.wait_for(std::chrono::seconds(10)), std::future_status::ready);
  const auto [result, ended] = import.get();
  EXPECT_EQ(result, kNoLinkedSource);
  EXPECT_LT(ended - killed, kPromptly);

  ExpectAFreshServerServesTheNextImport(server);
}

// The server is stopped before the request goes out and killed while the
// request waits for it: the render can only be in flight, never finished.
TEST_P(ServerLossTest, ServerKilledDuringABlockingRenderFailsItPromptly) {
  ASSERT_TRUE(ImportClip(kSimpleProject, kSimpleComposition));
  const HostClip& clip = *mClip;
  const RL::FrameFormat format = SettledBGRA();
  KL::IVideoSource::Frame first;
  // The renderer for these options now exists, so the render below is one
  // request to the server.
  ASSERT_EQ(GetFrameAsTheHostDoes(clip, TickTime(0), format, first), 0);
  const pid_t server = mServer.ServerProcessId();
  ASSERT_GT(server, 0);

  ASSERT_EQ(::kill(server, SIGSTOP), 0);
  const TickTime time = FrameTime(50);
  auto render = std::async(std::launch::async, [&] {
    KL::IVideoSource::Frame frame;
    const int32_t result = clip.Video()->GetFrame(time, format, clip.Prefs(), false, frame);
    return std::make_pair(result, Clock::now());
  });
  const bool pending = WaitUntil([&] { return clip.AsyncVideo()->IsFramePending(time, format, 0, clip.Prefs()); });
  const Clock::time_point killed = Clock::now();
  ASSERT_EQ(::kill(server, SIGKILL), 0);
  ASSERT_TRUE(pending);
  ASSERT_EQ(render.wait_for(std::chrono::seconds(10)), std::future_status::ready);
  const auto [result, ended] = render.get();
  EXPECT_EQ(result, kRenderFailed);
  EXPECT_LT(ended - killed, kPromptly);

  ExpectAFreshServerServesTheNextImport(server);
}

INSTANTIATE_TEST_SUITE_P(ChildProcessServer, ServerLossTest, ::testing::Values(ServerMode::kChildProcess), ModeName);

}  // namespace
}  // namespace TetherMedia::integration
