#include "ScriptedTestSupport.h"

#include <tether/AudioRenderer.h>
#include <tether/Container.h>
#include <tether/DarkslideServer.h>
#include <tether/EaselServer.h>
#include <tether/FileServer.h>
#include <tether/SprocketServer.h>
#include <tether/TolmenServer.h>
#include <tether/VideoRenderer.h>
#include <tether/testing/ScopedBackend.h>
#include <tether/testing/ScriptedSignals.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace {

using namespace tether;
using namespace tether::testing;
using kilncore::utility::Guid;
using support::Catcher;

const Guid kItemA("11111111-2222-3333-4444-555555555555");
const Guid kItemB("AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE");

class ScriptedBackendTest : public ::testing::Test {
 protected:
  ScopedBackend backend;
};

// --- Delivery.

TEST_F(ScriptedBackendTest, AnswersArriveOnAWorkerThreadNotTheCallers) {
  std::atomic<bool> onWorker{false};
  Catcher<MarlServer> catcher;
  auto callback = catcher.Callback();
  MarlServer::CreateTetherServer([&, callback](ConnectionStatus status, const std::shared_ptr<MarlServer>& server) {
    onWorker = backend->IsWorkerThread();
    callback(status, server);
  });
  auto answer = catcher.Get();
  EXPECT_EQ(answer.status, kConnectionStatusOK);
  EXPECT_NE(answer.object, nullptr);
  EXPECT_NE(answer.thread, std::this_thread::get_id());
  EXPECT_TRUE(onWorker);
}

TEST_F(ScriptedBackendTest, SynchronousDeliveryRunsInsideTheCall) {
  backend->Script(Operation::kCreateMarlServer, Behaviour::Succeed().With(Delivery::kSynchronous));
  Catcher<MarlServer> catcher;
  MarlServer::CreateTetherServer(catcher.Callback(), kServerConnectionTypeDefault);
  ASSERT_TRUE(catcher.Ready());
  EXPECT_EQ(catcher.Get().thread, std::this_thread::get_id());
}

TEST_F(ScriptedBackendTest, FailingStatusGivesNullUnlessResultIsKept) {
  backend->ScriptNext(Operation::kCreateTolmenServer, Behaviour::Fail(-42));
  backend->ScriptNext(Operation::kCreateTolmenServer, Behaviour::Fail(9).KeepingResult());
  Catcher<TolmenServer> first;
  Catcher<TolmenServer> second;
  TolmenServer::CreateTetherServer(first.Callback(), kServerConnectionTypeDefault);
  TolmenServer::CreateTetherServer(second.Callback(), kServerConnectionTypeDefault);
  auto a = first.Get();
  EXPECT_EQ(a.status, -42);
  EXPECT_EQ(a.object, nullptr);
  auto b = second.Get();
  EXPECT_EQ(b.status, 9);
  EXPECT_NE(b.object, nullptr);
}

TEST_F(ScriptedBackendTest, NullResultComesWithStatusZero) {
  backend->Script(Operation::kCreateEaselServer, Behaviour::NullResult());
  Catcher<EaselServer> catcher;
  EaselServer::CreateTetherServer(catcher.Callback());
  auto answer = catcher.Get();
  EXPECT_EQ(answer.status, kConnectionStatusOK);
  EXPECT_EQ(answer.object, nullptr);
}

TEST_F(ScriptedBackendTest, DroppedCallbackIsDestroyedInsideTheCallUncalled) {
  backend->Script(Operation::kCreateDarkslideServer, Behaviour::Succeed().With(Delivery::kDrop));
  auto sentinel = std::make_shared<int>(0);
  std::weak_ptr<int> watch = sentinel;
  std::atomic<int> calls{0};
  DarkslideServer::CreateTetherServer(
      [sentinel = std::move(sentinel), &calls](ConnectionStatus, const std::shared_ptr<DarkslideServer>&) { ++calls; });
  EXPECT_TRUE(watch.expired());
  EXPECT_TRUE(backend->WaitForIdle());
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(backend->CallCount(Operation::kCreateDarkslideServer), 1u);
}

TEST_F(ScriptedBackendTest, TwiceCallsTheCallbackTwiceWithTheSameObject) {
  backend->Script(Operation::kCreateSprocketServer, Behaviour::Succeed().With(Delivery::kTwice));
  std::mutex mutex;
  std::vector<std::shared_ptr<SprocketServer>> seen;
  SprocketServer::CreateTetherServer(
      [&](ConnectionStatus, const std::shared_ptr<SprocketServer>& server) {
        std::lock_guard lock(mutex);
        seen.push_back(server);
      },
      kServerConnectionTypeDefault);
  ASSERT_TRUE(backend->WaitForIdle());
  std::lock_guard lock(mutex);
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0], seen[1]);
  EXPECT_EQ(backend->DeliveredCount(Operation::kCreateSprocketServer), 2u);
}

TEST_F(ScriptedBackendTest, DelayedAnswerComesNoEarlierThanItsDelay) {
  backend->Script(Operation::kCreateMarlServer, Behaviour::Succeed().After(std::chrono::milliseconds(30)));
  const auto start = std::chrono::steady_clock::now();
  Catcher<MarlServer> catcher;
  MarlServer::CreateTetherServer(catcher.Callback(), kServerConnectionTypeDefault);
  EXPECT_FALSE(backend->WaitForIdle(std::chrono::milliseconds(0)));
  catcher.Get();
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
}

TEST_F(ScriptedBackendTest, HeldAnswersComeInTheOrderTheTestReleasesThem) {
  auto project = support::OpenProject(u"/projects/a.marlp");
  ASSERT_TRUE(project);
  backend->Script(Operation::kGetSource, Behaviour::Succeed().With(Delivery::kHold));
  std::mutex mutex;
  std::vector<Guid> order;
  auto record = [&](ConnectionStatus, const std::shared_ptr<Source>& source) {
    std::lock_guard lock(mutex);
    order.push_back(source->GetID());
  };
  project->GetSource(record, kItemA);
  project->GetSource(record, kItemB);
  ASSERT_TRUE(backend->WaitForHeld(2));
  auto held = backend->Held();
  ASSERT_EQ(held.size(), 2u);
  EXPECT_EQ(held[0].key, kItemA.AsUTF8String());
  EXPECT_TRUE(backend->WaitForIdle());
  EXPECT_TRUE(order.empty());

  ASSERT_TRUE(backend->ReleaseHeld(held[1].id));
  ASSERT_TRUE(backend->WaitForIdle());
  ASSERT_TRUE(backend->RunHeldHere(held[0].id));
  EXPECT_FALSE(backend->ReleaseHeld(held[0].id));
  std::lock_guard lock(mutex);
  EXPECT_EQ(order, (std::vector<Guid>{kItemB, kItemA}));
}

TEST_F(ScriptedBackendTest, HeldReleaseOrderHoldsOverManyRounds) {
  auto project = support::OpenProject(u"/projects/a.marlp");
  ASSERT_TRUE(project);
  backend->Script(Operation::kGetSource, Behaviour::Succeed().With(Delivery::kHold));
  for (int round = 0; round < 200; ++round) {
    std::mutex mutex;
    std::vector<Guid> order;
    auto record = [&](ConnectionStatus, const std::shared_ptr<Source>& source) {
      std::lock_guard lock(mutex);
      order.push_back(source->GetID());
    };
    project->GetSource(record, kItemA);
    project->GetSource(record, kItemB);
    ASSERT_TRUE(backend->WaitForHeld(2));
    auto held = backend->Held();
    const bool bFirst = round % 2 == 0;
    ASSERT_TRUE(backend->ReleaseHeld(held[bFirst ? 1 : 0].id));
    ASSERT_TRUE(backend->WaitForIdle());
    ASSERT_TRUE(backend->ReleaseHeld(held[bFirst ? 0 : 1].id));
    ASSERT_TRUE(backend->WaitForIdle());
    std::lock_guard lock(mutex);
    ASSERT_EQ(order, bFirst ? (std::vector<Guid>{kItemB, kItemA}) : (std::vector<Guid>{kItemA, kItemB}));
  }
}

TEST_F(ScriptedBackendTest, CallsFromManyThreadsAreAllRecordedAndAnswered) {
  constexpr int kThreads = 4;
  constexpr int kCallsEach = 50;
  std::atomic<int> answered{0};
  std::vector<std::thread> callers;
  for (int t = 0; t < kThreads; ++t) {
    callers.emplace_back([&answered] {
      for (int i = 0; i < kCallsEach; ++i) {
        MarlServer::CreateTetherServer([&answered](ConnectionStatus, const std::shared_ptr<MarlServer>&) { ++answered; },
                                       kServerConnectionTypeDefault);
      }
    });
  }
  EXPECT_TRUE(backend->WaitForCalls(Operation::kCreateMarlServer, kThreads * kCallsEach));
  for (auto& caller : callers) {
    caller.join();
  }
  ASSERT_TRUE(backend->WaitForIdle());
  EXPECT_EQ(answered, kThreads * kCallsEach);
  auto calls = backend->Calls();
  for (size_t i = 0; i < calls.size(); ++i) {
    EXPECT_EQ(calls[i].sequence, i);
  }
}

TEST_F(ScriptedBackendTest, DroppedHeldCallbackIsNeverCalled) {
  backend->Script(Operation::kCreateMarlServer, Behaviour::Succeed().With(Delivery::kHold));
  auto sentinel = std::make_shared<int>(0);
  std::weak_ptr<int> watch = sentinel;
  std::atomic<int> calls{0};
  MarlServer::CreateTetherServer(
      [sentinel = std::move(sentinel), &calls](ConnectionStatus, const std::shared_ptr<MarlServer>&) { ++calls; });
  sentinel.reset();
  ASSERT_TRUE(backend->WaitForHeld(1));
  EXPECT_FALSE(watch.expired());
  ASSERT_TRUE(backend->DropHeld(backend->Held()[0].id));
  EXPECT_TRUE(watch.expired());
  EXPECT_EQ(calls, 0);
}

TEST_F(ScriptedBackendTest, ScriptsForOneKeyLeaveOtherObjectsAlone) {
  auto project = support::OpenProject(u"/projects/a.marlp");
  ASSERT_TRUE(project);
  backend->Script(Operation::kGetSource, Behaviour::Fail(), kItemA.AsUTF8String());
  auto failing = Catcher<Source>();
  auto working = Catcher<Source>();
  project->GetSource(failing.Callback(), kItemA);
  project->GetSource(working.Callback(), kItemB);
  EXPECT_EQ(failing.Get().status, kConnectionStatusFailed);
  auto answer = working.Get();
  EXPECT_EQ(answer.status, kConnectionStatusOK);
  ASSERT_TRUE(answer.object);
  EXPECT_EQ(answer.object->GetID(), kItemB);
}

TEST_F(ScriptedBackendTest, OneShotBehavioursQueueUpBeforeTheStandingOne) {
  backend->Script(Operation::kCreateMarlServer, Behaviour::Fail(5));
  backend->ScriptNext(Operation::kCreateMarlServer, Behaviour::Succeed());
  backend->ScriptNext(Operation::kCreateMarlServer, Behaviour::Fail(6));
  std::vector<ConnectionStatus> statuses;
  for (int i = 0; i < 4; ++i) {
    Catcher<MarlServer> catcher;
    MarlServer::CreateTetherServer(catcher.Callback(), kServerConnectionTypeDefault);
    statuses.push_back(catcher.Get().status);
  }
  EXPECT_EQ(statuses, (std::vector<ConnectionStatus>{kConnectionStatusOK, static_cast<ConnectionStatus>(6),
                                                     static_cast<ConnectionStatus>(5),
                                                     static_cast<ConnectionStatus>(5)}));
}

TEST_F(ScriptedBackendTest, ExceptionThrownByACallbackIsRecordedAndTheProcessGoesOn) {
  MarlServer::CreateTetherServer(
      [](ConnectionStatus, const std::shared_ptr<MarlServer>&) { throw std::runtime_error("module failed"); },
      kServerConnectionTypeDefault);
  ASSERT_TRUE(backend->WaitForIdle());
  auto exceptions = backend->CallbackExceptions();
  ASSERT_EQ(exceptions.size(), 1u);
  EXPECT_EQ(exceptions[0].operation, Operation::kCreateMarlServer);
  EXPECT_EQ(exceptions[0].what, "module failed");
  Catcher<MarlServer> next;
  MarlServer::CreateTetherServer(next.Callback(), kServerConnectionTypeDefault);
  EXPECT_EQ(next.Get().status, kConnectionStatusOK);
}

// --- Recording.

TEST_F(ScriptedBackendTest, CallsAreRecordedInOrderWithTheirArguments) {
  auto server = support::ConnectServer();
  ASSERT_TRUE(server);
  Catcher<Project> project;
  server->OpenProjectWithJSON(project.Callback(), File(u"/p/scene.spkproj", false), "{\"a\":1}");
  project.Get();

  auto calls = backend->Calls();
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[0].operation, Operation::kCreateMarlServer);
  EXPECT_EQ(calls[0].Args<CreateServerArgs>().connectionType, kServerConnectionTypeDefault);
  EXPECT_EQ(calls[1].operation, Operation::kConnectLinkedServer);
  EXPECT_EQ(calls[1].key, "MarlServer");
  EXPECT_EQ(calls[1].Args<ConnectLinkedServerArgs>().connectionType, kServerConnectionTypeInherit);
  EXPECT_EQ(calls[2].operation, Operation::kOpenProjectWithJSON);
  EXPECT_EQ(calls[2].key, "/p/scene.spkproj");
  EXPECT_EQ(calls[2].Args<OpenProjectWithJSONArgs>().file, File(u"/p/scene.spkproj", false));
  EXPECT_EQ(calls[2].Args<OpenProjectWithJSONArgs>().json, "{\"a\":1}");
  EXPECT_EQ(calls[2].sequence, 2u);
  EXPECT_EQ(backend->CallCount(Operation::kGetSource), 0u);
}

TEST_F(ScriptedBackendTest, WaitForCallsWakesWhenAnotherThreadHasCalled) {
  auto project = support::OpenProject(u"/projects/a.marlp");
  ASSERT_TRUE(project);
  auto source = support::GetSource(*project, kItemA);
  ASSERT_TRUE(source);
  Catcher<VideoRenderer> renderer;
  source->GetVideoRenderer(renderer.Callback(), VideoRenderOptions{});
  auto video = renderer.Get().object;
  ASSERT_TRUE(video);
  std::thread caller([video] {
    for (int i = 0; i < 3; ++i) {
      video->RenderVideo([](const Guid&, const std::shared_ptr<processcoordination::BinaryReference>&, int) {},
                         Guid::CreateUnique(), RatioTime(i, 24));
    }
  });
  EXPECT_TRUE(backend->WaitForCalls(Operation::kRenderVideo, 3));
  caller.join();
  EXPECT_EQ(backend->Calls(Operation::kRenderVideo)[2].Args<RenderVideoArgs>().time, RatioTime(2, 24));
  EXPECT_FALSE(backend->WaitForCalls(Operation::kRenderVideo, 4, std::chrono::milliseconds(1)));
}

// --- Values.

TEST_F(ScriptedBackendTest, FramesAreSharedMemoryWithKnownBytes) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.frameBytes = 1000;
  backend->SetSource(kItemA, setup);
  auto project = support::OpenProject(u"/projects/a.marlp");
  auto source = support::GetSource(*project, kItemA);
  Catcher<VideoRenderer> renderer;
  source->GetVideoRenderer(renderer.Callback(), VideoRenderOptions{});
  auto video = renderer.Get().object;
  ASSERT_TRUE(video);

  const Guid job = Guid::CreateUnique();
  std::promise<std::shared_ptr<processcoordination::BinaryReference>> delivered;
  video->RenderVideo(
      [&](const Guid& id, const std::shared_ptr<processcoordination::BinaryReference>& frame, int status) {
        EXPECT_EQ(id, job);
        EXPECT_EQ(status, 0);
        delivered.set_value(frame);
      },
      job, RatioTime(1, 1));
  auto frame = delivered.get_future().get();
  ASSERT_TRUE(frame);
  ASSERT_EQ(frame->GetSize(), 1000u);
  const auto* bytes = static_cast<const uint8_t*>(frame->GetAddress());
  for (size_t i = 0; i < frame->GetSize(); ++i) {
    ASSERT_EQ(bytes[i], ScriptedFrameByte(job, i)) << i;
  }
  frame->ReleaseAddress();
  video->CancelVideoRender(job);
  EXPECT_EQ(backend->Calls(Operation::kCancelVideoRender)[0].Args<JobArgs>().identifier, job);
}

TEST_F(ScriptedBackendTest, FailedRenderGivesNoFrameAndTheScriptedStatus) {
  backend->Script(Operation::kRenderVideo, Behaviour::Fail(-6));
  auto project = support::OpenProject(u"/projects/a.marlp");
  auto source = support::GetSource(*project, kItemA);
  Catcher<VideoRenderer> renderer;
  source->GetVideoRenderer(renderer.Callback(), VideoRenderOptions{});
  std::promise<std::pair<bool, int>> delivered;
  renderer.Get().object->RenderVideo(
      [&](const Guid&, const std::shared_ptr<processcoordination::BinaryReference>& frame, int status) {
        delivered.set_value({frame != nullptr, status});
      },
      Guid::CreateUnique(), RatioTime(0, 1));
  EXPECT_EQ(delivered.get_future().get(), std::make_pair(false, -6));
}

TEST_F(ScriptedBackendTest, AudioBlocksContinueFromTheOpeningPosition) {
  auto project = support::OpenProject(u"/projects/a.marlp");
  auto source = support::GetSource(*project, kItemA);
  AudioRenderOptions options;
  options.SetAudioChannelLayout(source->GetAudioChannelLayout());
  options.SetSampleRate(source->GetAudioSampleRate());
  ASSERT_EQ(options.GetAudioChannelLayout().size(), 2u);
  Catcher<AudioRenderer> renderer;
  source->GetAudioRenderer(renderer.Callback(), options, RatioTime(1, 2), 2 * 256);
  auto audio = renderer.Get().object;
  ASSERT_TRUE(audio);

  for (int64_t block = 0; block < 2; ++block) {
    std::promise<std::shared_ptr<processcoordination::BinaryReference>> delivered;
    audio->RenderAudio(
        [&](const Guid&, const std::shared_ptr<processcoordination::BinaryReference>& samples, int) {
          delivered.set_value(samples);
        },
        Guid::CreateUnique());
    auto samples = delivered.get_future().get();
    ASSERT_TRUE(samples);
    ASSERT_EQ(samples->GetSize(), 256u * 2 * sizeof(float));
    const auto* floats = static_cast<const float*>(samples->GetAddress());
    const int64_t first = 24000 + block * 256;  // half a second at 48 kHz
    for (int64_t frame = 0; frame < 256; ++frame) {
      for (uint32_t channel = 0; channel < 2; ++channel) {
        ASSERT_EQ(floats[frame * 2 + channel], ScriptedAudioSample(first + frame, channel));
      }
    }
    samples->ReleaseAddress();
  }
}

TEST_F(ScriptedBackendTest, SendRequestRepliesThroughTheResponderOrFails) {
  backend->SetRequestResponder([](const std::any& call) {
    RequestOutcome outcome;
    AnyObject reply;
    reply["value"] = MakeAny(std::any_cast<std::string>(call) == "ask");
    outcome.reply = MakeAny(reply);
    return outcome;
  });
  auto project = support::OpenProject(u"/projects/a.marlp");
  auto source = support::GetSource(*project, kItemA);

  std::promise<bool> replied;
  source->SendRequest(
      std::any(std::string("ask")),
      [&](std::shared_ptr<std::any> reply, int64_t) {
        replied.set_value(std::any_cast<bool>(*std::any_cast<const AnyObject&>(*reply).at("value")));
      },
      [&](int, const kilncore::WideString&, int64_t) { replied.set_value(false); });
  EXPECT_TRUE(replied.get_future().get());

  backend->ScriptNext(Operation::kSendRequest, Behaviour::Fail(-17));
  std::promise<std::pair<int, kilncore::WideString>> failed;
  source->SendRequest(
      std::any(std::string("ask")), [&](std::shared_ptr<std::any>, int64_t) { failed.set_value({0, u""}); },
      [&](int code, const kilncore::WideString& message, int64_t) { failed.set_value({code, message}); });
  auto failure = failed.get_future().get();
  EXPECT_EQ(failure.first, -17);
  EXPECT_EQ(failure.second, u"scripted failure");
  EXPECT_EQ(std::any_cast<std::string>(backend->Calls(Operation::kSendRequest)[0].Args<SendRequestArgs>().call),
            "ask");
}

TEST_F(ScriptedBackendTest, SourceAnswersComeFromItsSetup) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.xmp = "<x:xmpmeta/>";
  setup.captionData.serializedData = "captions";
  setup.containsLink = true;
  setup.runtimeGuid = kItemB;
  setup.captionSelectionResult = false;
  backend->SetSource(kItemA, setup);
  auto project = support::OpenProject(u"/projects/a.marlp");
  auto source = support::GetSource(*project, kItemA);
  ASSERT_TRUE(source);
  EXPECT_EQ(source->GetID(), kItemA);
  EXPECT_EQ(source->GetFrameSize(), (FrameRect{0, 0, 1920, 1080}));
  EXPECT_EQ(source->GetName(), u"Item");

  std::promise<std::string> xmp;
  source->RenderXMP(RatioTime(0, 1), RatioTime(5, 1), [&](ConnectionStatus, const std::string& packet) {
    xmp.set_value(packet);
  });
  EXPECT_EQ(xmp.get_future().get(), "<x:xmpmeta/>");
  EXPECT_EQ(backend->Calls(Operation::kRenderXMP)[0].Args<RenderXMPArgs>().duration, RatioTime(5, 1));

  std::promise<std::string> captions;
  source->GetCaptionData([&](ConnectionStatus, const CaptionData& data) { captions.set_value(data.serializedData); });
  EXPECT_EQ(captions.get_future().get(), "captions");

  std::promise<bool> selected;
  CaptionSelectionData selection;
  selection.streamIndex = 3;
  source->SetCaptionSelectionData(selection, [&](ConnectionStatus, bool flag) { selected.set_value(flag); });
  EXPECT_FALSE(selected.get_future().get());
  EXPECT_EQ(backend->Calls(Operation::kSetCaptionSelectionData)[0]
                .Args<SetCaptionSelectionDataArgs>()
                .selection.streamIndex,
            3);

  std::promise<bool> link;
  source->DoesSourceContainLink([&](ConnectionStatus, bool value) { link.set_value(value); });
  EXPECT_TRUE(link.get_future().get());

  std::promise<Guid> runtime;
  source->GetRuntimeGuid([&](ConnectionStatus, const Guid& id) { runtime.set_value(id); });
  EXPECT_EQ(runtime.get_future().get(), kItemB);
}

TEST_F(ScriptedBackendTest, InitReplacesTheDescriptionAndOldReferencesStayValid) {
  auto project = support::OpenProject(u"/projects/a.marlp");
  auto source = support::GetSource(*project, kItemA);
  const SourceInfo& before = source->GetSourceInfo();
  SourceInfo patched = before;
  patched.width = 960;
  patched.height = 540;
  source->Init(patched, nullptr);
  EXPECT_EQ(before.width, 1920u);
  EXPECT_EQ(source->GetSourceInfo().width, 960u);
  EXPECT_EQ(source->GetFrameSize(), (FrameRect{0, 0, 960, 540}));
  auto init = backend->Calls(Operation::kInit);
  ASSERT_EQ(init.size(), 1u);
  EXPECT_EQ(init[0].Args<InitArgs>().info.height, 540u);
  EXPECT_FALSE(init[0].Args<InitArgs>().hasCallback);
}

TEST_F(ScriptedBackendTest, UpdatedContentStateReachesLiveAndNewSources) {
  auto project = support::OpenProject(u"/projects/a.marlp");
  auto live = support::GetSource(*project, kItemA);
  const Guid before = live->GetContentState();
  backend->UpdateSource(kItemA.AsUTF8String(), [](ScriptedSourceSetup& setup) { setup.info.contentState = kItemB; });
  EXPECT_NE(before, kItemB);
  EXPECT_EQ(live->GetContentState(), kItemB);
  EXPECT_EQ(support::GetSource(*project, kItemA)->GetContentState(), kItemB);
  EXPECT_EQ(support::GetSource(*project, kItemB)->GetContentState(), before);
}

TEST_F(ScriptedBackendTest, ProjectAnswersComeFromItsSetup) {
  ScriptedProjectSetup setup;
  setup.missingAssets.fonts.push_back(MissingFont{"Serif", "Bold", "", "", 1});
  const Guid folder("00000000-0000-0000-0000-0000000000F1");
  setup.containers[Guid()] = {ItemInfo{u"Comp 1", kItemA, ItemInfo::kTypeLeaf},
                             ItemInfo{u"Folder", folder, ItemInfo::kTypeContainer}};
  setup.containers[folder] = {ItemInfo{u"Comp 2", kItemB, ItemInfo::kTypeLeaf}};
  setup.itemsXML = "<Project/>";
  setup.linkedSources = {kItemB};
  setup.fontChangeValues = {1, 2};
  backend->SetProject("/projects/b.marlp", setup);
  auto project = support::OpenProject(u"/projects/b.marlp");
  ASSERT_TRUE(project);

  EXPECT_EQ(project->GetMissingAssets(), setup.missingAssets);
  EXPECT_EQ(project->GetFile().FullPath(), u"/projects/b.marlp");

  Catcher<Container> root;
  project->GetContainer(root.Callback(), Guid());
  auto rootContainer = root.Get().object;
  ASSERT_TRUE(rootContainer);
  EXPECT_TRUE(rootContainer->GetID().IsNil());
  EXPECT_EQ(rootContainer->GetContainedItems().size(), 2u);
  Catcher<Container> inner;
  project->GetContainer(inner.Callback(), folder);
  EXPECT_EQ(inner.Get().object->GetContainedItems()[0].id, kItemB);
  Catcher<Container> unknown;
  project->GetContainer(unknown.Callback(), kItemA);
  EXPECT_EQ(unknown.Get().status, kConnectionStatusNotFound);

  std::promise<std::string> xml;
  project->GetItemsAsXML([&](ConnectionStatus, const std::string& text) { xml.set_value(text); }, {kItemA});
  EXPECT_EQ(xml.get_future().get(), "<Project/>");

  std::promise<std::pair<bool, bool>> linked;
  project->IsSourceLinked(
      [&](ConnectionStatus, bool a) {
        project->IsSourceLinked([&, a](ConnectionStatus, bool b) { linked.set_value({a, b}); }, kItemB);
      },
      kItemA);
  EXPECT_EQ(linked.get_future().get(), std::make_pair(false, true));

  std::vector<unsigned int> values;
  for (int i = 0; i < 3; ++i) {
    std::promise<unsigned int> value;
    project->RuntimeFontChange([&](ConnectionStatus, unsigned int v) { value.set_value(v); });
    values.push_back(value.get_future().get());
  }
  EXPECT_EQ(values, (std::vector<unsigned int>{1, 2, 2}));
}

TEST_F(ScriptedBackendTest, FileServersOpenSourcesByPath) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.info.name = u"Timeline";
  backend->SetSource("/cuts/edit.xml", setup);
  Catcher<TolmenServer> tolmen;
  TolmenServer::CreateTetherServer(tolmen.Callback(), kServerConnectionTypeDefault);
  Catcher<FileServer> files;
  tolmen.Get().object->CreateFileServerLink(files.Callback());
  auto fileServer = files.Get().object;
  ASSERT_TRUE(fileServer);
  std::promise<std::shared_ptr<Source>> opened;
  fileServer->OpenFile(
      [&](ConnectionStatus, const std::shared_ptr<Source>& source, const kilncore::WideString&,
          const kilncore::WideString&, int) { opened.set_value(source); },
      File(u"/cuts/edit.xml", false));
  auto source = opened.get_future().get();
  ASSERT_TRUE(source);
  EXPECT_EQ(source->GetName(), u"Timeline");

  Catcher<EaselServer> easel;
  EaselServer::CreateTetherServer(easel.Callback());
  Catcher<FileServer> easelFiles;
  easel.Get().object->ConnectFileServer(easelFiles.Callback());
  EXPECT_TRUE(easelFiles.Get().object);
  EXPECT_EQ(backend->CallCount(Operation::kConnectFileServer, "EaselServer"), 1u);
}

TEST_F(ScriptedBackendTest, RemoteAssetsOpenWithoutAProject) {
  auto server = support::ConnectServer();
  FarsideAssetRequestInfo request;
  request.production = "prod";
  request.version = "v1";
  request.asset = "shot-10";
  Catcher<Source> source;
  server->OpenFarsideAsset(source.Callback(), request);
  EXPECT_TRUE(source.Get().object);
  auto calls = backend->Calls(Operation::kOpenFarsideAsset);
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].key, "shot-10");
  EXPECT_EQ(calls[0].Args<OpenFarsideAssetArgs>().request, request);
  EXPECT_EQ(backend->CallCount(Operation::kOpenProject), 0u);
  EXPECT_EQ(backend->CallCount(Operation::kGetSource), 0u);
}

TEST_F(ScriptedBackendTest, ProgressReportsReachTheInstalledCallback) {
  auto server = support::ConnectServer();
  std::promise<std::tuple<std::string, double, std::vector<kilncore::WideString>>> report;
  server->SetProgressCallback(
      [&](const std::string& type, const double& value, const std::vector<kilncore::WideString>& arguments) {
        report.set_value({type, value, arguments});
      });
  backend->EmitProgress("loading", 0.5, {u"a"});
  auto [type, value, arguments] = report.get_future().get();
  EXPECT_EQ(type, "loading");
  EXPECT_EQ(value, 0.5);
  EXPECT_EQ(arguments, std::vector<kilncore::WideString>{u"a"});
}

TEST(ScriptedBackendShutdownTest, ShutdownDropsPendingAnswersAndLaterCallsFailAsynchronously) {
  auto backend = ScriptedBackend::Create();
  InstallBackend(backend);
  backend->Script(Operation::kCreateMarlServer, Behaviour::Succeed().After(std::chrono::hours(1)));
  auto sentinel = std::make_shared<int>(0);
  std::weak_ptr<int> watch = sentinel;
  MarlServer::CreateTetherServer([sentinel = std::move(sentinel)](ConnectionStatus, const std::shared_ptr<MarlServer>&) {},
                                 kServerConnectionTypeDefault);
  backend->Shutdown();
  EXPECT_TRUE(watch.expired());

  Catcher<MarlServer> late;
  MarlServer::CreateTetherServer(late.Callback(), kServerConnectionTypeDefault);
  auto answer = late.Get();
  EXPECT_EQ(answer.status, kConnectionStatusServerUnavailable);
  EXPECT_EQ(answer.object, nullptr);
  EXPECT_NE(answer.thread, std::this_thread::get_id());
  EXPECT_EQ(backend->CallCount(Operation::kCreateMarlServer), 2u);
  InstallBackend(nullptr);
}

}  // namespace
