#include "SourceCreationTestSupport.h"

#include <mediainfo/TetherMediaInfo.h>

#include <Crate/ApplicationType.h>
#include <KL/FarsideAvailability.h>
#include <RL/MediaType.h>
#include <TetherMedia/Prefs.h>
#include <WF/ConformedAudioSourceFile.h>
#include <WF/FileOpenExclusion.h>
#include <WF/ImportedAudioSource.h>

#include <kilncore/config/KilnException.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/Seam.h>

#include <gtest/gtest.h>

#include <latch>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace TetherMedia::testing {
namespace {

using kilncore::WideString;
using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using kilncore::utility::ScopedSeam;

const Guid kSourceID(u"0B5E7C2D-4A1F-4E6B-9C3D-2F8A7B6C5D4E");
const kilnmediatypes::FrameRate kClipRate(10584000000);  // 24 fps
constexpr int32_t kImportingHost = 8;
constexpr int32_t kOtherImportingHost = 11;
constexpr int32_t kMarlHost = 1;

// Plays the given remote-client availability, then restores it.
class ScopedFarsideAvailability {
 public:
  explicit ScopedFarsideAvailability(bool available) : mPrevious(KL::IsFarsideClientAvailable()) {
    KL::SetFarsideClientAvailable(available);
  }
  ~ScopedFarsideAvailability() { KL::SetFarsideClientAvailable(mPrevious); }

 private:
  bool mPrevious;
};

class SourceCreationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    WF::AudioSourcePool::Create()->Clear();
    stream = std::make_shared<FakeAudioVideoSource>();
    stream->contentState = Guid(u"11111111-2222-4333-8444-555555555555");
    stream->layout = {{kilnmediatypes::kAudioChannelLabel_Left, 0},
                      {kilnmediatypes::kAudioChannelLabel_Right, 0}};
    item = std::make_shared<SourceCreationItem>();
    item->SetIdentity(u"/Volumes/Show/Opening.marlp", kSourceID);
    item->SetVideoSource(InterfaceRef<KL::IVideoSource>(stream));
  }
  void TearDown() override { WF::AudioSourcePool::Create()->Clear(); }

  int32_t CreateAudio(InterfaceRef<RL::ISource>& out, const WideString& conformRequest = {},
                      size_t streamIndex = 0, const RL::BinaryData& prefs = Prefs(),
                      const WideString& reservedPath = {}) {
    return item->CreateSourceForStream(RL::kMediaType_Audio, streamIndex, prefs, kClipRate, conformRequest,
                                       reservedPath, u"/conform/a", u"/conform/b", out);
  }
  static RL::BinaryData Prefs() { return SourceIDToPrefs(kSourceID); }
  static size_t PoolSize() { return WF::AudioSourcePool::Create()->GetSourceCount(); }

  std::shared_ptr<FakeAudioVideoSource> stream;
  std::shared_ptr<SourceCreationItem> item;
};

// ---- Video and other media types.

TEST_F(SourceCreationTest, VideoHandsOutTheStreamObjectItself) {
  InterfaceRef<RL::ISource> out;
  EXPECT_EQ(item->CreateSourceForStream(RL::kMediaType_Video, 7, RL::BinaryData(), kClipRate, u"conform",
                                        u"", u"", u"", out),
            0);
  EXPECT_EQ(out.Get(), static_cast<RL::ISource*>(stream.get()));
  EXPECT_EQ(PoolSize(), 0u);
}

TEST_F(SourceCreationTest, VideoWithoutStreamObjectGivesNullAndSucceeds) {
  item->SetVideoSource(nullptr);
  InterfaceRef<RL::ISource> out(stream);
  int32_t result = -1;
  EXPECT_NO_THROW(result = item->CreateSourceForStream(RL::kMediaType_Video, 0, Prefs(), kClipRate, u"", u"",
                                                       u"", u"", out));
  EXPECT_EQ(result, 0);
  EXPECT_TRUE(out.IsNull());
}

TEST_F(SourceCreationTest, OtherMediaTypeLeavesOutSourceUntouched) {
  const InterfaceRef<RL::ISource> before(stream);
  InterfaceRef<RL::ISource> out = before;
  EXPECT_EQ(item->CreateSourceForStream(Guid::CreateUnique(), 0, Prefs(), kClipRate, u"", u"", u"", u"", out), 0);
  EXPECT_EQ(out.Get(), before.Get());
  EXPECT_EQ(PoolSize(), 0u);
  EXPECT_EQ(stream->layoutCalls.load(), 0);
}

// ---- The audio road: which source is built.

TEST_F(SourceCreationTest, AudioInOrdinaryHostIsConformedAndPooled) {
  Crate::ScopedApplicationType host(kMarlHost);
  InterfaceRef<RL::ISource> out;
  ASSERT_EQ(CreateAudio(out), 0);
  ASSERT_FALSE(out.IsNull());
  EXPECT_TRUE(Answers(out, "WF::ConformedAudioSourceFile"));
  EXPECT_FALSE(Answers(out, "WF::ImportedAudioSource"));
  EXPECT_EQ(InterfaceRef<WF::AudioSourceImpl>(out)->GetWrappedSource().Get(),
            static_cast<DR::IAudioSource*>(stream.get()));
  EXPECT_EQ(PoolSize(), 1u);
}

TEST_F(SourceCreationTest, AudioSourceIsToldWhatTheItemIs) {
  Crate::ScopedApplicationType host(kMarlHost);
  InterfaceRef<RL::ISource> out;
  ASSERT_EQ(CreateAudio(out, {}, 3), 0);
  const WF::AudioSourceDescription& description = DescriptionOf(out);
  EXPECT_EQ(description.prefs, Prefs());
  EXPECT_EQ(description.frameRate, kClipRate);
  EXPECT_EQ(description.contentState, stream->contentState);
  EXPECT_EQ(description.documentID, item->GetDocumentID());
  EXPECT_EQ(description.path, u"/Volumes/Show/Opening.marlp");
  // The importer layer always gets stream 0; the stream index keys the pool.
  EXPECT_EQ(description.streamIndex, 0u);
  EXPECT_EQ(description.conformPathA, u"/conform/a");
  EXPECT_EQ(description.conformPathB, u"/conform/b");
  EXPECT_EQ(description.stationID, item->GetStationID());
}

TEST_F(SourceCreationTest, ImportingHostsBuildAnImportedSource) {
  for (int32_t type : {kImportingHost, kOtherImportingHost}) {
    WF::AudioSourcePool::Create()->Clear();
    Crate::ScopedApplicationType host(type);
    InterfaceRef<RL::ISource> out;
    ASSERT_EQ(CreateAudio(out), 0) << "host " << type;
    EXPECT_TRUE(Answers(out, "WF::ImportedAudioSource")) << "host " << type;
    const InterfaceRef<WF::ImportedAudioSource> imported(out);
    ASSERT_FALSE(imported.IsNull());
    EXPECT_FALSE(imported->IsOpenDeferred());
    EXPECT_FALSE(imported->IsReadOnly());
    EXPECT_EQ(PoolSize(), 1u);
  }
}

TEST_F(SourceCreationTest, ConformRequestWinsEvenInImportingHosts) {
  for (int32_t type : {kImportingHost, kOtherImportingHost}) {
    WF::AudioSourcePool::Create()->Clear();
    Crate::ScopedApplicationType host(type);
    InterfaceRef<RL::ISource> out;
    ASSERT_EQ(CreateAudio(out, u"conform now"), 0);
    EXPECT_TRUE(Answers(out, "WF::ConformedAudioSourceFile")) << "host " << type;
  }
}

TEST_F(SourceCreationTest, ForceConformMattersOnlyInImportingHosts) {
  item->ForceConform(true);
  {
    Crate::ScopedApplicationType host(kImportingHost);
    InterfaceRef<RL::ISource> out;
    ASSERT_EQ(CreateAudio(out), 0);
    EXPECT_TRUE(Answers(out, "WF::ConformedAudioSourceFile"));
  }
  WF::AudioSourcePool::Create()->Clear();
  item->ForceConform(false);
  {
    // Without the wish, another host conforms all the same.
    Crate::ScopedApplicationType host(kMarlHost);
    InterfaceRef<RL::ISource> out;
    ASSERT_EQ(CreateAudio(out), 0);
    EXPECT_TRUE(Answers(out, "WF::ConformedAudioSourceFile"));
  }
}

TEST_F(SourceCreationTest, ReservedPathHasNoEffect) {
  Crate::ScopedApplicationType host(kImportingHost);
  InterfaceRef<RL::ISource> first;
  ASSERT_EQ(CreateAudio(first, {}, 0, Prefs(), u""), 0);
  const WF::AudioSourceDescription firstDescription = DescriptionOf(first);
  first.Reset();  // the pool holds its sources weakly: the next call builds anew
  InterfaceRef<RL::ISource> second;
  ASSERT_EQ(CreateAudio(second, {}, 0, Prefs(), u"/somewhere/else"), 0);
  EXPECT_TRUE(Answers(second, "WF::ImportedAudioSource"));
  const WF::AudioSourceDescription& secondDescription = DescriptionOf(second);
  EXPECT_EQ(secondDescription.name, firstDescription.name);
  EXPECT_EQ(secondDescription.path, firstDescription.path);
  EXPECT_EQ(secondDescription.conformPathA, firstDescription.conformPathA);
  EXPECT_EQ(secondDescription.conformPathB, firstDescription.conformPathB);
}

// ---- The pool.

TEST_F(SourceCreationTest, SecondRequestWithSameKeyFindsTheFirstSource) {
  Crate::ScopedApplicationType host(kImportingHost);
  InterfaceRef<RL::ISource> first;
  ASSERT_EQ(CreateAudio(first), 0);
  InterfaceRef<RL::ISource> second;
  // The conform request would build a conformed source, but the pool is asked
  // first and the imported one fits.
  ASSERT_EQ(CreateAudio(second, u"conform now"), 0);
  EXPECT_EQ(second.Get(), first.Get());
  EXPECT_TRUE(Answers(second, "WF::ImportedAudioSource"));
  EXPECT_EQ(PoolSize(), 1u);
}

TEST_F(SourceCreationTest, AnyChangeOfTheKeyBuildsANewSource) {
  Crate::ScopedApplicationType host(kMarlHost);
  InterfaceRef<RL::ISource> original;
  ASSERT_EQ(CreateAudio(original), 0);

  InterfaceRef<RL::ISource> otherStream;
  ASSERT_EQ(CreateAudio(otherStream, {}, 1), 0);
  EXPECT_NE(otherStream.Get(), original.Get());

  InterfaceRef<RL::ISource> otherPrefs;
  ASSERT_EQ(CreateAudio(otherPrefs, {}, 0, BuildPrefsWithApplicationSpecificRenderOptions(kSourceID.AsString(),
                                                                                         u"{\"a\":1}")),
            0);
  EXPECT_NE(otherPrefs.Get(), original.Get());

  InterfaceRef<RL::ISource> otherRate;
  ASSERT_EQ(item->CreateSourceForStream(RL::kMediaType_Audio, 0, Prefs(), kilnmediatypes::FrameRate(8475667200),
                                        u"", u"", u"", u"", otherRate),
            0);
  EXPECT_NE(otherRate.Get(), original.Get());

  stream->duration = kilnmediatypes::TickTime(254016000000LL * 20);
  InterfaceRef<RL::ISource> otherDuration;
  ASSERT_EQ(CreateAudio(otherDuration), 0);
  EXPECT_NE(otherDuration.Get(), original.Get());

  stream->layout.pop_back();
  InterfaceRef<RL::ISource> otherLayout;
  ASSERT_EQ(CreateAudio(otherLayout), 0);
  EXPECT_NE(otherLayout.Get(), otherDuration.Get());
  EXPECT_EQ(PoolSize(), 6u);
}

TEST_F(SourceCreationTest, ItemNameIsNotPartOfTheKey) {
  Crate::ScopedApplicationType host(kMarlHost);
  InterfaceRef<RL::ISource> first;
  ASSERT_EQ(CreateAudio(first), 0);
  item->sourceName = u"Renamed";
  InterfaceRef<RL::ISource> second;
  ASSERT_EQ(CreateAudio(second), 0);
  EXPECT_EQ(second.Get(), first.Get());
}

TEST_F(SourceCreationTest, ConcurrentRequestsForOneItemShareOneSource) {
  Crate::ScopedApplicationType host(kImportingHost);
  constexpr int kRounds = 50;
  constexpr int kThreads = 4;
  for (int round = 0; round < kRounds; ++round) {
    WF::AudioSourcePool::Create()->Clear();
    std::latch start(kThreads);
    std::vector<InterfaceRef<RL::ISource>> results(kThreads);
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        start.arrive_and_wait();
        CreateAudio(results[i]);
      });
    }
    for (std::thread& thread : threads) thread.join();
    for (const auto& result : results) {
      ASSERT_FALSE(result.IsNull());
      EXPECT_EQ(result.Get(), results.front().Get()) << "round " << round;
    }
  }
}

// ---- The name given to the importer layer.

TEST_F(SourceCreationTest, ConformNameJoinsFilePartBlankItemNameAndExtension) {
  Crate::ScopedApplicationType host(kMarlHost);
  item->SetIdentity(u"C:\\x\\Show.marlp", kSourceID);
  InterfaceRef<RL::ISource> out;
  ASSERT_EQ(CreateAudio(out), 0);
  EXPECT_EQ(DescriptionOf(out).name, u"Show Comp 1.marlp");
}

TEST_F(SourceCreationTest, RemoteAssetIsNamedByItsItemNameAlone) {
  Crate::ScopedApplicationType host(kMarlHost);
  ScopedFarsideAvailability available(true);
  item->SetIdentity(u"{\"production\":\"Trailer\",\"version\":\"v3\",\"asset\":\"Titles\"}", kSourceID);
  InterfaceRef<RL::ISource> out;
  ASSERT_EQ(CreateAudio(out), 0);
  EXPECT_EQ(DescriptionOf(out).name, u"Comp 1");
}

TEST_F(SourceCreationTest, AssetNameIsAPathWhileTheRemoteClientIsUnavailable) {
  Crate::ScopedApplicationType host(kMarlHost);
  ScopedFarsideAvailability unavailable(false);
  const WideString path = u"{\"production\":\"Trailer\",\"version\":\"v3\",\"asset\":\"Titles\"}";
  item->SetIdentity(path, kSourceID);
  InterfaceRef<RL::ISource> out;
  ASSERT_EQ(CreateAudio(out), 0);
  // The whole text is one path component without a '.', so no extension.
  EXPECT_EQ(DescriptionOf(out).name, path + u" Comp 1");
}

// ---- Failures.

TEST_F(SourceCreationTest, AudioWithoutStreamObjectIsANullReferenceToTheAudioSource) {
  item->SetVideoSource(nullptr);
  InterfaceRef<RL::ISource> out;
  try {
    CreateAudio(out);
    FAIL() << "no exception";
  } catch (const kilncore::config::NullPtrException& e) {
    EXPECT_EQ(e.GetTypeName(), "DR::IAudioSource");
  }
  EXPECT_EQ(PoolSize(), 0u);
}

TEST_F(SourceCreationTest, StreamWithoutDurationIsANullReferenceToTheStream) {
  stream->answersAsStream = false;
  InterfaceRef<RL::ISource> out;
  try {
    CreateAudio(out);
    FAIL() << "no exception";
  } catch (const kilncore::config::NullPtrException& e) {
    EXPECT_EQ(e.GetTypeName(), "RL::ISource");
  }
  EXPECT_TRUE(out.IsNull());
  EXPECT_EQ(PoolSize(), 0u);
}

TEST_F(SourceCreationTest, RefusedImportReturnsItsCodeAndChangesNothing) {
  Crate::ScopedApplicationType host(kImportingHost);
  constexpr int32_t kUnplayable = static_cast<int32_t>(0xA00F0042u);
  stream->sampleRateCode = kUnplayable;
  const InterfaceRef<RL::ISource> before(stream);
  InterfaceRef<RL::ISource> out = before;
  EXPECT_EQ(CreateAudio(out), kUnplayable);
  EXPECT_EQ(out.Get(), before.Get());
  EXPECT_EQ(PoolSize(), 0u);
}

TEST_F(SourceCreationTest, LinkedItemWithoutSourceFailsOnItsNameFirst) {
  // A linked item that never connected has no name to give, and that is the
  // failure the host sees, not the missing audio interface behind it.
  auto linked = std::make_shared<TetherMediaInfo>();
  InterfaceRef<RL::ISource> out;
  try {
    linked->CreateSourceForStream(RL::kMediaType_Audio, 0, Prefs(), kClipRate, u"", u"", u"", u"", out);
    FAIL() << "no exception";
  } catch (const kilncore::config::NullPtrException& e) {
    EXPECT_EQ(e.GetTypeName(), "TetherMedia::TetherSource");
  }
  EXPECT_TRUE(out.IsNull());
}

// ---- Failure roads of the host's importer layer, played through its seams.

// The order in which the exclusion and the pool were reached, as one log.
class ExclusionAndPoolLog {
 public:
  ExclusionAndPoolLog()
      : mEnter(Wharf::FileOpenExclusion::EnterSeam(),
               [this](kilncore::WideStringView path) {
                 Add("enter " + kilncore::string::UTF16to8(path));
                 Wharf::FileOpenExclusion::EnterSeam().CallReal(path);
               }),
        mLeave(Wharf::FileOpenExclusion::LeaveSeam(),
               [this](kilncore::WideStringView path) {
                 Add("leave " + kilncore::string::UTF16to8(path));
                 Wharf::FileOpenExclusion::LeaveSeam().CallReal(path);
               }),
        mPool(WF::AudioSourcePool::CreateSeam(), [this] {
          Add("pool");
          return WF::AudioSourcePool::CreateSeam().CallReal();
        }) {}

  std::vector<std::string> Entries() const {
    std::lock_guard lock(mMutex);
    return mEntries;
  }

 private:
  void Add(std::string entry) {
    std::lock_guard lock(mMutex);
    mEntries.push_back(std::move(entry));
  }

  mutable std::mutex mMutex;
  std::vector<std::string> mEntries;
  ScopedSeam<void(kilncore::WideStringView)> mEnter;
  ScopedSeam<void(kilncore::WideStringView)> mLeave;
  ScopedSeam<InterfaceRef<WF::AudioSourcePool>()> mPool;
};

TEST_F(SourceCreationTest, PoolIsAskedOnlyUnderTheExclusionForTheItemsPath) {
  ExclusionAndPoolLog log;
  InterfaceRef<RL::ISource> out;
  ASSERT_EQ(CreateAudio(out), 0);
  const std::vector<std::string> expected = {"enter /Volumes/Show/Opening.marlp", "pool",
                                             "leave /Volumes/Show/Opening.marlp"};
  EXPECT_EQ(log.Entries(), expected);
}

TEST_F(SourceCreationTest, NullPoolIsANullReferenceToThePoolAndReleasesTheExclusion) {
  ExclusionAndPoolLog log;
  ScopedSeam noPool(WF::AudioSourcePool::CreateSeam(), [] { return InterfaceRef<WF::AudioSourcePool>(); });
  ScopedSeam conformed(WF::ConformedAudioSourceFile::CreateSeam());
  InterfaceRef<RL::ISource> out;
  try {
    CreateAudio(out);
    FAIL() << "no exception";
  } catch (const kilncore::config::NullPtrException& e) {
    EXPECT_EQ(e.GetTypeName(), "WF::AudioSourcePool");
  }
  EXPECT_TRUE(out.IsNull());
  EXPECT_TRUE(conformed.Calls().empty());
  const std::vector<std::string> expected = {"enter /Volumes/Show/Opening.marlp",
                                             "leave /Volumes/Show/Opening.marlp"};
  EXPECT_EQ(log.Entries(), expected);
}

TEST_F(SourceCreationTest, ConformedSourceThatComesBackNullLeavesNoSourceAndSucceeds) {
  ScopedSeam conformed(WF::ConformedAudioSourceFile::CreateSeam(),
                       [](auto&&...) { return InterfaceRef<DR::IAudioSource>(); });
  const InterfaceRef<RL::ISource> before(stream);
  InterfaceRef<RL::ISource> out = before;
  EXPECT_EQ(CreateAudio(out), 0);
  EXPECT_TRUE(out.IsNull());
  EXPECT_EQ(conformed.Calls().size(), 1u);
  EXPECT_EQ(PoolSize(), 0u);
}

TEST_F(SourceCreationTest, ImportedSourceRefusedByTheHostReturnsItsCodeAndChangesNothing) {
  Crate::ScopedApplicationType host(kOtherImportingHost);
  static constexpr int32_t kRefused = static_cast<int32_t>(0xA00F0099u);
  ScopedSeam imported(WF::ImportedAudioSource::CreateSeam(), [](auto&&...) { return kRefused; });
  const InterfaceRef<RL::ISource> before(stream);
  InterfaceRef<RL::ISource> out = before;
  EXPECT_EQ(CreateAudio(out), kRefused);
  EXPECT_EQ(out.Get(), before.Get());
  EXPECT_EQ(PoolSize(), 0u);
  ASSERT_EQ(imported.Calls().size(), 1u);
  // The two options the importer layer is given are always off.
  EXPECT_FALSE(std::get<12>(imported.Calls()[0]));
  EXPECT_FALSE(std::get<13>(imported.Calls()[0]));
}

TEST_F(SourceCreationTest, PositiveCodeOfTheImportedSourceIsTheResultAndTheSourceIsPooled) {
  Crate::ScopedApplicationType host(kImportingHost);
  constexpr int32_t kNoteworthy = 3;
  auto& seam = WF::ImportedAudioSource::CreateSeam();
  ScopedSeam imported(seam, [&seam](InterfaceRef<DR::IAudioSource> source, const RL::BinaryData& prefs,
                                    const kilnmediatypes::FrameRate& rate, InterfaceRef<DR::IAudioSource>& result,
                                    const WideString& name, const Guid& contentState, const Guid& documentID,
                                    const WideString& path, size_t index, const WideString& a, const WideString& b,
                                    const kilncore::utility::ImmutableString& station, bool defer, bool readOnly) {
    EXPECT_EQ(seam.CallReal(std::move(source), prefs, rate, result, name, contentState, documentID, path, index, a,
                            b, station, defer, readOnly),
              0);
    return kNoteworthy;
  });
  InterfaceRef<RL::ISource> out;
  EXPECT_EQ(CreateAudio(out), kNoteworthy);
  EXPECT_TRUE(Answers(out, "WF::ImportedAudioSource"));
  EXPECT_EQ(PoolSize(), 1u);
}

TEST_F(SourceCreationTest, SourceThatIsNoImporterSourceIsHandedOutButNotPooled) {
  // The host's layer may give a source of its own that isn't one of its
  // pooled kinds: the conversion fails and the pool is handed a null
  // reference, which it ignores.
  ScopedSeam conformed(WF::ConformedAudioSourceFile::CreateSeam(),
                       [this](auto&&...) { return InterfaceRef<DR::IAudioSource>(stream); });
  InterfaceRef<RL::ISource> out;
  EXPECT_EQ(CreateAudio(out), 0);
  EXPECT_EQ(out.Get(), InterfaceRef<RL::ISource>(stream).Get());
  EXPECT_EQ(PoolSize(), 0u);
}

}  // namespace
}  // namespace TetherMedia::testing
