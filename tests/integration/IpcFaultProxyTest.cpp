#include "IpcTestSupport.h"

#include <SessionSyntheticContent.h>

#include <tether/AudioRenderer.h>
#include <tether/Container.h>
#include <tether/FileServer.h>
#include <tether/TolmenServer.h>
#include <tether/VideoRenderer.h>
#include <tether/ipc/IpcBackend.h>
#include <tether/wire/Protocol.h>

#include <kilncore/logging/ScopedLogCapture.h>

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <filesystem>
#include <fstream>
#include <future>
#include <string>
#include <vector>

// The link under faults: the client talks to tether-proxy-server, which
// relays to the real server and, at the first message of one kind, kills the
// real server or drops that message. A workload that sends every kind of
// message runs through it; every call must return. The heartbeat is given a
// minute before it breaks a silent connection, so a prompt return can only
// come from the death itself (end of stream) or from the lost-request rule
// (the pong's list of held requests, every 50 ms here).
namespace tether::ipctest {
namespace {

using kilncore::utility::Guid;
using tetherserver::SessionSyntheticContent;

const std::string kExamples = TETHER_TEST_EXAMPLES_FOLDER;
const Guid kSimple("5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01");
// Longer than any prompt return, shorter than the heartbeat's limit.
constexpr std::chrono::seconds kStepLimit{30};

File FileOf(const std::string& path) { return File(kilncore::WideString(path.begin(), path.end())); }

// Runs the steps of a workload one after the other, each a call whose
// callback reports a status; stops at the first failure.
class Workload {
 public:
  // Starts `start` with a callback taking the status; false once any step
  // failed (or never returned).
  template <class Start>
  bool Step(const char* name, Start start) {
    if (mFailed) {
      return false;
    }
    auto promise = std::make_shared<std::promise<int>>();
    auto future = promise->get_future();
    start([promise](int status) { promise->set_value(status); });
    if (future.wait_for(kStepLimit) != std::future_status::ready) {
      ADD_FAILURE() << name << " never returned";
      mHung = true;
      mFailed = true;
      return false;
    }
    const int status = future.get();
    mStatuses.push_back(status);
    if (status != 0 && status != kExpectedCancel) {
      mFailed = true;
      mFailedStep = name;
    }
    return !mFailed;
  }

  bool Hung() const { return mHung; }
  bool Failed() const { return mFailed; }
  const std::string& FailedStep() const { return mFailedStep; }
  bool AnyStatus(int status) const {
    return std::find(mStatuses.begin(), mStatuses.end(), status) != mStatuses.end();
  }

  static constexpr int kExpectedCancel = wire::kStatusRenderCancelled;

 private:
  bool mFailed = false;
  bool mHung = false;
  std::string mFailedStep;
  std::vector<int> mStatuses;
};

// Sends every request and notice of the protocol at least once.
// `whileHeld` runs while the server holds a render, before it is cancelled.
void RunEveryMessageKind(ipc::IpcBackend& backend, Workload& work, const std::function<void()>& whileHeld) {
  std::shared_ptr<MarlServer> typed;
  std::shared_ptr<Server> server;
  std::shared_ptr<Project> project;
  std::shared_ptr<Source> source;
  work.Step("server.create", [&](auto done) {
    backend.CreateMarlServer([&, done](ConnectionStatus s, const std::shared_ptr<MarlServer>& t) {
      typed = t;
      done(s);
    }, kServerConnectionTypeDefault);
  });
  work.Step("typed.connect-linked-server", [&](auto done) {
    typed->ConnectLinkedServer([&, done](ConnectionStatus s, const std::shared_ptr<Server>& t) {
      server = t;
      done(s);
    });
  });
  if (server) {
    server->SetProgressCallback([](const std::string&, const double&, const std::vector<kilncore::WideString>&) {});
  }
  work.Step("server.open-project", [&](auto done) {
    server->OpenProject([&, done](ConnectionStatus s, const std::shared_ptr<Project>& p) {
      project = p;
      done(s);
    }, FileOf(kExamples + "/simple.marlp"));
  });
  work.Step("project.get-container", [&](auto done) {
    project->GetContainer([done](ConnectionStatus s, const std::shared_ptr<Container>&) { done(s); }, Guid());
  });
  work.Step("project.get-items-as-xml", [&](auto done) {
    project->GetItemsAsXML([done](ConnectionStatus s, const std::string&) { done(s); }, {kSimple});
  });
  work.Step("project.is-source-linked", [&](auto done) {
    project->IsSourceLinked([done](ConnectionStatus s, bool) { done(s); }, kSimple);
  });
  work.Step("project.runtime-font-change", [&](auto done) {
    project->RuntimeFontChange([done](ConnectionStatus s, unsigned int) { done(s); });
  });
  work.Step("project.get-source", [&](auto done) {
    project->GetSource([&, done](ConnectionStatus s, const std::shared_ptr<Source>& t) {
      source = t;
      done(s);
    }, kSimple);
  });
  work.Step("source.init", [&](auto done) {
    source->Init(source->GetSourceInfo(), [done](const Guid& id) { done(id.IsNil() ? 1 : 0); });
  });
  work.Step("source.send-request", [&](auto done) {
    source->SendRequest(
        std::any(AnyObject{{"name", MakeAny(std::string("com.example.Ping"))}}), [done](std::shared_ptr<std::any>, int64_t) { done(0); },
        [done](int code, const kilncore::WideString&, int64_t) { done(code == 0 ? 1 : code); });
  });
  work.Step("source.render-xmp", [&](auto done) {
    source->RenderXMP(RatioTime(0), RatioTime(1), [done](ConnectionStatus s, const std::string&) { done(s); });
  });
  work.Step("source.get-caption-data", [&](auto done) {
    source->GetCaptionData([done](ConnectionStatus s, const CaptionData&) { done(s); });
  });
  work.Step("source.set-caption-selection", [&](auto done) {
    CaptionSelectionData selection;
    selection.streamIndex = 1;
    source->SetCaptionSelectionData(selection, [done](ConnectionStatus s, bool) { done(s); });
  });
  work.Step("source.contains-link", [&](auto done) {
    source->DoesSourceContainLink([done](ConnectionStatus s, bool) { done(s); });
  });
  work.Step("source.get-runtime-guid", [&](auto done) {
    source->GetRuntimeGuid([done](ConnectionStatus s, const Guid&) { done(s); });
  });
  std::shared_ptr<VideoRenderer> video;
  work.Step("source.get-video-renderer", [&](auto done) {
    VideoRenderOptions options;
    options.SetBounds(64, 36);
    source->GetVideoRenderer([&, done](ConnectionStatus s, const std::shared_ptr<VideoRenderer>& r) {
      video = r;
      done(s);
    }, options);
  });
  for (int frame = 0; frame < 2; ++frame) {  // the second reuses the first's buffer: buffer.release
    work.Step("video-renderer.render", [&](auto done) {
      video->RenderVideo([done](const Guid&, const BlockData&, int s) { done(s); }, Guid::CreateUnique(),
                         RatioTime(frame, 25));
    });
  }
  std::shared_ptr<AudioRenderer> audio;
  work.Step("source.get-audio-renderer", [&](auto done) {
    AudioRenderOptions options;
    options.SetAudioChannelLayout(source->GetAudioChannelLayout());
    options.SetSampleRate(source->GetAudioSampleRate());
    source->GetAudioRenderer([&, done](ConnectionStatus s, const std::shared_ptr<AudioRenderer>& r) {
      audio = r;
      done(s);
    }, options, RatioTime(0), 512);
  });
  work.Step("audio-renderer.render", [&](auto done) {
    audio->RenderAudio([done](const Guid&, const BlockData&, int s) { done(s); }, Guid::CreateUnique());
  });
  work.Step("server.open-farside-asset", [&](auto done) {
    FarsideAssetRequestInfo request;
    request.serverAddress = "farside.test";
    request.production = kExamples + "/simple.marlp";
    request.asset = kSimple.AsUTF8String();
    server->OpenFarsideAsset([done](ConnectionStatus s, const std::shared_ptr<Source>&) { done(s); }, request);
  });
  // A render the server holds, and its cancel.
  std::shared_ptr<Project> synthetic;
  std::shared_ptr<Source> hanging;
  std::shared_ptr<VideoRenderer> held;
  work.Step("server.open-project (synthetic)", [&](auto done) {
    server->OpenProject([&, done](ConnectionStatus s, const std::shared_ptr<Project>& p) {
      synthetic = p;
      done(s);
    }, File(u"/projects/faults.synthetic"));
  });
  work.Step("project.get-source (hanging)", [&](auto done) {
    synthetic->GetSource([&, done](ConnectionStatus s, const std::shared_ptr<Source>& t) {
      hanging = t;
      done(s);
    }, SessionSyntheticContent::kHangingItemID);
  });
  work.Step("source.get-video-renderer (hanging)", [&](auto done) {
    hanging->GetVideoRenderer([&, done](ConnectionStatus s, const std::shared_ptr<VideoRenderer>& r) {
      held = r;
      done(s);
    }, VideoRenderOptions());
  });
  work.Step("video-renderer.cancel", [&](auto done) {
    const Guid job = Guid::CreateUnique();
    held->RenderVideo([done](const Guid&, const BlockData&, int s) { done(s); }, job, RatioTime(0));
    whileHeld();
    held->CancelVideoRender(job);
  });
  // The file road of another application.
  std::shared_ptr<TolmenServer> tolmen;
  std::shared_ptr<FileServer> files;
  work.Step("server.create (Tolmen)", [&](auto done) {
    backend.CreateTolmenServer([&, done](ConnectionStatus s, const std::shared_ptr<TolmenServer>& t) {
      tolmen = t;
      done(s);
    }, kServerConnectionTypeDefault);
  });
  work.Step("typed.connect-file-server", [&](auto done) {
    tolmen->CreateFileServerLink([&, done](ConnectionStatus s, const std::shared_ptr<FileServer>& f) {
      files = f;
      done(s);
    });
  });
  work.Step("file-server.open-file", [&](auto done) {
    files->OpenFile([done](ConnectionStatus s, const std::shared_ptr<Source>&, const kilncore::WideString&,
                           const kilncore::WideString&, int) { done(s); },
                    FileOf(kExamples + "/simple.marlp"));
  });
  // Objects going send "release"; a step after them shows the link goes on.
  source.reset();
  video.reset();
  audio.reset();
  work.Step("project.runtime-font-change (after releases)", [&](auto done) {
    project->RuntimeFontChange([done](ConnectionStatus s, unsigned int) { done(s); });
  });
}

struct FaultCase {
  std::string action;  // "kill" or "drop"
  std::string op;
};

void PrintTo(const FaultCase& fault, std::ostream* out) { *out << fault.action << " at " << fault.op; }

std::string NameOf(const ::testing::TestParamInfo<FaultCase>& info) {
  std::string name = info.param.action + "_";
  for (char c : info.param.op) {
    name += std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
  }
  return name;
}

class IpcFaultProxyTest : public ::testing::TestWithParam<FaultCase> {
 protected:
  void SetUp() override {
    char folder[] = "/tmp/tether-fault-XXXXXX";
    mReport = std::string(::mkdtemp(folder)) + "/report";
    ::setenv("TETHER_PROXY_SERVER", TETHER_TEST_SERVER_EXECUTABLE, 1);
    ::setenv("TETHER_PROXY_FAULT", (GetParam().action + ":" + GetParam().op + ":1").c_str(), 1);
    ::setenv("TETHER_PROXY_REPORT", mReport.c_str(), 1);
  }
  void TearDown() override {
    ::unsetenv("TETHER_PROXY_FAULT");
    std::filesystem::remove_all(std::filesystem::path(mReport).parent_path());
  }

  bool Fired() const { return std::filesystem::exists(mReport); }

  std::shared_ptr<ipc::IpcBackend> MakeBackend() {
    ipc::IpcBackendOptions options;
    options.serverExecutable = TETHER_TEST_PROXY_EXECUTABLE;
    options.heartbeatInterval = std::chrono::milliseconds(50);
    options.heartbeatTimeout = std::chrono::minutes(1);
    auto backend = ipc::IpcBackend::Create(options);
    backend->SetServerLossListener([this](const ipc::IpcBackend::ServerLoss& loss) {
      std::lock_guard lock(mMutex);
      if (loss.operation.empty()) {
        ++mLosses;
      } else {
        mLostRequests.push_back(loss.operation);
      }
      mLossHeard.notify_all();
    });
    return backend;
  }

  // Whether the loss listener was called (waiting for it if need be).
  bool LossHeard() {
    std::unique_lock lock(mMutex);
    return mLossHeard.wait_for(lock, kWait, [this] { return mLosses > 0; });
  }
  int Losses() {
    std::lock_guard lock(mMutex);
    return mLosses;
  }
  std::vector<std::string> LostRequests() {
    std::lock_guard lock(mMutex);
    return mLostRequests;
  }

  std::string mReport;
  std::mutex mMutex;
  std::condition_variable mLossHeard;
  int mLosses = 0;
  std::vector<std::string> mLostRequests;
};

TEST_P(IpcFaultProxyTest, EveryCallReturnsAndTheFaultIsNamed) {
  kilncore::logging::ScopedLogCapture quiet;
  auto backend = MakeBackend();
  Workload work;
  RunEveryMessageKind(*backend, work, [&] {
    // Pings go out on the heartbeat's own clock: a ping fault waits for its
    // ping, while the server holds a render that only a cancel or the
    // server's death ends.
    for (int i = 0; GetParam().op == "ping" && !Fired() && i < 1000; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  });
  ASSERT_FALSE(work.Hung());
  if (GetParam().action == "none") {
    EXPECT_FALSE(work.Failed()) << "failed at " << work.FailedStep();
    EXPECT_EQ(Losses(), 0);
    return;
  }
  ASSERT_TRUE(Fired()) << "the workload never sent " << GetParam().op;
  const bool request = GetParam().op != "release" && GetParam().op != "buffer.release" &&
                       GetParam().op != "video-renderer.cancel" && GetParam().op != "server.watch-progress" &&
                       GetParam().op != "ping";
  if (GetParam().op == "hello") {
    // No connection came up: the creation that needed it fails, and no
    // server was lost.
    EXPECT_TRUE(work.AnyStatus(kConnectionStatusServerUnavailable)) << "failed at " << work.FailedStep();
    EXPECT_EQ(Losses(), 0);
  } else if (GetParam().action == "kill") {
    if (request) {
      EXPECT_TRUE(work.Failed());
    }
    EXPECT_TRUE(LossHeard());
  } else if (request) {
    // source.init's callback carries no status, only a nil identifier.
    EXPECT_TRUE(GetParam().op == "source.init" ? work.Failed() : work.AnyStatus(wire::kStatusRequestLost))
        << "failed at " << work.FailedStep();
    EXPECT_EQ(Losses(), 0);
    // The listener hears of the request; its report is posted after the
    // callback, so the next call's answer is awaited first.
    backend->CreateMarlServer([](ConnectionStatus, const std::shared_ptr<MarlServer>&) {},
                              kServerConnectionTypeDefault);
    std::unique_lock lock(mMutex);
    mLossHeard.wait_for(lock, kWait, [this] { return !mLostRequests.empty(); });
    EXPECT_EQ(mLostRequests, std::vector<std::string>{GetParam().op});
  } else {
    EXPECT_FALSE(work.Failed()) << "failed at " << work.FailedStep();
  }
}

std::vector<FaultCase> EveryKind() {
  const std::vector<std::string> requests{
      "hello", "server.create", "typed.connect-linked-server", "typed.connect-file-server",
      "server.open-project", "server.open-farside-asset", "file-server.open-file", "project.get-source",
      "project.get-container", "project.get-items-as-xml", "project.is-source-linked",
      "project.runtime-font-change", "source.init", "source.get-video-renderer", "source.get-audio-renderer",
      "source.send-request", "source.render-xmp", "source.get-caption-data", "source.set-caption-selection",
      "source.contains-link", "source.get-runtime-guid", "video-renderer.render", "audio-renderer.render"};
  // A lost notice has no callback to fail; buffer and object releases and
  // progress watching are harmless to drop, a ping only delays a judgement,
  // and a render whose cancel was lost is ended by the client (status -6)
  // at the first pong that shows the server never acted on the cancel.
  const std::vector<std::string> notices{"release", "buffer.release", "video-renderer.cancel",
                                         "server.watch-progress", "ping"};
  std::vector<FaultCase> cases{{"none", "nothing"}};
  for (const auto& op : requests) {
    cases.push_back({"kill", op});
    cases.push_back({"drop", op});
  }
  for (const auto& op : notices) {
    cases.push_back({"kill", op});
    cases.push_back({"drop", op});
  }
  return cases;
}

INSTANTIATE_TEST_SUITE_P(EveryMessageKind, IpcFaultProxyTest, ::testing::ValuesIn(EveryKind()), NameOf);

}  // namespace
}  // namespace tether::ipctest
