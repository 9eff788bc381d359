// The host application's own projects over the real link: bins and
// sequences, exported items, frames of stills, missing media and gaps, and the
// named requests of a sequence, over both roads to a server.
#include "IpcTestSupport.h"
#include "ServerModes.h"

#include <ServerProcessInProcess.h>
#include <server/render/FrameStamp.h>

#include <ProjectXML/ProjectXMLReader.h>

#include <kilncore/serialization/JSONBuild.h>
#include <kilncore/string/UTFConversion.h>
#include <tether/AudioRenderer.h>
#include <tether/Container.h>
#include <tether/FileServer.h>
#include <tether/TolmenServer.h>
#include <tether/ipc/IpcBackend.h>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace tether::ipctest {
namespace {

using kilncore::utility::Guid;

const std::string kExamples = TETHER_TEST_EXAMPLES_FOLDER;
const Guid kFootage("B7A1C0DE-0000-4000-8000-000000000001");
const Guid kTitleCard("C7A1C0DE-0000-4000-8000-000000000021");
const Guid kMain("5E7A1C0D-0000-4000-8000-000000000011");
const Guid kNTSC("5E7A1C0D-0000-4000-8000-000000000012");
const Guid kSmart("5E7A1C0D-0000-4000-8000-0000000000A1");
constexpr int64_t kTicksPerFrame25 = 10160640000;

File ExampleFile(const std::string& name) {
  const std::string path = kExamples + "/host/" + name;
  return File(kilncore::WideString(path.begin(), path.end()));
}

// Waits for GetItemsAsXML's callback.
template <class Start>
std::pair<int, std::string> AwaitText(Start start) {
  auto promise = std::make_shared<std::promise<std::pair<int, std::string>>>();
  auto future = promise->get_future();
  start([promise](ConnectionStatus status, const std::string& text) { promise->set_value({status, text}); });
  if (future.wait_for(kWait) != std::future_status::ready) {
    ADD_FAILURE() << "callback never came";
    return {-1, {}};
  }
  return future.get();
}

// The answer of a named request: the reply, or the error's code and message.
struct Answer {
  AnyValue reply;
  int code = 0;
  kilncore::WideString message;
};

AnyValue Time(int64_t ticks) { return MakeAny(AnyObject{{"ticks", MakeAny(ticks)}}); }

// An integer as the wire gives it: signed or not.
int64_t IntegerOf(const AnyValue& value) {
  if (const auto* signedValue = std::any_cast<int64_t>(value.get())) return *signedValue;
  return static_cast<int64_t>(std::any_cast<uint64_t>(*value));
}

int64_t TicksOf(const AnyValue& time) { return IntegerOf(std::any_cast<const AnyObject&>(*time).at("ticks")); }

const AnyArray& ValueOf(const Answer& answer) {
  return std::any_cast<const AnyArray&>(*std::any_cast<const AnyObject&>(*answer.reply).at("value"));
}

class IpcHostProjectTest : public ::testing::TestWithParam<Mode> {
 protected:
  void SetUp() override {
    mInProcess = std::make_unique<tetherserver::InProcessServer>();
    mBackend = MakeBackendFor(GetParam(), *mInProcess);
    auto [typedStatus, typed] =
        Await<TolmenServer>([&](auto cb) { mBackend->CreateTolmenServer(cb, kServerConnectionTypeDefault); });
    ASSERT_EQ(typedStatus, 0);
    mTyped = typed;
    auto [status, server] = Await<Server>([&](auto cb) { typed->ConnectLinkedServer(cb); });
    ASSERT_EQ(status, 0);
    mServer = server;
  }
  void TearDown() override {
    mServer.reset();
    mTyped.reset();
    mBackend.reset();
    mInProcess.reset();
  }

  std::pair<int, std::shared_ptr<Project>> Open(const File& file) {
    return Await<Project>([&](auto cb) { mServer->OpenProject(cb, file); });
  }

  std::shared_ptr<Source> SourceOf(const std::string& name, const Guid& id) {
    auto [status, project] = Open(ExampleFile(name));
    EXPECT_EQ(status, 0);
    if (!project) return nullptr;
    mProject = project;
    auto [sourceStatus, source] = Await<Source>([&](auto cb) { project->GetSource(cb, id); });
    EXPECT_EQ(sourceStatus, 0);
    return source;
  }

  // The frame at `frame` (25 fps) as 64 x 36 BGRA bytes.
  std::vector<uint8_t> Frame(Source& source, int64_t frame) {
    VideoRenderOptions options;
    options.SetBounds(64, 36);
    options.SetPixelFormats({{0x42475241, 0}});
    auto [status, renderer] = Await<VideoRenderer>([&](auto cb) { source.GetVideoRenderer(cb, options); });
    EXPECT_EQ(status, 0);
    if (!renderer) return {};
    Block block = AwaitBlock(*renderer, RatioTime(frame, 25));
    EXPECT_EQ(block.status, 0);
    if (!block.data) return {};
    const auto* bytes = static_cast<const uint8_t*>(block.data->GetAddress());
    std::vector<uint8_t> copy(bytes, bytes + block.data->GetSize());
    block.data->ReleaseAddress();
    return copy;
  }

  // 256 stereo sample frames at 48 kHz from the start.
  std::vector<float> Audio(Source& source) {
    AudioRenderOptions options;
    options.SetAudioChannelLayout(source.GetAudioChannelLayout());
    options.SetSampleRate(source.GetAudioSampleRate());
    auto [status, reader] = Await<AudioRenderer>([&](auto cb) { source.GetAudioRenderer(cb, options, RatioTime(0), 512); });
    EXPECT_EQ(status, 0);
    if (!reader) return {};
    Block block = AwaitBlock(*reader);
    EXPECT_EQ(block.status, 0);
    if (!block.data) return {};
    const auto* samples = static_cast<const float*>(block.data->GetAddress());
    std::vector<float> copy(samples, samples + block.data->GetSize() / sizeof(float));
    block.data->ReleaseAddress();
    return copy;
  }

  static std::array<uint8_t, 4> PixelAt(const std::vector<uint8_t>& frame, int x, int y) {
    const size_t at = (size_t(y) * 64 + size_t(x)) * 4;
    return {frame.at(at), frame.at(at + 1), frame.at(at + 2), frame.at(at + 3)};
  }

  Answer Ask(Source& source, const std::string& name, AnyArray extra, const Guid& id) {
    return AskAbout(source, kExamples + "/host/smart.tlmproj", name, std::move(extra), id);
  }

  Answer AskAbout(Source& source, const std::string& path, const std::string& name, AnyArray extra, const Guid& id) {
    AnyArray arguments{MakeAny(path), MakeAny(id.AsUTF8String())};
    for (auto& argument : extra) arguments.push_back(argument);
    auto promise = std::make_shared<std::promise<Answer>>();
    auto future = promise->get_future();
    const auto call = kilncore::serialization::BuildCall(name, std::move(arguments));
    source.SendRequest(
        *call, [promise](std::shared_ptr<std::any> reply, int64_t) { promise->set_value(Answer{reply, 0, {}}); },
        [promise](int code, const kilncore::WideString& message, int64_t) {
          promise->set_value(Answer{nullptr, code, message});
        });
    if (future.wait_for(kWait) != std::future_status::ready) {
      ADD_FAILURE() << "request never answered";
      return {};
    }
    return future.get();
  }

  std::unique_ptr<tetherserver::InProcessServer> mInProcess;
  std::shared_ptr<ipc::IpcBackend> mBackend;
  std::shared_ptr<TolmenServer> mTyped;
  std::shared_ptr<Server> mServer;
  std::shared_ptr<Project> mProject;
};

TEST_P(IpcHostProjectTest, BothFlavoursListTheirBinsSequencesAndClips) {
  for (const char* name : {"edit.tlmproj", "edit.tlmprojx"}) {
    SCOPED_TRACE(name);
    auto [status, project] = Open(ExampleFile(name));
    ASSERT_EQ(status, 0);
    auto [rootStatus, root] = Await<Container>([&](auto cb) { project->GetContainer(cb, Guid()); });
    ASSERT_EQ(rootStatus, 0);
    const std::vector<ItemInfo> items = root->GetContainedItems();
    ASSERT_EQ(items.size(), 3u);
    EXPECT_EQ(items[0].id, kFootage);
    EXPECT_EQ(items[0].type, ItemInfo::kTypeContainer);
    EXPECT_EQ(items[1].id, kMain);
    EXPECT_EQ(items[1].type, ItemInfo::kTypeLeaf);
    auto [binStatus, bin] = Await<Container>([&](auto cb) { project->GetContainer(cb, kFootage); });
    ASSERT_EQ(binStatus, 0);
    // Master clips are neither leaves nor containers: clients skip them.
    ASSERT_EQ(bin->GetContainedItems().size(), 2u);
    EXPECT_EQ(bin->GetContainedItems()[0].type, 2);
  }
}

TEST_P(IpcHostProjectTest, ExportedItemsCarryTheirMarks) {
  auto [status, project] = Open(ExampleFile("edit.tlmproj"));
  ASSERT_EQ(status, 0);
  auto [xmlStatus, xml] = AwaitText(
      [&](auto cb) { project->GetItemsAsXML(cb, std::vector<Guid>{kMain, kFootage}); });
  ASSERT_EQ(xmlStatus, 0);
  const ProjectXML::ProjectDocument document = ProjectXML::ProjectXMLReader::Read(xml);
  ASSERT_EQ(document.items.size(), 2u);
  EXPECT_EQ(document.items[0].id, kMain);
  EXPECT_EQ(document.items[1].children.size(), 2u);
  ASSERT_EQ(document.properties.size(), 1u);
  EXPECT_EQ(document.properties[0].value, "11 1");
  auto [unknownStatus, unknown] =
      AwaitText([&](auto cb) { project->GetItemsAsXML(cb, std::vector<Guid>{Guid::CreateUnique()}); });
  EXPECT_NE(unknownStatus, 0);
}

TEST_P(IpcHostProjectTest, FramesShowTheTopmostEnabledClipTheOfflineSlateAndBlackGaps) {
  auto source = SourceOf("edit.tlmproj", kMain);
  ASSERT_TRUE(source);
  EXPECT_EQ(source->GetFrameSize().right, 1920);
  EXPECT_EQ(source->GetDuration(), RatioTime(200, 25));

  // Frame 0: the title card (the disabled green overlay above it is skipped),
  // scaled from 64 x 36: blue with a light band.
  const auto still = Frame(*source, 0);
  EXPECT_EQ(PixelAt(still, 40, 4), (std::array<uint8_t, 4>{200, 60, 20, 255}));
  EXPECT_EQ(PixelAt(still, 40, 18), (std::array<uint8_t, 4>{240, 240, 240, 255}));
  const auto stamp = tetherserver::ReadFrameStamp(still.data(), still.size());
  ASSERT_TRUE(stamp);
  EXPECT_EQ(stamp->ticks, 0);

  // Frame 60: the missing shot, drawn as the offline slate.
  const auto slate = Frame(*source, 60);
  EXPECT_EQ(PixelAt(slate, 60, 34), (std::array<uint8_t, 4>{13, 13, 115, 255}));
  ASSERT_TRUE(tetherserver::ReadFrameStamp(slate.data(), slate.size()));
  EXPECT_EQ(tetherserver::ReadFrameStamp(slate.data(), slate.size())->frameNumber, 60);

  // Frame 160: between clips.
  const auto gap = Frame(*source, 160);
  EXPECT_EQ(PixelAt(gap, 40, 20), (std::array<uint8_t, 4>{0, 0, 0, 255}));
}

TEST_P(IpcHostProjectTest, AudioIsTheWavFileATonePlaceholderOrSilence) {
  // The interview (a 220 Hz WAV file) from the start of the main sequence.
  const auto main = SourceOf("edit.tlmproj", kMain);
  ASSERT_TRUE(main);
  const std::vector<float> interview = Audio(*main);
  ASSERT_EQ(interview.size(), 512u);
  for (int i = 0; i < 256; i += 17) {
    const double expected = std::trunc(8000 * std::sin(2 * std::numbers::pi * 220 * i / 48000)) / 32768;
    EXPECT_NEAR(interview[size_t(i) * 2], expected, 1e-4) << i;
    EXPECT_EQ(interview[size_t(i) * 2 + 1], interview[size_t(i) * 2]);
  }
  // A clip whose media isn't sound: the 440 Hz tone at a quarter of full scale.
  const auto smart = SourceOf("smart.tlmproj", kSmart);
  ASSERT_TRUE(smart);
  const std::vector<float> tone = Audio(*smart);
  ASSERT_EQ(tone.size(), 512u);
  EXPECT_NEAR(tone[2 * 27], 0.25 * std::sin(2 * std::numbers::pi * 440 * 27 / 48000), 1e-5);
  // A sequence without clips: silence.
  const auto empty = SourceOf("edit.tlmproj", kNTSC);
  ASSERT_TRUE(empty);
  for (float sample : Audio(*empty)) ASSERT_EQ(sample, 0.0f);
}

TEST_P(IpcHostProjectTest, NamedRequestsAnswerSegmentsStillsFormatsAndQuality) {
  auto source = SourceOf("smart.tlmproj", kSmart);
  ASSERT_TRUE(source);
  const Answer segments = Ask(*source, "com.veldmoor.tether.Tolmen.DetermineSmartRenderSegmentsInRange",
                              {Time(0), Time(40 * kTicksPerFrame25),
                               MakeAny(AnyObject{{"fourcc", MakeAny(0x42475241u)}, {"properties", MakeAny(0u)}}),
                               MakeAny(false), MakeAny(false)},
                              kSmart);
  ASSERT_EQ(segments.code, 0);
  // The shot, interrupted by the title above it: two segments of clip 7.
  const AnyArray& list = ValueOf(segments);
  ASSERT_EQ(list.size(), 2u);
  std::vector<std::pair<int64_t, int64_t>> spans;
  for (const AnyValue& entry : list) {
    const auto& segment = std::any_cast<const AnyObject&>(*std::any_cast<const AnyArray&>(*entry)[1]);
    EXPECT_EQ(IntegerOf(segment.at("ClipID")), 7);
    spans.emplace_back(TicksOf(segment.at("StartTime")), TicksOf(segment.at("EndTime")));
  }
  EXPECT_EQ(spans, (std::vector<std::pair<int64_t, int64_t>>{{0, 10 * kTicksPerFrame25},
                                                            {20 * kTicksPerFrame25, 40 * kTicksPerFrame25}}));

  const Answer stills = Ask(*source, "com.veldmoor.tether.Tolmen.GetStillRanges", {}, kSmart);
  ASSERT_EQ(stills.code, 0);
  ASSERT_EQ(ValueOf(stills).size(), 1u);
  const auto& range = std::any_cast<const AnyArray&>(*ValueOf(stills)[0]);
  EXPECT_EQ(TicksOf(range[0]), 10 * kTicksPerFrame25);
  EXPECT_EQ(TicksOf(range[1]), 20 * kTicksPerFrame25);

  const Answer formats =
      Ask(*source, "com.veldmoor.tether.Tolmen.GetAcceleratedRendererTimelineData", {MakeAny(true)}, kSmart);
  ASSERT_EQ(formats.code, 0);
  EXPECT_EQ(ValueOf(formats).size(), 3u);

  const Answer quality = Ask(*source, "com.veldmoor.tether.Tolmen.GetMaximumRenderQuality", {}, kSmart);
  ASSERT_EQ(quality.code, 0);
  EXPECT_FALSE(std::any_cast<bool>(*std::any_cast<const AnyObject&>(*quality.reply).at("value")));
}

TEST_P(IpcHostProjectTest, UnknownOrMalformedRequestsGetErrorReplies) {
  auto source = SourceOf("smart.tlmproj", kSmart);
  ASSERT_TRUE(source);
  const Answer unknown = Ask(*source, "com.veldmoor.tether.Tolmen.NoSuchCall", {}, kSmart);
  EXPECT_EQ(unknown.code, -2);
  EXPECT_EQ(unknown.message, u"unknown request \"com.veldmoor.tether.Tolmen.NoSuchCall\"");
  const Answer shortCall =
      Ask(*source, "com.veldmoor.tether.Tolmen.DetermineSmartRenderSegmentsInRange", {Time(0)}, kSmart);
  EXPECT_EQ(shortCall.code, -3);
  EXPECT_EQ(shortCall.message, u"com.veldmoor.tether.Tolmen.DetermineSmartRenderSegmentsInRange takes 7 arguments");
  const Answer otherItem = Ask(*source, "com.veldmoor.tether.Tolmen.GetStillRanges", {}, Guid::CreateUnique());
  EXPECT_EQ(otherItem.code, -3);
  // The server goes on serving.
  EXPECT_EQ(Ask(*source, "com.veldmoor.tether.Tolmen.GetStillRanges", {}, kSmart).code, 0);
}

TEST_P(IpcHostProjectTest, MalformedOrMissingProjectsAreRefusedAndTheServerGoesOn) {
  const auto folder = std::filesystem::temp_directory_path() / ("tether-host-" + Guid::CreateUnique().AsUTF8String());
  std::filesystem::create_directories(folder);
  const std::string bad = (folder / "bad.tlmproj").string();
  std::ofstream(bad) << "<tolmenProject><sequence name='S'";
  EXPECT_NE(Open(File(kilncore::WideString(bad.begin(), bad.end()))).first, 0);
  EXPECT_NE(Open(ExampleFile("no-such-project.tlmproj")).first, 0);
  EXPECT_NE(Open(ExampleFile("simple.marlp")).first, 0);
  EXPECT_EQ(Open(ExampleFile("edit.tlmproj")).first, 0);
  std::filesystem::remove_all(folder);
}

TEST_P(IpcHostProjectTest, FinalCutProXMLOpensAsAPlainFileShowingItsFirstSequence) {
  auto [status, fileServer] = Await<FileServer>([&](auto cb) { mTyped->CreateFileServerLink(cb); });
  ASSERT_EQ(status, 0);
  auto opened = std::make_shared<std::promise<std::pair<int, std::shared_ptr<Source>>>>();
  auto future = opened->get_future();
  fileServer->OpenFile(
      [opened](ConnectionStatus openStatus, const std::shared_ptr<Source>& source, const kilncore::WideString&,
               const kilncore::WideString&, int) { opened->set_value({openStatus, source}); },
      ExampleFile("cut.xml"));
  ASSERT_EQ(future.wait_for(kWait), std::future_status::ready);
  auto [openStatus, source] = future.get();
  ASSERT_EQ(openStatus, 0);
  ASSERT_TRUE(source);
  EXPECT_EQ(source->GetName(), u"Cut 29.97 DF");
  EXPECT_EQ(source->GetFrameSize().right, 64);
  EXPECT_EQ(source->GetDuration(), RatioTime(120 * 1001, 30000));

  auto at = [&](int64_t frame) {
    VideoRenderOptions options;
    options.SetPixelFormats({{0x42475241, 0}});
    auto [rendererStatus, renderer] = Await<VideoRenderer>([&](auto cb) { source->GetVideoRenderer(cb, options); });
    EXPECT_EQ(rendererStatus, 0);
    Block block = AwaitBlock(*renderer, RatioTime(frame * 1001, 30000));
    const auto* bytes = static_cast<const uint8_t*>(block.data->GetAddress());
    const size_t middle = (size_t{30} * 64 + 40) * 4;
    std::array<uint8_t, 4> pixel{bytes[middle], bytes[middle + 1], bytes[middle + 2], bytes[middle + 3]};
    block.data->ReleaseAddress();
    return pixel;
  };
  EXPECT_EQ(at(5), (std::array<uint8_t, 4>{60, 180, 30, 255}));   // the shot, by its relative path
  EXPECT_EQ(at(40), (std::array<uint8_t, 4>{13, 13, 115, 255}));  // missing title: the slate
  EXPECT_EQ(at(70), (std::array<uint8_t, 4>{60, 180, 30, 255}));  // the shot again, by its file id
  EXPECT_EQ(at(95), (std::array<uint8_t, 4>{0, 0, 0, 255}));      // a generator is skipped: black
  EXPECT_EQ(at(110), (std::array<uint8_t, 4>{13, 13, 115, 255})); // a nested sequence: the slate

  const std::string path = kExamples + "/host/cut.xml";
  const Answer segments = AskAbout(
      *source, path, "com.veldmoor.tether.Tolmen.DetermineSmartRenderSegmentsInRange",
      {Time(0), Time(120 * 8475667200),
       MakeAny(AnyObject{{"fourcc", MakeAny(0x42475241u)}, {"properties", MakeAny(0u)}}), MakeAny(false),
       MakeAny(false)},
      Guid("5E7A1C0D-0000-4000-8000-0000000000C1"));
  ASSERT_EQ(segments.code, 0) << kilncore::string::UTF16to8(segments.message);
  // Pictures of an xmeml file are stills, which are never taken over...
  EXPECT_TRUE(ValueOf(segments).empty());
  // ...but answer as still ranges: the shot, cut at the dissolve's middle to
  // the title, and the shot again by its reused file id, up to the
  // generator's gap: one range.
  const Answer stills =
      AskAbout(*source, path, "com.veldmoor.tether.Tolmen.GetStillRanges", {}, Guid("5E7A1C0D-0000-4000-8000-0000000000C1"));
  ASSERT_EQ(stills.code, 0);
  ASSERT_EQ(ValueOf(stills).size(), 1u);
  const auto& only = std::any_cast<const AnyArray&>(*ValueOf(stills)[0]);
  EXPECT_EQ(TicksOf(only[0]), 0);
  EXPECT_EQ(TicksOf(only[1]), 90 * int64_t{8475667200});
}

TEST_P(IpcHostProjectTest, MalformedFinalCutProXMLIsRefused) {
  const auto folder = std::filesystem::temp_directory_path() / ("tether-xmeml-" + Guid::CreateUnique().AsUTF8String());
  std::filesystem::create_directories(folder);
  auto [status, fileServer] = Await<FileServer>([&](auto cb) { mTyped->CreateFileServerLink(cb); });
  ASSERT_EQ(status, 0);
  const std::vector<std::string> bad = {
      "<xmeml version='5'><sequence><media><video><track><clipitem><start>0</start><end>5</end>"
      "<file id='never-defined'/></clipitem></track></video></media></sequence></xmeml>",
      "<xmeml version='9'/>", "<xmeml version='5'><sequence><media><video><format><samplecharacteristics>"
      "<width>99999</width></samplecharacteristics></format></video></media></sequence></xmeml>",
      "<xmeml", "<xmeml version='4'><project><children/></project></xmeml>"};
  for (size_t i = 0; i < bad.size(); ++i) {
    const std::string path = (folder / ("bad" + std::to_string(i) + ".xml")).string();
    std::ofstream(path) << bad[i];
    auto opened = std::make_shared<std::promise<int>>();
    auto future = opened->get_future();
    fileServer->OpenFile([opened](ConnectionStatus openStatus, const std::shared_ptr<Source>&,
                                  const kilncore::WideString&, const kilncore::WideString&, int) { opened->set_value(openStatus); },
                         File(kilncore::WideString(path.begin(), path.end())));
    ASSERT_EQ(future.wait_for(kWait), std::future_status::ready);
    EXPECT_NE(future.get(), 0) << bad[i];
  }
  std::filesystem::remove_all(folder);
}

INSTANTIATE_TEST_SUITE_P(Roads, IpcHostProjectTest, ::testing::Values(Mode::kInProcess, Mode::kChildProcess));

}  // namespace
}  // namespace tether::ipctest
