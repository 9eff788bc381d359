#include "FakeAudioSource.h"

#include <WF/AudioSourceImpl.h>
#include <WF/ConformedAudioSourceFile.h>
#include <WF/ImportedAudioSource.h>

#include <kilnaudiotoolkit/AudioBuffer.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/config/KilnException.h>

#include <gtest/gtest.h>

#include <memory>

namespace {

using kilncore::classref::InterfaceRef;
using kilncore::classref::QueryInterfaceRef;
using kilncore::utility::Guid;
using kilncore::utility::ImmutableString;
using kilnmediatypes::TickTime;
using wfaudio_test::FakeAudioSource;

const RL::BinaryData kPrefs = RL::BinaryData::FromString("prefs");

InterfaceRef<DR::IAudioSource> MakeImported(const std::shared_ptr<FakeAudioSource>& inner) {
  InterfaceRef<DR::IAudioSource> result;
  const int32_t code = WF::ImportedAudioSource::Create(
      inner, kPrefs, kilnmediatypes::kFrameRate_Film24, result, u"Show Comp 1.marlp", Guid::CreateUnique(),
      Guid::CreateUnique(), u"/p/Show.marlp", 0, u"/c/a", u"/c/b", ImmutableString("station"), false, false);
  EXPECT_EQ(code, 0);
  return result;
}

InterfaceRef<DR::IAudioSource> MakeConformed(const std::shared_ptr<FakeAudioSource>& inner) {
  return WF::ConformedAudioSourceFile::Create(inner, kPrefs, kilnmediatypes::kFrameRate_Film24,
                                              u"Show Comp 1.marlp", Guid::CreateUnique(), Guid::CreateUnique(),
                                              u"/p/Show.marlp", 0, u"/c/a", u"/c/b", ImmutableString("station"));
}

void ExpectSamplesFrom(const kilnaudiotoolkit::AudioBuffer& buffer, int64_t firstFrame) {
  ASSERT_TRUE(buffer.IsFilled());
  for (uint32_t c = 0; c < buffer.GetChannelCount(); ++c) {
    for (uint32_t i = 0; i < buffer.GetFrameCount(); ++i) {
      EXPECT_EQ(buffer.GetChannel(c)[i], FakeAudioSource::SampleAt(firstFrame + i, c)) << c << "/" << i;
    }
  }
}

TEST(ImportedAudioSourceTest, ReadingGivesTheWrappedSourcesSamples) {
  auto inner = std::make_shared<FakeAudioSource>();
  const auto source = MakeImported(inner);
  ASSERT_FALSE(source.IsNull());

  kilnaudiotoolkit::AudioBuffer buffer(2, 64);
  const TickTime position(1000, kilnmediatypes::kAudioSampleRate_48000);
  EXPECT_EQ(source->ReadAudio(0, buffer, position), 0);
  ExpectSamplesFrom(buffer, 1000);
  EXPECT_EQ(inner->Reads(), 1);
}

TEST(ImportedAudioSourceTest, DescribesTheWrappedSourcesFormat) {
  auto inner = std::make_shared<FakeAudioSource>(6);
  const auto source = MakeImported(inner);
  kilnmediatypes::FrameRate rate;
  EXPECT_EQ(source->GetSampleRate(rate), 0);
  EXPECT_EQ(rate, kilnmediatypes::kAudioSampleRate_48000);
  EXPECT_EQ(source->GetAudioChannelCount(), 6u);
  std::vector<kilnmediatypes::AudioChannelDescription> layout;
  EXPECT_EQ(source->GetAudioChannelLayout(layout), 0);
  EXPECT_EQ(layout.size(), 6u);
  EXPECT_EQ(source->GetAudioSourceKind(), 7);
  std::vector<DR::IAudioSource::AudioMarker> markers;
  EXPECT_EQ(source->GetAudioMarkers(markers), 0);
  EXPECT_EQ(markers.size(), 1u);
}

TEST(ImportedAudioSourceTest, NullSourceFailsAndLeavesTheResult) {
  InterfaceRef<DR::IAudioSource> result;
  const int32_t code = WF::ImportedAudioSource::Create(
      nullptr, kPrefs, kilnmediatypes::kFrameRate_Film24, result, u"n", Guid(), Guid(), u"/p", 0, u"", u"",
      ImmutableString(), false, false);
  EXPECT_EQ(code, kilncore::config::kGeneralFailure);
  EXPECT_TRUE(result.IsNull());
}

TEST(ImportedAudioSourceTest, SourceThatCannotTellItsRateIsRefused) {
  auto inner = std::make_shared<FakeAudioSource>();
  inner->SetSampleRateFails();
  InterfaceRef<DR::IAudioSource> result;
  const int32_t code = WF::ImportedAudioSource::Create(
      inner, kPrefs, kilnmediatypes::kFrameRate_Film24, result, u"n", Guid(), Guid(), u"/p", 0, u"", u"",
      ImmutableString(), true, true);
  EXPECT_LT(code, 0);
  EXPECT_TRUE(result.IsNull());
}

TEST(ImportedAudioSourceTest, RecordsWhatItWasMadeFor) {
  auto inner = std::make_shared<FakeAudioSource>();
  const auto impl = QueryInterfaceRef<WF::AudioSourceImpl>(MakeImported(inner));
  ASSERT_FALSE(impl.IsNull());
  const auto& description = impl->GetDescription();
  EXPECT_EQ(description.path, u"/p/Show.marlp");
  EXPECT_EQ(description.name, u"Show Comp 1.marlp");
  EXPECT_EQ(description.prefs, kPrefs);
  EXPECT_EQ(description.frameRate, kilnmediatypes::kFrameRate_Film24);
  EXPECT_EQ(description.conformPathA, u"/c/a");
  EXPECT_EQ(description.stationID, ImmutableString("station"));
  EXPECT_EQ(impl->GetChannelLayoutAtCreation().size(), 2u);
}

TEST(ImportedAudioSourceTest, AnswersForEveryInterfaceTheImporterLayerAsksFor) {
  const auto source = MakeImported(std::make_shared<FakeAudioSource>());
  EXPECT_FALSE(QueryInterfaceRef<RL::ISource>(source).IsNull());
  EXPECT_FALSE(QueryInterfaceRef<WF::AudioSourceImpl>(source).IsNull());
  EXPECT_FALSE(QueryInterfaceRef<WF::ImportedAudioSource>(source).IsNull());
  EXPECT_TRUE(QueryInterfaceRef<WF::ConformedAudioSourceFile>(source).IsNull());
}

TEST(ConformedAudioSourceFileTest, ReadingGivesTheWrappedSourcesSamples) {
  auto inner = std::make_shared<FakeAudioSource>(1);
  const auto source = MakeConformed(inner);
  ASSERT_FALSE(source.IsNull());
  kilnaudiotoolkit::AudioBuffer buffer(1, 32);
  EXPECT_EQ(source->ReadAudio(0, buffer, TickTime(0)), 0);
  ExpectSamplesFrom(buffer, 0);
}

TEST(ConformedAudioSourceFileTest, NullSourceGivesNull) {
  EXPECT_TRUE(WF::ConformedAudioSourceFile::Create(nullptr, kPrefs, kilnmediatypes::kFrameRate_Film24, u"n",
                                                   Guid(), Guid(), u"/p", 0, u"", u"", ImmutableString())
                  .IsNull());
}

TEST(ConformedAudioSourceFileTest, AsAStreamItReportsTheWrappedDurationAndPassesCancelOn) {
  auto inner = std::make_shared<FakeAudioSource>();
  const auto stream = QueryInterfaceRef<RL::ISource>(MakeConformed(inner));
  ASSERT_FALSE(stream.IsNull());
  TickTime duration;
  EXPECT_EQ(stream->GetDuration(duration), 0);
  EXPECT_EQ(duration, TickTime(48000, kilnmediatypes::kAudioSampleRate_48000));
  EXPECT_EQ(stream->CancelPendingRequests(), 0);
  EXPECT_EQ(inner->Cancels(), 1);
  InterfaceRef<RL::ISource> self;
  EXPECT_EQ(stream->GetSourceRef(self), 0);
  EXPECT_TRUE(self == stream);
  EXPECT_FALSE(QueryInterfaceRef<WF::ConformedAudioSourceFile>(stream).IsNull());
}

TEST(ConformedAudioSourceFileTest, KeepsTheWrappedSourceAlive) {
  auto inner = std::make_shared<FakeAudioSource>();
  const std::weak_ptr<FakeAudioSource> weak = inner;
  auto source = MakeConformed(inner);
  inner.reset();
  EXPECT_FALSE(weak.expired());
  source.Reset();
  EXPECT_TRUE(weak.expired());
}

}  // namespace
