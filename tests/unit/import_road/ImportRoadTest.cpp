// The whole road of a clip, as the host walks it: import a project file, ask
// the item for its streams, and pull a frame, against the scripted double of
// the client library.

#include <module/TetherMediaModule.h>
#include <source/TetherSource.h>

#include <requests/RequestTableForTesting.h>

#include <Crate/ApplicationType.h>
#include <DR/IAudioSource.h>
#include <KL/IMediaInfo.h>
#include <KL/IVideoSource.h>
#include <Pane/SharedPaneCache.h>
#include <RL/FrameFormat.h>
#include <RL/IPane.h>
#include <RL/MediaType.h>
#include <TetherMedia/Prefs.h>
#include <WF/AudioSourceImpl.h>
#include <WF/AudioSourcePool.h>

#include <kilnaudiotoolkit/AudioBuffer.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/Guid.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/Operation.h>
#include <tether/testing/ScopedBackend.h>
#include <tether/testing/ScriptedSignals.h>
#include <tether/testing/ScriptedSourceSetup.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace TetherMedia {
namespace {

using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using kilnmediatypes::TickTime;
using tether::testing::Operation;

const Guid kItem(u"5A4B3C2D-1E0F-4A9B-8C7D-6E5F4A3B2C1D");
constexpr int64_t kSecondFrame = 10584000000;  // at 24 fps, in ticks

class ImportRoadTest : public ::testing::Test {
 protected:
  ImportRoadTest()
      : mFolder(std::filesystem::temp_directory_path() / ("tether-road-" + Guid::CreateUnique().AsUTF8String())) {
    std::filesystem::create_directories(mFolder);
    std::ofstream(mFolder / "Show.marlp") << "project";
    mPath = kilncore::string::UTF8to16((mFolder / "Show.marlp").string());
  }
  ~ImportRoadTest() override {
    std::error_code ignored;
    std::filesystem::remove_all(mFolder, ignored);
  }
  void SetUp() override {
    Pane::SharedPaneCache::Instance().Clear();
    WF::AudioSourcePool::Create()->Clear();
    mBackend->SetSource(kItem, tether::testing::ScriptedSourceSetup::Typical());
    // A frame answered on a server thread can release its waiter before the
    // frame is stored, and the host then asks again and finds it in the cache.
    // Answering on the asking thread keeps that second request out of these
    // tests, which are about the road and not about that race.
    mBackend->Script(Operation::kRenderVideo,
                     tether::testing::Behaviour::Succeed().With(tether::testing::Delivery::kSynchronous));
  }
  void TearDown() override {
    mBackend->WaitForIdle();
    Pane::SharedPaneCache::Instance().Clear();
    WF::AudioSourcePool::Create()->Clear();
  }

  // The host's import of an existing clip of the item.
  InterfaceRef<KL::IMediaInfo> Import() {
    mPrefs = SourceIDToPrefs(kItem);
    bool changed = false;
    InterfaceRef<KL::IMediaInfo> item;
    EXPECT_EQ(TetherMediaModule().ImportFile(item, mPath, 0, 0, mPrefs, changed, true, false, u"", 0, nullptr, 0,
                                             nullptr),
              0);
    return item;
  }

  InterfaceRef<RL::ISource> Stream(const InterfaceRef<KL::IMediaInfo>& item, const Guid& mediaType) {
    InterfaceRef<RL::ISource> stream;
    EXPECT_EQ(item->CreateSourceForStream(mediaType, 0, mPrefs, kilnmediatypes::FrameRate(kSecondFrame), u"", u"",
                                          u"", u"", stream),
              0);
    return stream;
  }

  static RL::FrameFormat FullSizeBGRA() {
    RL::FrameFormat format;
    format.pixelFormat = kilnmediatypes::kPixelFormat_BGRA_4444_8u;
    format.width = 1920;
    format.height = 1080;
    format.pixelAspectRatio = kilnmediatypes::kPixelAspectRatio_Square;
    format.fieldType = kilnmediatypes::kFieldType_Progressive;
    return format;
  }

  std::filesystem::path mFolder;
  kilncore::WideString mPath;
  RL::BinaryData mPrefs;
  tether::testing::ScopedBackend mBackend;
};

TEST_F(ImportRoadTest, ImportedClipShowsTheServersPixelsUnchanged) {
  const InterfaceRef<KL::IMediaInfo> item = Import();
  ASSERT_TRUE(item);
  const InterfaceRef<KL::IVideoSource> video(Stream(item, RL::kMediaType_Video));
  ASSERT_TRUE(video);

  RL::FrameFormat format = FullSizeBGRA();
  ASSERT_GE(video->SelectFrameFormat(TickTime(kSecondFrame), format), 0);
  KL::IVideoSource::Frame frame;
  ASSERT_EQ(video->GetFrame(TickTime(kSecondFrame), format, mPrefs, false, frame), 0);
  ASSERT_TRUE(frame);

  Guid identifier;
  ASSERT_GE(video->GetIdentifierForSourceVideo(identifier, TickTime(kSecondFrame), format, mPrefs), 0);
  EXPECT_EQ(frame->GetIdentifier(), identifier);
  ASSERT_GT(frame->GetDataSize(), 0u);
  const auto* bytes = static_cast<const uint8_t*>(frame->GetData());
  size_t differing = 0;
  for (size_t i = 0; i < frame->GetDataSize(); ++i) {
    if (bytes[i] != tether::testing::ScriptedFrameByte(identifier, i)) ++differing;
  }
  EXPECT_EQ(differing, 0u);
  EXPECT_EQ(mBackend->CallCount(Operation::kRenderVideo), 1u);
}

TEST_F(ImportRoadTest, SecondLookAtAFrameCostsTheServerNothing) {
  const InterfaceRef<KL::IMediaInfo> item = Import();
  ASSERT_TRUE(item);
  const InterfaceRef<KL::IVideoSource> video(Stream(item, RL::kMediaType_Video));
  ASSERT_TRUE(video);
  RL::FrameFormat format = FullSizeBGRA();
  ASSERT_GE(video->SelectFrameFormat(TickTime(0), format), 0);
  KL::IVideoSource::Frame first;
  ASSERT_EQ(video->GetFrame(TickTime(0), format, mPrefs, false, first), 0);
  KL::IVideoSource::Frame second;
  ASSERT_EQ(video->GetFrame(TickTime(0), format, mPrefs, false, second), 0);
  ASSERT_TRUE(second);
  EXPECT_EQ(second->GetIdentifier(), first->GetIdentifier());
  EXPECT_EQ(mBackend->CallCount(Operation::kRenderVideo), 1u);
}

TEST_F(ImportRoadTest, VideoAndAudioStreamsShareTheItemsStreamObject) {
  Crate::ScopedApplicationType host(1);
  const InterfaceRef<KL::IMediaInfo> item = Import();
  ASSERT_TRUE(item);
  const InterfaceRef<RL::ISource> video = Stream(item, RL::kMediaType_Video);
  ASSERT_TRUE(video);
  EXPECT_TRUE(InterfaceRef<TetherSource>(video));
  EXPECT_TRUE(video == item->GetStream(RL::kMediaType_Video, 0));

  const InterfaceRef<RL::ISource> audio = Stream(item, RL::kMediaType_Audio);
  ASSERT_TRUE(audio);
  const InterfaceRef<WF::AudioSourceImpl> wrapper(audio);
  ASSERT_TRUE(wrapper);
  // The importer layer's audio source reads from the very stream object that
  // gives the frames, and a second clip of the item gets the same source.
  EXPECT_TRUE(wrapper->GetWrappedSource() == video);
  EXPECT_EQ(wrapper->GetDescription().path, mPath);
  EXPECT_EQ(wrapper->GetDescription().name, u"Show Item.marlp");
  EXPECT_TRUE(Stream(item, RL::kMediaType_Audio) == audio);
}

// A host that imports audio (8) and one that conforms it (1) each get their
// own kind of audio source around the item, and both play the server's
// samples, read through the stream object.
TEST_F(ImportRoadTest, BothKindsOfAudioSourcePlayTheServersSamples) {
  const InterfaceRef<KL::IMediaInfo> item = Import();
  ASSERT_TRUE(item);
  const struct {
    int32_t host;
    const char* kind;
  } hosts[] = {{8, "WF::ImportedAudioSource"}, {1, "WF::ConformedAudioSourceFile"}};
  for (const auto& [host, kind] : hosts) {
    SCOPED_TRACE(kind);
    Crate::ScopedApplicationType playing(host);
    WF::AudioSourcePool::Create()->Clear();
    const InterfaceRef<RL::ISource> stream = Stream(item, RL::kMediaType_Audio);
    ASSERT_TRUE(stream);
    EXPECT_TRUE(stream.GetOwner()->QueryInterface(kind) != nullptr);
    const InterfaceRef<DR::IAudioSource> audio(stream);
    ASSERT_TRUE(audio);

    constexpr int64_t kTicksPerSample = 254016000000 / 48000;
    constexpr uint32_t kChannels = 2;
    constexpr uint32_t kFrames = 1024;
    constexpr int64_t kFirstFrame = 4 * kFrames;
    kilnaudiotoolkit::AudioBuffer buffer(kChannels, kFrames);
    ASSERT_EQ(audio->ReadAudio(0, buffer, TickTime(kFirstFrame * kTicksPerSample)), 0);
    size_t differing = 0;
    for (uint32_t c = 0; c < kChannels; ++c) {
      const float* samples = buffer.GetChannel(c);
      for (uint32_t i = 0; i < kFrames; ++i) {
        if (samples[i] != tether::testing::ScriptedAudioSample(kFirstFrame + i, c)) ++differing;
      }
    }
    EXPECT_EQ(differing, 0u);
  }
}

}  // namespace
}  // namespace TetherMedia
