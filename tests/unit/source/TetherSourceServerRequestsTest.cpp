#include "SourceTestSupport.h"

#include <source/NamedRequests.h>

#include <KL/IVideoStream.h>
#include <WF/CallbackInstanceIDMap.h>
#include <WF/VideoStreamWithSequenceFieldTypeSuiteObject.h>

#include <kilncore/serialization/JSONBuild.h>
#include <kilnmediatypes/PixelFormat.h>
#include <tether/AnyTree.h>
#include <tether/testing/ScriptedBackend.h>

#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace TetherMedia::testing {
namespace {

using kilnmediatypes::PixelFormat;
using kilnmediatypes::TickTime;
using tether::AnyArray;
using tether::AnyObject;
using tether::AnyValue;
using tether::MakeAny;
using tether::testing::Behaviour;
using tether::testing::Delivery;
using tether::testing::Operation;
using tether::testing::RequestOutcome;
using tether::testing::ScriptedSourceSetup;
using tether::testing::SendRequestArgs;
using Range = TetherSource::TimeRange;
using Segments = std::map<TickTime, RL::SmartRenderSegment>;

constexpr char16_t kTolmenPath[] = u"/projects/edit.tlmproj";
constexpr char16_t kFCPPath[] = u"/projects/cut.xml";

AnyValue Time(int64_t ticks) { return MakeAny(AnyObject{{"ticks", MakeAny(ticks)}}); }
AnyValue Pair(AnyValue first, AnyValue second) { return MakeAny(AnyArray{std::move(first), std::move(second)}); }
RequestOutcome Outcome(AnyValue reply) {
  RequestOutcome outcome;
  outcome.reply = std::move(reply);
  return outcome;
}
RequestOutcome Failure(int code, kilncore::WideString message) {
  RequestOutcome outcome;
  outcome.errorCode = code;
  outcome.errorMessage = std::move(message);
  return outcome;
}
RequestOutcome Reply(AnyArray pairs) { return Outcome(MakeAny(AnyObject{{"value", MakeAny(std::move(pairs))}})); }

AnyValue Segment(int32_t clipID, int64_t start, int64_t end) {
  return MakeAny(AnyObject{{"ClipID", MakeAny(clipID)},
                           {"StartTime", Time(start)},
                           {"EndTime", Time(end)},
                           {"SegmentOffset", Time(5)},
                           {"ClipStartTime", Time(100)},
                           {"ClipEndTime", Time(900)},
                           {"ClipPath", MakeAny(std::string("/media/\xC3\xA9t\xC3\xA9.mov"))},
                           {"MediaStartTime", Time(start + 1000)},
                           {"MediaEndTime", Time(end + 1000)}});
}

std::string NameOf(const std::any& call) {
  std::string name;
  kilncore::serialization::JSONValuePtr arguments;
  kilncore::serialization::ReadCall(std::make_shared<std::any>(call), name, arguments);
  return name;
}

const AnyArray& ArgumentsOf(const std::any& call) {
  return std::any_cast<const AnyArray&>(*std::any_cast<const AnyObject&>(call).at("params"));
}

// A source of a host project's sequence whose server answers each named call
// from `replies`, counting the calls by name.
class TetherSourceServerRequestsTest : public SourceTest {
 protected:
  void SetUp() override {
    SourceTest::SetUp();
    backend->SetRequestResponder([this](const std::any& call) {
      std::lock_guard lock(mMutex);
      const std::string name = NameOf(call);
      ++mCounts[name];
      const auto found = mReplies.find(name);
      return found == mReplies.end() ? Outcome(MakeAny(AnyObject{})) : found->second;
    });
  }

  void Answer(std::string_view name, RequestOutcome outcome) {
    std::lock_guard lock(mMutex);
    mReplies[std::string(name)] = std::move(outcome);
  }

  size_t Count(std::string_view name) {
    std::lock_guard lock(mMutex);
    return mCounts[std::string(name)];
  }

  SourceRef MakeProjectSource(const char16_t* path = kTolmenPath) {
    ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
    setup.info.file = tether::File(path, false);
    return MakeSource(setup);
  }

  PixelFormat Select(TetherSource& source, int64_t ticks, PixelFormat want) {
    RL::FrameFormat format = NativeFormat();
    format.pixelFormat = want;
    source.SelectFrameFormat(TickTime(ticks), format);
    return format.pixelFormat;
  }

  std::mutex mMutex;
  std::map<std::string, RequestOutcome> mReplies;
  std::map<std::string, size_t> mCounts;
};

// --- Smart-render segments.

TEST_F(TetherSourceServerRequestsTest, SegmentsRequestCarriesTheItemTheRangeTheFormatAndBothFlags) {
  SourceRef source = MakeProjectSource();
  Segments segments;
  source->DetermineSmartRenderSegmentsInRange(TickTime(10), TickTime(20), PixelFormat(0x41424344u, 9), true, false, 0,
                                              segments);
  const auto calls = backend->Calls(Operation::kSendRequest);
  ASSERT_EQ(calls.size(), 1u);
  const std::any& call = calls[0].Args<SendRequestArgs>().call;
  EXPECT_EQ(NameOf(call), "com.veldmoor.tether.Tolmen.DetermineSmartRenderSegmentsInRange");
  const AnyArray& arguments = ArgumentsOf(call);
  ASSERT_EQ(arguments.size(), 7u);
  EXPECT_EQ(std::any_cast<std::string>(*arguments[0]), "/projects/edit.tlmproj");
  EXPECT_EQ(std::any_cast<std::string>(*arguments[1]), kItem.AsUTF8String());
  EXPECT_EQ(NamedRequests::ReadTime(arguments[2]), TickTime(10));
  EXPECT_EQ(NamedRequests::ReadTime(arguments[3]), TickTime(20));
  EXPECT_EQ(NamedRequests::ReadPixelFormat(arguments[4]), PixelFormat(0x41424344u, 9));
  EXPECT_TRUE(std::any_cast<bool>(*arguments[5]));
  EXPECT_FALSE(std::any_cast<bool>(*arguments[6]));
}

TEST_F(TetherSourceServerRequestsTest, SegmentsAreReadFieldByFieldWithAPerClipStreamForTheClip) {
  Answer(NamedRequests::kSmartRenderSegments, Reply({Pair(Time(0), Segment(7, 0, 50))}));
  SourceRef source = MakeProjectSource();
  Segments segments;
  source->DetermineSmartRenderSegmentsInRange(TickTime(0), TickTime(100), PixelFormat(), false, false, 0, segments);
  ASSERT_EQ(segments.size(), 1u);
  const RL::SmartRenderSegment& segment = segments.at(TickTime(0));
  EXPECT_EQ(segment.StartTime, TickTime(0));
  EXPECT_EQ(segment.EndTime, TickTime(50));
  EXPECT_EQ(segment.SegmentOffset, TickTime(5));
  EXPECT_EQ(segment.ClipStartTime, TickTime(100));
  EXPECT_EQ(segment.ClipEndTime, TickTime(900));
  EXPECT_EQ(segment.ClipPath, u"/media/\u00E9t\u00E9.mov");
  EXPECT_EQ(segment.MediaStartTime, TickTime(1000));
  EXPECT_EQ(segment.MediaEndTime, TickTime(1050));

  // The clip number became the instance id of a stream of clip 7 alone.
  EXPECT_EQ(segment.ClipID, source->FindClipStreamInstanceID(7));
  const auto filed = WF::FindCallbackInstance(segment.ClipID);
  auto* suite = dynamic_cast<WF::VideoStreamWithSequenceFieldTypeSuiteObject*>(filed.Get());
  ASSERT_NE(suite, nullptr);
  ASSERT_TRUE(suite->GetVideoStream());
  kilncore::classref::InterfaceRef<TetherSource> perClip(suite->GetVideoStream()->GetVideoSource());
  ASSERT_TRUE(perClip);
  EXPECT_EQ(perClip->GetClipID(), 7u);
  EXPECT_EQ(perClip->GetSource(), source->GetSource());
}

TEST_F(TetherSourceServerRequestsTest, TwoSegmentsOfOneClipShareOnePerClipStreamAndInstanceId) {
  Answer(NamedRequests::kSmartRenderSegments, Reply({Pair(Time(0), Segment(7, 0, 50)),
                                                     Pair(Time(50), Segment(8, 50, 60)),
                                                     Pair(Time(60), Segment(7, 60, 90))}));
  SourceRef source = MakeProjectSource();
  const size_t before = WF::CountCallbackInstances();
  Segments segments;
  source->DetermineSmartRenderSegmentsInRange(TickTime(0), TickTime(100), PixelFormat(), false, false, 0, segments);
  ASSERT_EQ(segments.size(), 3u);
  EXPECT_EQ(segments.at(TickTime(0)).ClipID, segments.at(TickTime(60)).ClipID);
  EXPECT_NE(segments.at(TickTime(0)).ClipID, segments.at(TickTime(50)).ClipID);
  EXPECT_EQ(WF::CountCallbackInstances(), before + 2);

  // Asked again, the clips keep their streams and ids.
  Segments again;
  source->DetermineSmartRenderSegmentsInRange(TickTime(0), TickTime(100), PixelFormat(), false, false, 0, again);
  EXPECT_EQ(again.at(TickTime(0)).ClipID, segments.at(TickTime(0)).ClipID);
  EXPECT_EQ(WF::CountCallbackInstances(), before + 2);
}

TEST_F(TetherSourceServerRequestsTest, ReplyWithoutValueLeavesTheSegmentMapEmpty) {
  SourceRef source = MakeProjectSource();
  Segments segments;
  segments[TickTime(1)].ClipID = 3;
  source->DetermineSmartRenderSegmentsInRange(TickTime(0), TickTime(10), PixelFormat(), false, false, 0, segments);
  EXPECT_TRUE(segments.empty());
}

TEST_F(TetherSourceServerRequestsTest, DuplicateSegmentKeysKeepTheFirstEntry) {
  Answer(NamedRequests::kSmartRenderSegments,
         Reply({Pair(Time(0), Segment(7, 0, 50)), Pair(Time(0), Segment(8, 0, 40))}));
  SourceRef source = MakeProjectSource();
  Segments segments;
  source->DetermineSmartRenderSegmentsInRange(TickTime(0), TickTime(100), PixelFormat(), false, false, 0, segments);
  ASSERT_EQ(segments.size(), 1u);
  EXPECT_EQ(segments.at(TickTime(0)).EndTime, TickTime(50));
  EXPECT_EQ(source->FindClipStreamInstanceID(8), 0);
}

TEST_F(TetherSourceServerRequestsTest, FinalCutProXMLItemsAskForSegmentsButNotForTheirTables) {
  SourceRef source = MakeProjectSource(kFCPPath);
  Segments segments;
  source->DetermineSmartRenderSegmentsInRange(TickTime(0), TickTime(10), PixelFormat(), false, false, 0, segments);
  Range range;
  source->GetStillRangeAt(TickTime(5), range);
  Select(*source, 0, kilnmediatypes::kPixelFormat_BGRA_4444_8u);
  EXPECT_EQ(Count(NamedRequests::kSmartRenderSegments), 1u);
  EXPECT_EQ(backend->CallCount(Operation::kSendRequest), 1u);
}

TEST_F(TetherSourceServerRequestsTest, ServerErrorLeavesTheSegmentsAsTheyCame) {
  Answer(NamedRequests::kSmartRenderSegments, Failure(kGeneralFailure, u"no such sequence"));
  SourceRef source = MakeProjectSource();
  Segments segments;
  segments[TickTime(1)].ClipID = 3;
  source->DetermineSmartRenderSegmentsInRange(TickTime(0), TickTime(10), PixelFormat(), false, false, 0, segments);
  ASSERT_EQ(segments.size(), 1u);
  EXPECT_EQ(segments.at(TickTime(1)).ClipID, 3);
}

TEST_F(TetherSourceServerRequestsTest, MalformedReplyEndsTheWaitAndLeavesTheSegments) {
  Answer(NamedRequests::kSmartRenderSegments, Reply({Pair(Time(0), MakeAny(std::string("not a segment")))}));
  SourceRef source = MakeProjectSource();
  Segments segments;
  segments[TickTime(1)].ClipID = 3;
  source->DetermineSmartRenderSegmentsInRange(TickTime(0), TickTime(10), PixelFormat(), false, false, 0, segments);
  EXPECT_EQ(segments.size(), 1u);
  EXPECT_EQ(source->GetOpenRequestCount(), 0u);
}

TEST_F(TetherSourceServerRequestsTest, CancellingDuringTheWaitEndsItAndLeavesTheSegments) {
  Answer(NamedRequests::kSmartRenderSegments, Reply({Pair(Time(0), Segment(7, 0, 50))}));
  backend->ScriptNext(Operation::kSendRequest, Behaviour::Succeed().With(Delivery::kHold));
  SourceRef source = MakeProjectSource();
  Segments segments;
  segments[TickTime(1)].ClipID = 3;
  std::thread asker([&] {
    source->DetermineSmartRenderSegmentsInRange(TickTime(0), TickTime(10), PixelFormat(), false, false, 0, segments);
  });
  ASSERT_TRUE(backend->WaitForHeld(1));
  // The request is entered before it is sent, so the cancel finds it.
  source->CancelPendingRequests();
  asker.join();
  EXPECT_EQ(segments.size(), 1u);
  EXPECT_EQ(source->FindClipStreamInstanceID(7), 0);
}

// --- Still ranges.

TEST_F(TetherSourceServerRequestsTest, StillRangesAreAskedForOnceAndAnswerLookups) {
  Answer(NamedRequests::kStillRanges, Reply({Pair(Time(10), Time(20)), Pair(Time(40), Time(50))}));
  SourceRef source = MakeProjectSource();
  Range range;
  source->GetStillRangeAt(TickTime(45), range);
  EXPECT_EQ(range, Range(TickTime(40), TickTime(50)));
  source->GetStillRangeAt(TickTime(25), range);
  EXPECT_EQ(range, Range(TickTime(25), TickTime(25)));
  EXPECT_EQ(Count(NamedRequests::kStillRanges), 1u);

  const auto call = backend->Calls(Operation::kSendRequest)[0].Args<SendRequestArgs>().call;
  const AnyArray& arguments = ArgumentsOf(call);
  ASSERT_EQ(arguments.size(), 2u);
  EXPECT_EQ(std::any_cast<std::string>(*arguments[0]), "/projects/edit.tlmproj");
  EXPECT_EQ(std::any_cast<std::string>(*arguments[1]), kItem.AsUTF8String());
}

TEST_F(TetherSourceServerRequestsTest, StillRangesInRangeAreClippedToTheRange) {
  Answer(NamedRequests::kStillRanges, Reply({Pair(Time(10), Time(20))}));
  SourceRef source = MakeProjectSource();
  std::vector<Range> found;
  source->GetStillRangesInRange(TickTime(15), TickTime(30), found);
  EXPECT_EQ(found, std::vector<Range>{Range(TickTime(15), TickTime(20))});
}

TEST_F(TetherSourceServerRequestsTest, StillRangesReplyWithoutValueEmptiesTheTable) {
  Answer(NamedRequests::kStillRanges, Reply({Pair(Time(10), Time(20))}));
  SourceRef source = MakeProjectSource();
  Range range;
  source->GetStillRangeAt(TickTime(15), range);
  ASSERT_EQ(range, Range(TickTime(10), TickTime(20)));
  Answer(NamedRequests::kStillRanges, Outcome(MakeAny(AnyObject{})));
  source->SetSource(source->GetSource());
  source->GetStillRangeAt(TickTime(15), range);
  EXPECT_EQ(range, Range(TickTime(15), TickTime(15)));
  EXPECT_EQ(Count(NamedRequests::kStillRanges), 2u);
}

TEST_F(TetherSourceServerRequestsTest, FailedStillRangesFetchKeepsTheOldRangesAndIsNotRetried) {
  Answer(NamedRequests::kStillRanges, Reply({Pair(Time(10), Time(20))}));
  SourceRef source = MakeProjectSource();
  Range range;
  source->GetStillRangeAt(TickTime(15), range);
  Answer(NamedRequests::kStillRanges, Failure(kGeneralFailure, u"busy"));
  source->SetSource(source->GetSource());
  source->GetStillRangeAt(TickTime(15), range);
  EXPECT_EQ(range, Range(TickTime(10), TickTime(20)));
  source->GetStillRangeAt(TickTime(15), range);
  EXPECT_EQ(Count(NamedRequests::kStillRanges), 2u);
}

TEST_F(TetherSourceServerRequestsTest, OtherProjectTypesSendNothingAndHaveNoStillRanges) {
  SourceRef source = MakeSource();
  Range range;
  source->GetStillRangeAt(TickTime(15), range);
  EXPECT_EQ(range, Range(TickTime(15), TickTime(15)));
  // The native formats, as when no accelerated range holds the time.
  EXPECT_EQ(Select(*source, 0, kilnmediatypes::kPixelFormat_BGRA_4444_8u), PixelFormat(0x42475241u, 0));
  EXPECT_EQ(backend->CallCount(Operation::kSendRequest), 0u);
}

// --- Accelerated renderer timeline data.

TEST_F(TetherSourceServerRequestsTest, AcceleratedRangesFeedTheFormatChoice) {
  using kilnmediatypes::kPixelFormat_VUYA_4444_8u;
  Answer(NamedRequests::kAcceleratedTimelineData,
         Reply({Pair(Time(0), MakeAny(AnyObject{{"StartTime", Time(0)},
                                                {"EndTime", Time(100)},
                                                {"PixelFormats", MakeAny(AnyArray{NamedRequests::PixelFormatToTree(
                                                                     kPixelFormat_VUYA_4444_8u)})}}))}));
  SourceRef source = MakeProjectSource();
  source->SetUsePreviewFiles(true);
  EXPECT_EQ(Select(*source, 50, kPixelFormat_VUYA_4444_8u), kPixelFormat_VUYA_4444_8u);
  EXPECT_EQ(Select(*source, 150, kPixelFormat_VUYA_4444_8u), PixelFormat(0x42475241u, 0));
  EXPECT_EQ(Count(NamedRequests::kAcceleratedTimelineData), 1u);
  const auto call = backend->Calls(Operation::kSendRequest)[0].Args<SendRequestArgs>().call;
  const AnyArray& arguments = ArgumentsOf(call);
  ASSERT_EQ(arguments.size(), 3u);
  EXPECT_TRUE(std::any_cast<bool>(*arguments[2]));
}

TEST_F(TetherSourceServerRequestsTest, ChangingProxiesAsksForTimelineDataAgainButNotForStillRanges) {
  SourceRef source = MakeProjectSource();
  Range range;
  source->GetStillRangeAt(TickTime(0), range);
  Select(*source, 0, kilnmediatypes::kPixelFormat_BGRA_4444_8u);
  source->SetUseProxies(true);
  Select(*source, 0, kilnmediatypes::kPixelFormat_BGRA_4444_8u);
  source->GetStillRangeAt(TickTime(0), range);
  source->SetUseProxies(true);  // no change
  Select(*source, 0, kilnmediatypes::kPixelFormat_BGRA_4444_8u);
  EXPECT_EQ(Count(NamedRequests::kAcceleratedTimelineData), 2u);
  EXPECT_EQ(Count(NamedRequests::kStillRanges), 1u);
}

TEST_F(TetherSourceServerRequestsTest, AcceleratedReplyWithoutValueEmptiesTheRanges) {
  using kilnmediatypes::kPixelFormat_VUYA_4444_8u;
  SourceRef source = MakeProjectSource();
  source->ReplaceAcceleratedRanges({{TickTime(0), AcceleratedRange{TickTime(0), TickTime(100), {kPixelFormat_VUYA_4444_8u}}}});
  // The first format query fetches, and the empty reply replaces the ranges.
  EXPECT_EQ(Select(*source, 50, kPixelFormat_VUYA_4444_8u), PixelFormat(0x42475241u, 0));
}

// --- The reply readers.

TEST(NamedRequestsTest, PixelFormatWithoutPropertiesGetsTheDefaultProperties) {
  const auto reply = Reply({Pair(Time(0), MakeAny(AnyObject{{"StartTime", Time(0)},
                                                              {"EndTime", Time(9)},
                                                              {"PixelFormats", MakeAny(AnyArray{MakeAny(AnyObject{
                                                                                   {"fourcc", MakeAny(7u)}})})}})),
                            Pair(Time(9), MakeAny(AnyObject{{"StartTime", Time(9)}}))})
                         .reply;
  const auto ranges = NamedRequests::ReadAcceleratedRanges(reply);
  ASSERT_EQ(ranges.size(), 2u);
  EXPECT_EQ(ranges.at(TickTime(0)).PixelFormats, std::vector<PixelFormat>{PixelFormat(7, 0x78000)});
  EXPECT_EQ(ranges.at(TickTime(0)).EndTime, TickTime(9));
  // "PixelFormats" may be missing; a missing time reads as 0.
  EXPECT_TRUE(ranges.at(TickTime(9)).PixelFormats.empty());
  EXPECT_EQ(ranges.at(TickTime(9)).EndTime, TickTime(0));
}

TEST(NamedRequestsTest, IntegersMayComeAs32Or64BitsAndOtherTypesThrow) {
  EXPECT_EQ(NamedRequests::ReadTime(MakeAny(AnyObject{{"ticks", MakeAny(int32_t{-5})}})), TickTime(-5));
  EXPECT_EQ(NamedRequests::ReadTime(MakeAny(AnyObject{{"ticks", MakeAny(uint64_t{1} << 40)}})),
            TickTime(int64_t{1} << 40));
  EXPECT_EQ(NamedRequests::ReadTime(MakeAny(AnyObject{{"ticks", MakeAny(uint32_t{6})}})), TickTime(6));
  EXPECT_THROW(NamedRequests::ReadTime(MakeAny(AnyObject{{"ticks", MakeAny(1.5)}})), std::bad_any_cast);
  EXPECT_THROW(NamedRequests::ReadStillRanges(MakeAny(AnyObject{{"value", MakeAny(std::string("x"))}})),
               std::bad_any_cast);
  EXPECT_TRUE(NamedRequests::ReadStillRanges(nullptr).empty());
}

}  // namespace
}  // namespace TetherMedia::testing
