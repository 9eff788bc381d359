#include "ModuleRoadTest.h"

#include <WF/AudioSourcePool.h>
#include <kilncore/string/UTFConversion.h>
#include <kilnmediatypes/PixelFormat.h>
#include <kilnmediatypes/RatioTime.h>

#include <filesystem>
#include <sstream>
#include <thread>

namespace TetherMedia::integration {

ModuleRoadTest::ModuleRoadTest() : mServer(GetParam()) {}

void ModuleRoadTest::SetUp() {
  Cache().Clear();
  Cache().ResetCounters();
  WF::AudioSourcePool::Create()->Clear();
}

void ModuleRoadTest::TearDown() {
  mClip.reset();
  Cache().Clear();
  WF::AudioSourcePool::Create()->Clear();
}

kilncore::WideString ModuleRoadTest::HostSample(const std::string& name) {
  const std::filesystem::path folder = mExamples.PathFor("host");
  if (!std::filesystem::exists(folder)) {
    std::filesystem::copy(std::string(TETHER_TEST_EXAMPLES_FOLDER) + "/host", folder);
  }
  return kilncore::string::UTF8to16((folder / name).string());
}

bool ModuleRoadTest::ImportClip(const std::string& fileName, const kilncore::utility::Guid& id,
                                const tether::MarlRenderOptions* options) {
  mExample = mExamples.Find(fileName, id);
  mClip.emplace(mExample.path, id, options);
  return mClip->ImportResult() == 0;
}

RL::FrameFormat ModuleRoadTest::SettledBGRA() const {
  return mClip->Select(kilnmediatypes::TickTime(0), WantedFormat(kilnmediatypes::kPixelFormat_BGRA_4444_8u));
}

kilnmediatypes::TickTime ModuleRoadTest::FrameTime(int64_t frame) const {
  return kilnmediatypes::RatioTimeToTime(mExample.composition->FramesToTime(frame));
}

uint64_t ModuleRoadTest::ServerFrames() {
  const Pane::SharedPaneCache::Statistics statistics = Cache().GetStatistics();
  return statistics.insertions + statistics.replacements;
}

namespace {

constexpr int32_t kMetRenderInFlight = static_cast<int32_t>(0xF3610004);
constexpr int32_t kRenderFailed = static_cast<int32_t>(0xA00F0001);

}  // namespace

int32_t GetFrameAsTheHostDoes(const kilncore::classref::InterfaceRef<KL::IVideoSource>& video,
                              const RL::BinaryData& prefs, kilnmediatypes::TickTime time,
                              const RL::FrameFormat& format, KL::IVideoSource::Frame& frame) {
  int32_t result = video->GetFrame(time, format, prefs, false, frame);
  const bool settled = WaitUntil([&] {
    if (result != kMetRenderInFlight) return true;
    result = video->GetFrame(time, format, prefs, false, frame);
    return result != kMetRenderInFlight;
  });
  EXPECT_TRUE(settled) << "the render in flight never finished";
  if (result == kRenderFailed && !frame) {
    kilncore::utility::Guid identifier;
    EXPECT_GE(video->GetIdentifierForSourceVideo(identifier, time, format, prefs), 0);
    if (Pane::SharedPaneCache::Instance().Contains(identifier)) {
      result = video->GetFrame(time, format, prefs, false, frame);
    }
  }
  return result;
}

int32_t GetFrameAsTheHostDoes(const HostClip& clip, kilnmediatypes::TickTime time, const RL::FrameFormat& format,
                              KL::IVideoSource::Frame& frame) {
  return GetFrameAsTheHostDoes(clip.Video(), clip.Prefs(), time, format, frame);
}

std::optional<tetherserver::FrameStamp> StampOf(const KL::IVideoSource::Frame& frame) {
  if (!frame) return std::nullopt;
  return tetherserver::ReadFrameStamp(frame->GetData(), frame->GetDataSize());
}

bool WaitUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

std::string ModeName(const ::testing::TestParamInfo<ServerMode>& info) {
  std::ostringstream name;
  name << info.param;
  return name.str();
}

}  // namespace TetherMedia::integration
