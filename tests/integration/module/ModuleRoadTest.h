#pragma once

#include "ExampleProjects.h"
#include "HostClip.h"
#include "LinkedServer.h"

#include <server/render/FrameStamp.h>

#include <Crate/ApplicationType.h>
#include <KL/IVideoSource.h>
#include <Pane/SharedPaneCache.h>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>

namespace TetherMedia::integration {

// A test of the module's road against the reference server, run once over a
// child-process server and once over an in-process one. Each test starts with
// an empty frame cache and audio pool and its own copies of the samples, and
// plays a Tolmen host importing Marl compositions, the common case.
class ModuleRoadTest : public ::testing::TestWithParam<ServerMode> {
 protected:
  ModuleRoadTest();
  void SetUp() override;
  // Lets go of every frame and audio source that still refers to the server
  // before the link goes.
  void TearDown() override;

  // Imports composition `id` of the sample `fileName` into mClip, with
  // `options` as the clip's render options; mExample tells what the file says
  // of it. True if the import succeeded.
  bool ImportClip(const std::string& fileName, const kilncore::utility::Guid& id,
                  const tether::MarlRenderOptions* options = nullptr);
  // The host project sample `name`, with the media of the host samples, in
  // this test's private folder.
  kilncore::WideString HostSample(const std::string& name);
  // Full-size 8-bit BGRA, as mClip's video stream settles it.
  RL::FrameFormat SettledBGRA() const;
  // The time of frame `frame` of mExample's composition.
  kilnmediatypes::TickTime FrameTime(int64_t frame) const;

  static Pane::SharedPaneCache& Cache() { return Pane::SharedPaneCache::Instance(); }
  // Frames the server delivered since SetUp: each delivered frame enters the
  // cache once.
  static uint64_t ServerFrames();

  Crate::ScopedApplicationType mHost{5};
  LinkedServer mServer;
  ExampleProjects mExamples;
  ExampleComposition mExample;
  std::optional<HostClip> mClip;
};

// A blocking request as the host makes it: asked again while it meets a
// render of the same frame in flight (0xF3610004, not attached to that
// render), and asked once more when it was released before its frame was
// stored (0xA00F0001 with the frame already in the cache). Either way the
// frame comes from the cache then, at no cost to the server.
int32_t GetFrameAsTheHostDoes(const HostClip& clip, kilnmediatypes::TickTime time, const RL::FrameFormat& format,
                              KL::IVideoSource::Frame& frame);
// The same for any video stream with the prefs it is asked with (a per-clip
// stream of a sequence, say).
int32_t GetFrameAsTheHostDoes(const kilncore::classref::InterfaceRef<KL::IVideoSource>& video,
                              const RL::BinaryData& prefs, kilnmediatypes::TickTime time,
                              const RL::FrameFormat& format, KL::IVideoSource::Frame& frame);

// The server's stamp in `frame`, or nothing.
std::optional<tetherserver::FrameStamp> StampOf(const KL::IVideoSource::Frame& frame);

// Waits until `done` holds or `limit` has passed; false on the limit. Only for
// states that give no notice of their change.
bool WaitUntil(const std::function<bool()>& done, std::chrono::milliseconds limit = std::chrono::seconds(10));

// Printable names of the two server modes for parameterised tests.
std::string ModeName(const ::testing::TestParamInfo<ServerMode>& info);

#define TETHER_INSTANTIATE_FOR_BOTH_SERVERS(Suite)                                                                   \
  INSTANTIATE_TEST_SUITE_P(BothServers, Suite, ::testing::Values(ServerMode::kChildProcess, ServerMode::kInProcess), \
                           ModeName)

}  // namespace TetherMedia::integration
