#include "ServerTestSupport.h"

#include <server/project/Project.h>
#include <server/render/AudioSynthesizer.h>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

namespace {

using kilncore::utility::Guid;
using tetherserver::AudioSynthesizer;
using tetherserver::Composition;
using Kind = tetherserver::ProjectError::Kind;

const Guid kSimpleID("5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01");
const Guid kMain("C0000000-0000-4000-8000-000000000001");
const Guid kSD("C0000000-0000-4000-8000-000000000003");

// The documented function, written out apart from the synthesizer.
double Documented(const Composition& comp, uint32_t rate, int64_t n, uint32_t c) {
  const double twoPi = 2.0 * std::numbers::pi;
  double value = std::sin(twoPi * std::fmod(100.0 * (c + 1) * n, rate) / rate) / 64.0;
  for (const auto& tone : comp.audio.tones) {
    bool included = tone.channels.empty();
    for (uint32_t channel : tone.channels) included |= channel == c;
    if (included) value += tone.amplitude * std::sin(twoPi * (std::fmod(tone.frequency * n, rate) / rate + tone.phase));
  }
  return value;
}

class AudioSynthesizerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    simple = servertest::OpenExample("simple.marlp");
    nested = servertest::OpenExample("nested.marlp");
    ASSERT_TRUE(simple && nested);
  }
  const Composition& Simple() const { return *simple->FindComposition(kSimpleID); }

  std::shared_ptr<const tetherserver::Project> simple;
  std::shared_ptr<const tetherserver::Project> nested;
};

TEST_F(AudioSynthesizerTest, BlockHoldsTheExpectedInterleavedSamples) {
  const int64_t start = 48000 * 3 + 17;
  std::vector<float> block(1024 * 2, -9.0f);
  ASSERT_FALSE(AudioSynthesizer::RenderBlock(Simple(), 48000, start, 1024, 2, block.data(), block.size())
                   .IsError());
  for (uint32_t i = 0; i < 1024; ++i) {
    for (uint32_t c = 0; c < 2; ++c) {
      const float sample = block[i * 2 + c];
      ASSERT_EQ(sample, AudioSynthesizer::ExpectedSample(Simple(), 48000, start + i, c));
      ASSERT_NEAR(sample, Documented(Simple(), 48000, start + i, c), 1e-6);
    }
  }
}

TEST_F(AudioSynthesizerTest, ChannelsCarryTheirOwnTones) {
  // Two seconds in, every tone is at a zero crossing. At sample 120 the left
  // carries 440 Hz and its channel tone, the right 660 Hz and its own.
  const int64_t n = 48000 * 2;
  EXPECT_NEAR(AudioSynthesizer::ExpectedSample(Simple(), 48000, n, 0), 0.0, 1e-6);
  const double left = AudioSynthesizer::ExpectedSample(Simple(), 48000, 120, 0);
  const double right = AudioSynthesizer::ExpectedSample(Simple(), 48000, 120, 1);
  EXPECT_NEAR(left, 0.25 * std::sin(2 * std::numbers::pi * 440 * 120 / 48000.0) +
                        std::sin(2 * std::numbers::pi * 100 * 120 / 48000.0) / 64, 1e-6);
  EXPECT_NEAR(right, 0.25 * std::sin(2 * std::numbers::pi * 660 * 120 / 48000.0) +
                         std::sin(2 * std::numbers::pi * 200 * 120 / 48000.0) / 64, 1e-6);
}

TEST_F(AudioSynthesizerTest, SilenceOutsideTheCompositionAndItsChannels) {
  const int64_t count = AudioSynthesizer::SampleCount(Simple(), 48000);
  EXPECT_EQ(count, 480000);
  EXPECT_NE(AudioSynthesizer::ExpectedSample(Simple(), 48000, count - 1, 0), 0.0f);
  std::vector<float> block(8 * 3);
  ASSERT_FALSE(
      AudioSynthesizer::RenderBlock(Simple(), 48000, count - 4, 8, 3, block.data(), block.size()).IsError());
  for (uint32_t i = 0; i < 8; ++i) {
    for (uint32_t c = 0; c < 3; ++c) {
      const bool inside = i < 4 && c < 2;
      EXPECT_EQ(block[i * 3 + c] != 0.0f, inside) << i << "," << c;
    }
  }
  EXPECT_EQ(AudioSynthesizer::ExpectedSample(Simple(), 48000, -1, 0), 0.0f);
  const Composition& sd = *nested->FindComposition(kSD);  // no audio at all
  EXPECT_EQ(AudioSynthesizer::ExpectedSample(sd, 48000, 100, 0), 0.0f);
}

TEST_F(AudioSynthesizerTest, AnyRateAndChannelCountFollowsTheSameFunction) {
  const Composition& main = *nested->FindComposition(kMain);  // 5.1, one tone on all
  EXPECT_EQ(AudioSynthesizer::SampleCount(main, 48000), 900LL * 1001 * 48000 / 30000);
  std::vector<float> block(100 * 6);
  ASSERT_FALSE(AudioSynthesizer::RenderBlock(main, 96000, 5000, 100, 6, block.data(), block.size()).IsError());
  for (uint32_t i = 0; i < 100; ++i) {
    for (uint32_t c = 0; c < 6; ++c) {
      ASSERT_NEAR(block[i * 6 + c], Documented(main, 96000, 5000 + i, c), 1e-6);
    }
  }
}

TEST(AudioPhaseTest, PhaseShiftsTheToneAndChannelsListNarrowIt) {
  auto parsed = tetherserver::Project::Parse(
      servertest::ProjectJSON(servertest::CompositionJSON(
          "C0000000-0000-4000-8000-0000000000AA",
          R"("audio":{"sampleRate":48000,"channels":3,"tones":[)"
          R"({"frequency":1000,"amplitude":0.5,"phase":0.25,"channels":[1,2]}]})")),
      "p.marlp");
  ASSERT_TRUE(parsed.ok()) << parsed.error.message;
  const Composition& comp = *(*parsed)->FindComposition(Guid("C0000000-0000-4000-8000-0000000000AA"));
  EXPECT_EQ(AudioSynthesizer::ExpectedSample(comp, 48000, 0, 0), 0.0f);
  EXPECT_FLOAT_EQ(AudioSynthesizer::ExpectedSample(comp, 48000, 0, 1), 0.5f);
  EXPECT_FLOAT_EQ(AudioSynthesizer::ExpectedSample(comp, 48000, 0, 2), 0.5f);
  for (int64_t n = 0; n < 2000; n += 37) {
    for (uint32_t c = 0; c < 3; ++c) {
      EXPECT_NEAR(AudioSynthesizer::ExpectedSample(comp, 48000, n, c), Documented(comp, 48000, n, c), 1e-6);
    }
  }
}

TEST_F(AudioSynthesizerTest, BlocksJoinSeamlessly) {
  std::vector<float> whole(300 * 2);
  std::vector<float> first(100 * 2);
  std::vector<float> second(200 * 2);
  AudioSynthesizer::RenderBlock(Simple(), 48000, 1000, 300, 2, whole.data(), whole.size());
  AudioSynthesizer::RenderBlock(Simple(), 48000, 1000, 100, 2, first.data(), first.size());
  AudioSynthesizer::RenderBlock(Simple(), 48000, 1100, 200, 2, second.data(), second.size());
  first.insert(first.end(), second.begin(), second.end());
  EXPECT_EQ(first, whole);
}

TEST_F(AudioSynthesizerTest, SmallOrMissingBuffersAreRefused) {
  std::vector<float> block(10);
  EXPECT_EQ(AudioSynthesizer::RenderBlock(Simple(), 48000, 0, 6, 2, block.data(), block.size()).kind,
            Kind::kBadBuffer);
  EXPECT_EQ(AudioSynthesizer::RenderBlock(Simple(), 48000, 0, 1, 2, nullptr, 0).kind, Kind::kBadBuffer);
  EXPECT_EQ(AudioSynthesizer::RenderBlock(Simple(), 0, 0, 1, 2, block.data(), block.size()).kind,
            Kind::kBadBuffer);
  EXPECT_FALSE(AudioSynthesizer::RenderBlock(Simple(), 48000, 0, 0, 2, nullptr, 0).IsError());
}

TEST(AudioTimeTest, TimesAndRatesConvertExactly) {
  EXPECT_EQ(AudioSynthesizer::SampleAt(tether::RatioTime(3, 2), 48000), 72000);
  EXPECT_EQ(AudioSynthesizer::SampleAt(tether::RatioTime(1001, 30000), 48000), 1601);  // 1601.6
  EXPECT_EQ(AudioSynthesizer::SampleAt(tether::RatioTime(-1, 96000), 48000), -1);
  EXPECT_EQ(AudioSynthesizer::SampleRateOfTicks(5292000), 48000u);
  EXPECT_EQ(AudioSynthesizer::SampleRateOfTicks(5760000), 44100u);
  EXPECT_EQ(AudioSynthesizer::SampleRateOfTicks(5292001), 0u);
  EXPECT_EQ(AudioSynthesizer::SampleRateOfTicks(tether::kNoFrameRate), 0u);
  EXPECT_EQ(AudioSynthesizer::SampleRateOfTicks(0), 0u);
}

}  // namespace
