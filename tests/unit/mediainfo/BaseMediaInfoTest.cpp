#include "MediaInfoTestSupport.h"

#include <TetherMedia/Lifecycle.h>
#include <TetherMedia/RequestFutures.h>

#include <RL/MediaType.h>

#include <kilncore/appstatemanager/AppState.h>
#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/messaging/StationRegistry.h>
#include <kilncore/utility/HashValueMixerState.h>
#include <kilncore/utility/Seam.h>
#include <kilnmediatypes/TimeDisplay.h>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace TetherMedia::testing {
namespace {

using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using kilnmediatypes::TickTime;
using kilnmediatypes::TimeDisplay;

const Guid kSourceID("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F0");
const Guid kOtherMediaType("11111111-2222-3333-4444-555555555555");

std::shared_ptr<TestMediaInfo> MakeItem() { return std::make_shared<TestMediaInfo>(); }

std::shared_ptr<FakeSource> MakeSource() {
  auto source = std::make_shared<FakeSource>();
  source->hasVideo = true;
  source->hasAudio = true;
  return source;
}

InterfaceRef<KL::IVideoSource> MakeVideoSource(std::shared_ptr<FakeVideoSource> video) {
  return InterfaceRef<KL::IVideoSource>(std::move(video));
}

TEST(BaseMediaInfoFieldsTest, FreshObjectHasTheInitialValues) {
  auto item = MakeItem();
  EXPECT_EQ(item->GetFilePath(), u"");
  EXPECT_TRUE(item->SourceID().IsNil());
  EXPECT_FALSE(item->HasSource());
  EXPECT_FALSE(item->HasStreamObject());
  EXPECT_TRUE(item->GetSourceInfo().sourceID.IsNil());
  EXPECT_EQ(item->WorkAreaIn(), kilnmediatypes::kTickTime_Invalid);
  EXPECT_EQ(item->WorkAreaOut(), kilnmediatypes::kTickTime_Invalid);
  EXPECT_EQ(item->WorkAreaIn().GetTicks(), -101606400000000000);
  EXPECT_FALSE(item->ConstructorFlag());
  EXPECT_FALSE(item->ForcedConform());
  EXPECT_EQ(item->RenderOptionsText(), u"");
  EXPECT_EQ(item->LastFontChangeValue(), 1u);
}

TEST(BaseMediaInfoFieldsTest, ConstructorFlagIsKeptAsGiven) {
  EXPECT_TRUE(std::make_shared<TestMediaInfo>(true)->ConstructorFlag());
  EXPECT_FALSE(std::make_shared<TestMediaInfo>(false)->ConstructorFlag());
}

TEST(BaseMediaInfoFieldsTest, ConstructionRegistersTheItemsOwnStation) {
  auto first = MakeItem();
  auto second = MakeItem();
  EXPECT_FALSE(first->GetStationID().empty());
  EXPECT_NE(first->GetStationID(), second->GetStationID());
  EXPECT_NE(kilncore::messaging::FindStation(first->GetStationID()), nullptr);
  EXPECT_EQ(first->GetMetaDataStationID(), first->GetStationID());
}

TEST(BaseMediaInfoFallbackTest, FreshObjectWithoutSourceAnswersFallbacks) {
  auto item = MakeItem();
  EXPECT_EQ(item->GetTickCount(), TickTime(0));
  EXPECT_EQ(item->GetWorkInPoint(), TickTime(0));
  EXPECT_EQ(item->GetWorkOutPoint(), TickTime(0));
  EXPECT_EQ(item->GetOrigTime(), kilnmediatypes::kTickTime_Invalid);
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Video), 0u);
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Audio), 0u);
  EXPECT_TRUE(item->GetStream(RL::kMediaType_Video, 0).IsNull());
  EXPECT_TRUE(item->GetStream(RL::kMediaType_Audio, 0).IsNull());
  EXPECT_TRUE(item->GetContentState().IsNil());
  EXPECT_FALSE(item->GetIsDropFrame());
  EXPECT_EQ(item->GetTimeDisplay(), TimeDisplay(999));
  EXPECT_EQ(item->GetMediaProducerDescription(), u"");
  EXPECT_EQ(item->GetSourceInfo().width, 0u);
  EXPECT_EQ(item->GetSourceInfo().formatVersion, 1u);
}

TEST(BaseMediaInfoFallbackTest, PixelAspectRatioAndFieldTypeNeedTheStreamObject) {
  auto item = MakeItem();
  EXPECT_THROW(item->GetPixelAspectRatio(), kilncore::config::NullPtrException);
  EXPECT_THROW(item->GetFieldType(), kilncore::config::NullPtrException);

  auto video = std::make_shared<FakeVideoSource>();
  video->fieldType = kilnmediatypes::kFieldType_UpperFirst;
  item->SetVideoSource(MakeVideoSource(video));
  EXPECT_EQ(item->GetFieldType(), kilnmediatypes::kFieldType_UpperFirst);
  EXPECT_NO_THROW(item->GetPixelAspectRatio());
}

TEST(BaseMediaInfoConstantsTest, ConstantAnswersOfTheMediaInterfaces) {
  auto item = MakeItem();
  EXPECT_EQ(item->GetNumStreamGroups(), 1u);
  size_t a = 7, b = 8, c = 9;
  item->GetStreamGroupIndices(0, a, b, c);
  EXPECT_EQ(a, 0u);
  EXPECT_EQ(b, 0u);
  EXPECT_EQ(c, 0u);
  EXPECT_EQ(item->GetImplementationID(), GetTetherImplementationID());
  EXPECT_FALSE(item->CanValidatePrefs());
  EXPECT_FALSE(item->SetupOnDoubleClick());
  EXPECT_FALSE(item->IsPending());
  EXPECT_TRUE(item->IsCacheable());
  EXPECT_EQ(item->GetFilenameForStream(0), u"");
  EXPECT_TRUE(item->MediaInfoTrueA());
  EXPECT_FALSE(item->MediaInfoFalseA());
  EXPECT_FALSE(item->MediaInfoFalseB());
  EXPECT_FALSE(item->IsLinkedMedia());
  EXPECT_FALSE(item->HasFrozenUnstretchableRegions());
  EXPECT_EQ(item->DeleteFileW(u"/a.marlp", RL::BinaryData()), kGeneralFailure);
  EXPECT_FALSE(item->LegalToProxy());
  EXPECT_FALSE(item->CanWriteTimecode());
  EXPECT_EQ(item->SetTimeInfo(RL::BinaryData(), TickTime(0), TickTime(0), u"", u"", u"",
                              kilnmediatypes::kFrameRate_Film24, false, false),
            kNotOffered);
  EXPECT_EQ(item->GetAltTime(), TickTime(0));
  EXPECT_EQ(item->GetAuxTime(), kilnmediatypes::kTickTime_Invalid);
  EXPECT_EQ(item->GetLogComment(), u"");
  EXPECT_EQ(item->GetAuxText(), "");
  EXPECT_EQ(item->GetOrigReel(), u"");
  EXPECT_EQ(item->GetAltReel(), u"");
  EXPECT_FALSE(item->MetaDataFalseA());
  EXPECT_FALSE(item->GetUseAlternateStart());
  RL::BinaryData properties;
  EXPECT_EQ(item->GetXMPCaptureProperties(properties), kNotOffered);
  EXPECT_EQ(item->UpdateXMPMetadataFromMedia(true), kNotOffered);
  EXPECT_TRUE(item->GetMediaScenes().empty());
  EXPECT_FALSE(item->GetIsPreviewRenderNoAlphaDetected());
  EXPECT_FALSE(item->CanWriteXMPToFile());
  EXPECT_FALSE(item->CanWriteXMPToFileAlias());
  EXPECT_FALSE(item->GetUseProxies());
  item->SetUseProxies(true);
  EXPECT_FALSE(item->GetUseProxies());
  EXPECT_TRUE(item->GetLinkedItemList().empty());
  EXPECT_TRUE(item->GetRuntimeGuid().IsNil());
}

TEST(BaseMediaInfoConstantsTest, PathAnswersComeFromTheStoredPath) {
  auto item = MakeItem();
  item->SetIdentity(u"/Volumes/Show/Opening.marlp", kSourceID);
  EXPECT_EQ(item->GetFilePath(), u"/Volumes/Show/Opening.marlp");
  EXPECT_EQ(item->GetFilePathAlias(), u"/Volumes/Show/Opening.marlp");
  EXPECT_EQ(item->GetInstanceString(), u"/Volumes/Show/Opening.marlp");
}

TEST(BaseMediaInfoConstantsTest, WorkAreaAndConformAreStored) {
  auto item = MakeItem();
  item->SetXMPRenderWorkArea(TickTime(10), TickTime(20));
  EXPECT_EQ(item->WorkAreaIn(), TickTime(10));
  EXPECT_EQ(item->WorkAreaOut(), TickTime(20));
  item->ForceConform(true);
  EXPECT_TRUE(item->ForcedConform());
}

TEST(BaseMediaInfoSourceTest, GettersAskTheSource) {
  auto item = MakeItem();
  auto source = MakeSource();
  source->tickCount = {10, 1};
  source->workIn = {1, 2};
  source->workOut = {5, 1};
  source->startTime = {3600, 1};
  source->dropFrame = true;
  source->info.producerDescription = u"Veldmoor Marl";
  source->info.width = 1920;
  item->SetSource(source);

  EXPECT_EQ(item->GetTickCount(), TickTime::FromSeconds(10));
  EXPECT_EQ(item->GetWorkInPoint(), TickTime(kilnmediatypes::kTicksPerSecond / 2));
  EXPECT_EQ(item->GetWorkOutPoint(), TickTime::FromSeconds(5));
  EXPECT_EQ(item->GetOrigTime(), TickTime::FromSeconds(3600));
  EXPECT_TRUE(item->GetIsDropFrame());
  EXPECT_EQ(item->GetMediaProducerDescription(), u"Veldmoor Marl");
  EXPECT_EQ(item->GetSourceInfo().width, 1920u);
}

TEST(BaseMediaInfoSourceTest, StreamCountFollowsTheSourcesStreams) {
  auto item = MakeItem();
  auto source = MakeSource();
  source->hasAudio = false;
  item->SetSource(source);
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Video), 1u);
  EXPECT_EQ(item->GetNumStreams(RL::kMediaType_Audio), 0u);
  EXPECT_EQ(item->GetNumStreams(kOtherMediaType), 0u);
}

TEST(BaseMediaInfoSourceTest, StreamIsTheStreamObjectForVideoAndAudioWhateverTheIndex) {
  auto item = MakeItem();
  auto video = std::make_shared<FakeVideoSource>();
  item->SetVideoSource(MakeVideoSource(video));
  const InterfaceRef<RL::ISource> videoStream = item->GetStream(RL::kMediaType_Video, 0);
  ASSERT_FALSE(videoStream.IsNull());
  EXPECT_EQ(videoStream.Get(), static_cast<RL::ISource*>(video.get()));
  EXPECT_EQ(item->GetStream(RL::kMediaType_Video, 3).Get(), videoStream.Get());
  EXPECT_EQ(item->GetStream(RL::kMediaType_Audio, 0).Get(), videoStream.Get());
  EXPECT_TRUE(item->GetStream(kOtherMediaType, 0).IsNull());
}

// Whether a thread other than the caller could take `mutex` right now. A getter
// that held the item's lock while asking its source would make this false.
bool LockIsFreeForAnotherThread(kilncore::threads::RecursiveMutex& mutex) {
  bool free = false;
  std::thread probe([&] {
    free = mutex.TryLock();
    if (free) mutex.Unlock();
  });
  probe.join();
  return free;
}

// For each call, whether the item's lock was free every time the source was
// asked during it. A call that doesn't reach the source fails the test.
using NamedCalls = std::vector<std::pair<std::string, std::function<void()>>>;
void ExpectSourceAskedWithTheLock(TestMediaInfo& item, FakeSource& source, bool wantFree,
                                  const NamedCalls& calls) {
  std::vector<bool> observed;
  source.onQuery = [&] { observed.push_back(LockIsFreeForAnotherThread(item.Mutex())); };
  for (const auto& [name, call] : calls) {
    observed.clear();
    call();
    ASSERT_FALSE(observed.empty()) << name << " never asked the source";
    for (bool free : observed) EXPECT_EQ(free, wantFree) << name;
  }
  source.onQuery = nullptr;
}

TEST(BaseMediaInfoSourceTest, GettersReleaseTheLockBeforeAskingTheSource) {
  auto item = MakeItem();
  auto source = MakeSource();
  item->SetSource(source);
  ExpectSourceAskedWithTheLock(*item, *source, true,
                               {{"GetTickCount", [&] { item->GetTickCount(); }},
                                {"GetWorkInPoint", [&] { item->GetWorkInPoint(); }},
                                {"GetWorkOutPoint", [&] { item->GetWorkOutPoint(); }},
                                {"GetOrigTime", [&] { item->GetOrigTime(); }},
                                {"GetIsDropFrame", [&] { item->GetIsDropFrame(); }},
                                {"GetTimeDisplay", [&] { item->GetTimeDisplay(); }},
                                {"GetSourceInfo", [&] { item->GetSourceInfo(); }}});
}

TEST(BaseMediaInfoSourceTest, StreamCountAndProducerDescriptionAskTheSourceUnderTheLock) {
  // Their questions are local to the client library, so they keep the lock
  // for the whole answer.
  auto item = MakeItem();
  auto source = MakeSource();
  item->SetSource(source);
  ExpectSourceAskedWithTheLock(
      *item, *source, false,
      {{"GetNumStreams", [&] { item->GetNumStreams(RL::kMediaType_Video); }},
       {"GetMediaProducerDescription", [&] { item->GetMediaProducerDescription(); }}});
}

TEST(BaseMediaInfoSourceTest, FailureOfTheSourcePassesThroughWithTheLockReleased) {
  auto item = MakeItem();
  auto source = MakeSource();
  source->onQuery = [] { throw std::runtime_error("link lost"); };
  item->SetSource(source);
  EXPECT_THROW(item->GetTickCount(), std::runtime_error);
  EXPECT_THROW(item->GetNumStreams(RL::kMediaType_Video), std::runtime_error);
  EXPECT_TRUE(LockIsFreeForAnotherThread(item->Mutex()));
}

TEST(BaseMediaInfoSourceTest, SnapshotKeepsAReplacedSourceAliveUntilTheCallEnds) {
  class ReplacingSource : public FakeSource {
   public:
    TestMediaInfo* item = nullptr;
    tether::RatioTime GetTickCount() const override {
      item->SetSource(nullptr);  // the item lets go of this source mid-call
      return {2, 1};
    }
  };
  auto item = MakeItem();
  auto source = std::make_shared<ReplacingSource>();
  source->item = item.get();
  std::weak_ptr<FakeSource> watch = source;
  item->SetSource(std::move(source));
  EXPECT_EQ(item->GetTickCount(), TickTime::FromSeconds(2));
  EXPECT_TRUE(watch.expired());
  EXPECT_EQ(item->GetTickCount(), TickTime(0));
}

TEST(BaseMediaInfoTimeDisplayTest, KnownRateGivesItsTimecode) {
  auto item = MakeItem();
  auto source = MakeSource();
  source->frameRate = kilnmediatypes::kFrameRate_PAL25.GetTicksPerFrame();
  item->SetSource(source);
  EXPECT_EQ(item->GetTimeDisplay(), TimeDisplay(kilnmediatypes::kTimeDisplayType_25Timecode));
}

TEST(BaseMediaInfoTimeDisplayTest, RateWithoutDisplayGivesNone) {
  auto item = MakeItem();
  auto source = MakeSource();
  source->frameRate = kilnmediatypes::FrameRate::FromFramesPerSecond(17).GetTicksPerFrame();
  item->SetSource(source);
  EXPECT_EQ(item->GetTimeDisplay(), TimeDisplay(999));
  source->frameRate = tether::kNoFrameRate;
  EXPECT_EQ(item->GetTimeDisplay(), TimeDisplay(999));
}

TEST(BaseMediaInfoTimeDisplayTest, NTSCDropFrameKeepsTheDisplayThatEqualsTheFallback) {
  auto item = MakeItem();
  auto source = MakeSource();
  source->frameRate = 8475667200;
  source->dropFrame = true;
  item->SetSource(source);
  EXPECT_EQ(item->GetTimeDisplay(), TimeDisplay(102));
  source->dropFrame = false;
  EXPECT_EQ(item->GetTimeDisplay(), TimeDisplay(kilnmediatypes::kTimeDisplayType_2997NonDropTimecode));
}

TEST(BaseMediaInfoTimeDisplayTest, DropFlagAtARateWithoutDropCountIsIgnored) {
  auto item = MakeItem();
  auto source = MakeSource();
  source->frameRate = kilnmediatypes::kFrameRate_Film24.GetTicksPerFrame();
  source->dropFrame = true;
  item->SetSource(source);
  EXPECT_EQ(item->GetTimeDisplay(), TimeDisplay(kilnmediatypes::kTimeDisplayType_24Timecode));
}

// The host's table of displays played through its seam: whatever it answers,
// only its fallback type counts as no display, but for drop-frame NTSC.
class TimeDisplayAnswerTest : public ::testing::Test {
 protected:
  using Signature =
      TimeDisplay(const kilnmediatypes::FrameRate&, bool, bool, kilnmediatypes::TimeDisplayType, bool);

  TimeDisplay DisplayFor(int64_t frameTicks, bool drop, TimeDisplay answer) {
    kilncore::utility::ScopedSeam<Signature> table(kilnmediatypes::GetTimeDisplayForFrameRateSeam(),
                                                   [answer](auto&&...) { return answer; });
    mSource->frameRate = frameTicks;
    mSource->dropFrame = drop;
    const TimeDisplay display = mItem->GetTimeDisplay();
    mCalls = table.Calls();
    return display;
  }

  std::shared_ptr<TestMediaInfo> mItem = MakeItem();
  std::shared_ptr<FakeSource> mSource = MakeSource();
  std::vector<kilncore::utility::Seam<Signature>::Call> mCalls;

  void SetUp() override { mItem->SetSource(mSource); }
};

constexpr int64_t kNTSCTicks = 8475667200;
constexpr int64_t kOddTicks = 14941176470;  // 17 fps

TEST_F(TimeDisplayAnswerTest, LibraryIsAskedForTheSourcesRateAndDropWithTheFallbackType) {
  DisplayFor(kOddTicks, true, TimeDisplay(kilnmediatypes::kTimeDisplayType_Frames));
  ASSERT_EQ(mCalls.size(), 1u);
  const auto& [rate, drop, framesForOtherRates, defaultType, matchNearby] = mCalls[0];
  EXPECT_EQ(rate.GetTicksPerFrame(), kOddTicks);
  EXPECT_TRUE(drop);
  EXPECT_FALSE(framesForOtherRates);
  EXPECT_EQ(defaultType, 102);
  EXPECT_FALSE(matchNearby);
}

TEST_F(TimeDisplayAnswerTest, AnyAnswerButTheFallbackIsPassedOn) {
  EXPECT_EQ(DisplayFor(kOddTicks, false, TimeDisplay(kilnmediatypes::kTimeDisplayType_Frames)),
            TimeDisplay(kilnmediatypes::kTimeDisplayType_Frames));
  EXPECT_EQ(DisplayFor(kOddTicks, true, TimeDisplay(kilnmediatypes::kTimeDisplayType_5994DropTimecode)),
            TimeDisplay(kilnmediatypes::kTimeDisplayType_5994DropTimecode));
  EXPECT_EQ(DisplayFor(kNTSCTicks, false, TimeDisplay(103)), TimeDisplay(103));
}

TEST_F(TimeDisplayAnswerTest, FallbackAnswerCountsAsNoDisplay) {
  EXPECT_EQ(DisplayFor(kOddTicks, true, TimeDisplay(102)), TimeDisplay(999));
  EXPECT_EQ(DisplayFor(kOddTicks, false, TimeDisplay(102)), TimeDisplay(999));
}

TEST_F(TimeDisplayAnswerTest, FallbackAnswerAtDropFrameNTSCIsKept) {
  EXPECT_EQ(DisplayFor(kNTSCTicks, true, TimeDisplay(102)), TimeDisplay(102));
  EXPECT_EQ(DisplayFor(kNTSCTicks, false, TimeDisplay(102)), TimeDisplay(999));
  EXPECT_EQ(DisplayFor(kNTSCTicks + 1, true, TimeDisplay(102)), TimeDisplay(999));
}

Guid ExpectedDocumentID(const kilncore::WideString& path, const Guid& sourceID) {
  kilncore::utility::HashValueMixerState state;
  kilncore::utility::UpdateHashState(state, "Tether Document ID", 18);
  kilncore::utility::UpdateHashState(state, path.data(), path.size() * 2);
  uint8_t bytes[16];
  Guid::GuidToBytes(sourceID, bytes);
  kilncore::utility::UpdateHashState(state, bytes, 16);
  Guid result;
  kilncore::utility::GetHashResult(state, result);
  return result;
}

TEST(BaseMediaInfoIdentityTest, DocumentIDHashesPathAndSourceIdentifier) {
  auto item = MakeItem();
  item->SetIdentity(u"/Volumes/Show/Opening.marlp", kSourceID);
  EXPECT_EQ(item->GetDocumentID(), ExpectedDocumentID(u"/Volumes/Show/Opening.marlp", kSourceID));
}

TEST(BaseMediaInfoIdentityTest, DocumentIDIsEqualForTheSameItemAndChangesWithEither) {
  auto first = MakeItem();
  auto second = MakeItem();
  first->SetIdentity(u"/Volumes/Show/Opening.marlp", kSourceID);
  second->SetIdentity(u"/Volumes/Show/Opening.marlp", kSourceID);
  EXPECT_EQ(first->GetDocumentID(), second->GetDocumentID());

  second->SetIdentity(u"/Volumes/Show/Opening2.marlp", kSourceID);
  EXPECT_NE(first->GetDocumentID(), second->GetDocumentID());
  second->SetIdentity(u"/Volumes/Show/Opening.marlp", Guid("0F1E2D3C-4B5A-6978-8796-A5B4C3D2E1F1"));
  EXPECT_NE(first->GetDocumentID(), second->GetDocumentID());
}

TEST(BaseMediaInfoIdentityTest, ContentStateIsTheStreamObjects) {
  auto item = MakeItem();
  auto video = std::make_shared<FakeVideoSource>();
  video->contentState = Guid("AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE");
  item->SetVideoSource(MakeVideoSource(video));
  EXPECT_EQ(item->GetContentState(), video->contentState);
}

TEST(BaseMediaInfoIdentityTest, NilContentStateOfTheStreamGivesTheDocumentID) {
  class OverridingItem : public TestMediaInfo {
   public:
    Guid GetDocumentID() const override { return Guid("12345678-1234-1234-1234-123456789ABC"); }
  };
  auto item = std::make_shared<OverridingItem>();
  item->SetVideoSource(MakeVideoSource(std::make_shared<FakeVideoSource>()));
  // Called virtually: the derived item's identity applies.
  EXPECT_EQ(item->GetContentState(), Guid("12345678-1234-1234-1234-123456789ABC"));
}

TEST(BaseMediaInfoIdentityTest, StreamThatFailsToTellItsContentStateGivesTheDocumentID) {
  auto item = MakeItem();
  item->SetIdentity(u"/Volumes/Show/Opening.marlp", kSourceID);
  auto video = std::make_shared<FakeVideoSource>();
  video->contentStateResult = static_cast<int32_t>(0xA00F0001u);
  item->SetVideoSource(MakeVideoSource(video));
  EXPECT_EQ(item->GetContentState(), item->GetDocumentID());
}

TEST(BaseMediaInfoSourceTest, ProducerDescriptionComesFromTheItemsOwnDescription) {
  class DescribingItem : public TestMediaInfo {
   public:
    tether::SourceInfo GetSourceInfo() override {
      tether::SourceInfo info = TestMediaInfo::GetSourceInfo();
      info.producerDescription = u"Described by the item";
      return info;
    }
  };
  auto item = std::make_shared<DescribingItem>();
  EXPECT_EQ(item->GetMediaProducerDescription(), u"");  // no source: not even asked
  item->SetSource(MakeSource());
  EXPECT_EQ(item->GetMediaProducerDescription(), u"Described by the item");
}

TEST(BaseMediaInfoQueryTest, EveryInterfaceAndTheClassAreAnswered) {
  auto item = MakeItem();
  EXPECT_EQ(item->Query("TetherMedia::BaseMediaInfo"), static_cast<BaseMediaInfo*>(item.get()));
  EXPECT_EQ(item->Query("KL::IMediaInfo"), static_cast<KL::IMediaInfo*>(item.get()));
  EXPECT_EQ(item->Query("KL::IMediaFile"), static_cast<KL::IMediaFile*>(item.get()));
  EXPECT_EQ(item->Query("KL::IMediaMetaData"), static_cast<KL::IMediaMetaData*>(item.get()));
  EXPECT_EQ(item->Query("KL::ICircularDependencyOwner"),
            static_cast<KL::ICircularDependencyOwner*>(item.get()));
  EXPECT_EQ(item->Query("KL::ICaptioningSourceOwner"),
            static_cast<KL::ICaptioningSourceOwner*>(item.get()));
  EXPECT_EQ(item->Query("TetherMedia::ITetherMediaInfo"), static_cast<ITetherMediaInfo*>(item.get()));
}

TEST(BaseMediaInfoQueryTest, ObjectAndItsMediaInfoAreTheSamePointer) {
  auto item = MakeItem();
  EXPECT_EQ(item->Query("TetherMedia::BaseMediaInfo"), item->Query("KL::IMediaInfo"));
}

TEST(BaseMediaInfoQueryTest, NameOfTheRightLengthAndWrongTextGivesNull) {
  auto item = MakeItem();
  EXPECT_EQ(item->Query("KL::IMediaXnfo"), nullptr);
  EXPECT_EQ(item->Query("KL::IMediaInfO"), nullptr);
  EXPECT_EQ(item->Query("KL::IMediaInf"), nullptr);
  EXPECT_EQ(item->Query("KL::IMediaInfoX"), nullptr);
  EXPECT_EQ(item->Query(""), nullptr);
  EXPECT_EQ(item->Query("KL::IVideoSource"), nullptr);
}

TEST(BaseMediaInfoQueryTest, InterfaceReferencesConvertThroughTheQuery) {
  auto item = MakeItem();
  InterfaceRef<KL::IMediaInfo> info(item);
  InterfaceRef<TetherMedia::ITetherMediaInfo> tether(info);
  ASSERT_FALSE(tether.IsNull());
  InterfaceRef<BaseMediaInfo> base(tether);
  EXPECT_EQ(base.Get(), static_cast<BaseMediaInfo*>(item.get()));
  InterfaceRef<KL::IVideoSource> none(info);
  EXPECT_TRUE(none.IsNull());
}

class BaseMediaInfoLifetimeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    kilncore::appstatemanager::ResetAppStateForTesting();
    kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateRunning);
  }
  void TearDown() override { kilncore::appstatemanager::ResetAppStateForTesting(); }
};

TEST_F(BaseMediaInfoLifetimeTest, DroppedItemFailsItsOpenRequestAndDisposesOfItsStation) {
  auto pair = CreateRequestFuture(u"/Volumes/Show/Opening.marlp", kSourceID);
  auto item = MakeItem();
  item->SetRequestPromise(std::move(pair.promise));
  const auto station = item->GetStationID();
  ASSERT_NE(kilncore::messaging::FindStation(station), nullptr);
  item.reset();
  ASSERT_TRUE(pair.future.IsReady());
  EXPECT_EQ(kilncore::config::ExtractResultFromException(pair.future.GetException()), kBrokenPromise);
  EXPECT_EQ(kilncore::messaging::FindStation(station), nullptr);
}

TEST_F(BaseMediaInfoLifetimeTest, StreamObjectAndSourceGoBeforeTheRequestEnds) {
  // Each released member writes down, as it goes, whether the request was
  // still open and the station still there: the stream object goes first, then
  // the source, and only after both the request and the station.
  struct Witness {
    std::string name;
    const kilncore::async::Future<void>* future;
    kilncore::utility::ImmutableString station;
    std::vector<std::string>* log;
    ~Witness() {
      const bool open = !future->IsReady();
      const bool registered = kilncore::messaging::FindStation(station) != nullptr;
      log->push_back(name + (open ? " open" : " ended") + (registered ? " registered" : " gone"));
    }
  };
  class WitnessSource : public FakeSource {
   public:
    std::unique_ptr<Witness> witness;
  };
  class WitnessVideo : public FakeVideoSource {
   public:
    std::unique_ptr<Witness> witness;
  };
  auto pair = CreateRequestFuture();
  auto item = MakeItem();
  const auto station = item->GetStationID();
  std::vector<std::string> log;
  auto source = std::make_shared<WitnessSource>();
  source->witness.reset(new Witness{"source", &pair.future, station, &log});
  auto video = std::make_shared<WitnessVideo>();
  video->witness.reset(new Witness{"stream object", &pair.future, station, &log});

  item->SetRequestPromise(std::move(pair.promise));
  item->SetSource(std::move(source));
  item->SetVideoSource(MakeVideoSource(std::move(video)));
  item.reset();
  EXPECT_EQ(log, (std::vector<std::string>{"stream object open registered", "source open registered"}));
  EXPECT_TRUE(pair.future.IsReady());
  EXPECT_EQ(kilncore::messaging::FindStation(station), nullptr);
}

}  // namespace
}  // namespace TetherMedia::testing
