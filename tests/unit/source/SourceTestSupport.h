#pragma once

#include <source/TetherSource.h>

#include <requests/RequestTableForTesting.h>

#include <TetherMedia/Prefs.h>

#include <Pane/SharedPaneCache.h>
#include <RL/BinaryData.h>
#include <RL/FrameFormat.h>

#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/classref/InterfaceRef.h>
#include <tether/MarlServer.h>
#include <tether/Project.h>
#include <tether/Server.h>
#include <tether/Source.h>
#include <tether/testing/ScopedBackend.h>
#include <tether/testing/ScriptedSignals.h>
#include <tether/testing/ScriptedSourceSetup.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <string>

namespace TetherMedia::testing {

using SourceRef = kilncore::classref::InterfaceRef<TetherSource>;

inline constexpr int32_t kGeneralFailure = static_cast<int32_t>(0xA00F0001u);
inline constexpr int32_t kUserCanceled = static_cast<int32_t>(0xA00F0007u);
inline constexpr int32_t kNotOffered = static_cast<int32_t>(0xA00F000Cu);
inline constexpr int32_t kFutureIsCancelled = static_cast<int32_t>(0xF3610004u);
inline constexpr int32_t kFutureNotReady = static_cast<int32_t>(0xF3610002u);

inline const kilncore::utility::Guid kItem("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0");
inline const kilncore::utility::Guid kOtherItem("1F2E3D4C-5B6A-7988-97A6-B5C4D3E2F101");

// Waits for one callback of the client library with a generous limit, never
// by sleeping.
template <class T>
std::shared_ptr<T> Await(const std::function<void(std::function<void(tether::ConnectionStatus,
                                                                     const std::shared_ptr<T>&)>)>& call) {
  auto promise = std::make_shared<std::promise<std::shared_ptr<T>>>();
  auto future = promise->get_future();
  call([promise](tether::ConnectionStatus, const std::shared_ptr<T>& object) { promise->set_value(object); });
  if (future.wait_for(std::chrono::seconds(10)) != std::future_status::ready) return nullptr;
  return future.get();
}

// Each test gets its own scripted backend, an empty host-wide frame cache, a
// running application and an empty request table, and must leave no request
// open.
class SourceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    kilncore::appstatemanager::ResetAppStateForTesting();
    kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateRunning);
    Pane::SharedPaneCache::Instance().Clear();
    Pane::SharedPaneCache::Instance().ResetCounters();
  }

  void TearDown() override {
    backend->ReleaseAllHeld();
    backend->WaitForIdle();
    EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
    Pane::SharedPaneCache::Instance().Clear();
  }

  // The server-side item `id`, described by `setup`, through the usual chain
  // of a Marl server and its project.
  std::shared_ptr<tether::Source> ConnectItem(const kilncore::utility::Guid& id,
                                              const tether::testing::ScriptedSourceSetup& setup) {
    backend->SetSource(id, setup);
    auto marl = Await<tether::MarlServer>([](auto callback) {
      tether::MarlServer::CreateTetherServer(callback, tether::kServerConnectionTypeDefault);
    });
    if (!marl) return nullptr;
    auto server = Await<tether::Server>(
        [&](auto callback) { marl->ConnectLinkedServer(callback, tether::kServerConnectionTypeInherit); });
    if (!server) return nullptr;
    auto project = Await<tether::Project>(
        [&](auto callback) { server->OpenProject(callback, tether::File(u"/projects/sample.marlp", false)); });
    if (!project) return nullptr;
    return Await<tether::Source>([&](auto callback) { project->GetSource(callback, id); });
  }

  SourceRef MakeSource(const tether::testing::ScriptedSourceSetup& setup =
                           tether::testing::ScriptedSourceSetup::Typical(),
                       uint32_t clipID = 0, const kilncore::utility::Guid& id = kItem) {
    SourceRef source;
    EXPECT_EQ(TetherSource::Create(source, ConnectItem(id, setup), clipID), 0);
    return source;
  }

  static RL::FrameFormat NativeFormat() {
    RL::FrameFormat format;
    format.pixelFormat = kilnmediatypes::kPixelFormat_BGRA_4444_8u;
    format.width = 1920;
    format.height = 1080;
    format.pixelAspectRatio = kilnmediatypes::kPixelAspectRatio_Square;
    format.fieldType = kilnmediatypes::kFieldType_Progressive;
    return format;
  }

  static kilncore::utility::Guid IdentifierOf(TetherSource& source, int64_t ticks, const RL::FrameFormat& format,
                                              const RL::BinaryData& prefs) {
    kilncore::utility::Guid id;
    source.GetIdentifierForSourceVideo(id, kilnmediatypes::TickTime(ticks), format, prefs);
    return id;
  }

  // Whether `frame` holds the scripted double's bytes for job `identifier`.
  static bool HoldsScriptedBytes(const TetherSource::Frame& frame, const kilncore::utility::Guid& identifier) {
    if (!frame || frame->GetIdentifier() != identifier || frame->GetDataSize() == 0) return false;
    const auto* bytes = static_cast<const uint8_t*>(frame->GetData());
    for (size_t i = 0; i < frame->GetDataSize(); ++i) {
      if (bytes[i] != tether::testing::ScriptedFrameByte(identifier, i)) return false;
    }
    return true;
  }

  tether::testing::ScopedBackend backend;
  const RL::BinaryData prefs = SourceIDToPrefs(kItem);
};

}  // namespace TetherMedia::testing
