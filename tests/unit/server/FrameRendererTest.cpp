#include "ServerTestSupport.h"

#include <server/project/Project.h>
#include <server/render/BurnInText.h>
#include <server/render/FrameRenderer.h>
#include <server/render/FrameStamp.h>
#include <server/render/RenderSettings.h>

#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/HashValueMixerState.h>
#include <kilnmediatypes/PixelFormat.h>
#include <kilnmediatypes/RatioTime.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <thread>
#include <vector>

namespace {

using kilncore::utility::Guid;
using tether::RatioTime;
using tetherserver::Composition;
using tetherserver::FrameRenderer;
using tetherserver::FrameStamp;
using tetherserver::ReadFrameStamp;
using tetherserver::RenderSettings;
using Kind = tetherserver::ProjectError::Kind;

const Guid kSimpleID("5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01");
const Guid kMain("C0000000-0000-4000-8000-000000000001");
const Guid kSD("C0000000-0000-4000-8000-000000000003");

const tether::PixelFormat kBGRA8{kilnmediatypes::kPixelFormat_BGRA_4444_8u.fourcc,
                                 kilnmediatypes::kPixelFormat_BGRA_4444_8u.properties};
const tether::PixelFormat kRGBAFloat{kilnmediatypes::kPixelFormat_RGBA_4444_32f.fourcc,
                                     kilnmediatypes::kPixelFormat_RGBA_4444_32f.properties};
const tether::PixelFormat kAny{kilnmediatypes::kPixelFormat_Any.fourcc, 0};
const tether::PixelFormat kVUYA{kilnmediatypes::kPixelFormat_VUYA_4444_8u.fourcc, 0};

tether::VideoRenderOptions Options(tether::PixelFormat format, int32_t width = 0, int32_t height = 0,
                                   const std::string& appJSON = "", tether::FieldType fieldType = 4) {
  tether::VideoRenderOptions options;
  options.SetPixelFormats({format, kAny});
  options.SetBounds(width, height);
  options.SetFieldType(fieldType);
  options.SetAppSpecificRenderOptionsJSONString(kilncore::string::UTF8to16(appJSON));
  return options;
}

// A rendered frame in memory of its own.
struct Frame {
  RenderSettings settings;
  std::vector<uint8_t> bytes;
  size_t rowBytes = 0;

  const uint8_t* Pixel(uint32_t x, uint32_t y) const {
    return bytes.data() + y * rowBytes + x * settings.BytesPerPixel();
  }
  // Channel c of pixel (x, y) in memory order, as 0..255.
  int Channel(uint32_t x, uint32_t y, int c) const {
    if (settings.BytesPerPixel() == 4) return Pixel(x, y)[c];
    float v;
    std::memcpy(&v, Pixel(x, y) + 4 * c, 4);
    return static_cast<int>(std::lround(v * 255.0f));
  }
  bool SamePixel(uint32_t x1, uint32_t y1, uint32_t x2, uint32_t y2) const {
    return std::memcmp(Pixel(x1, y1), Pixel(x2, y2), settings.BytesPerPixel()) == 0;
  }
};

Frame Render(const Composition& comp, const RatioTime& time, const tether::VideoRenderOptions& options,
             size_t padding = 0) {
  auto settings = RenderSettings::Resolve(comp, options);
  EXPECT_TRUE(settings.ok()) << settings.error.message;
  Frame frame{*settings, {}, settings->MinRowBytes() + padding};
  frame.bytes.assign(frame.rowBytes * settings->height, 0xEE);
  tetherserver::FrameBuffer buffer = settings->MakeBuffer(frame.bytes.data());
  buffer.rowBytes = frame.rowBytes;
  const auto error = FrameRenderer::Render(comp, time, *settings, buffer);
  EXPECT_FALSE(error.IsError()) << error.message;
  return frame;
}

class FrameRendererTest : public ::testing::Test {
 protected:
  void SetUp() override {
    simple = servertest::OpenExample("simple.marlp");
    nested = servertest::OpenExample("nested.marlp");
    ASSERT_TRUE(simple && nested);
  }
  const Composition& Simple() const { return *simple->FindComposition(kSimpleID); }
  const Composition& Main() const { return *nested->FindComposition(kMain); }
  const Composition& SD() const { return *nested->FindComposition(kSD); }

  std::shared_ptr<const tetherserver::Project> simple;
  std::shared_ptr<const tetherserver::Project> nested;
};

// A 64 by 36 composition whose only layer is a black-to-white ramp, across or
// down.
Composition Ramp(const std::string& direction = "horizontal") {
  auto parsed = tetherserver::Project::Parse(
      servertest::ProjectJSON(servertest::CompositionJSON(
          "C0000000-0000-4000-8000-0000000000AA",
          R"("layers":[{"type":"gradient","from":[0,0,0,1],"to":[1,1,1,1],"direction":")" +
              direction + R"("}])")),
      "ramp.marlp");
  EXPECT_TRUE(parsed.ok());
  return *(*parsed)->FindComposition(Guid("C0000000-0000-4000-8000-0000000000AA"));
}

TEST_F(FrameRendererTest, EightBitFrameCarriesAStampOfTimeOptionsAndContent) {
  const auto options = Options(kBGRA8);
  const Frame frame = Render(Simple(), RatioTime(51, 25), options);
  ASSERT_EQ(frame.settings.width, 1920u);
  ASSERT_EQ(frame.settings.pixelFormat, kBGRA8);
  auto stamp = ReadFrameStamp(frame.bytes.data(), frame.bytes.size());
  ASSERT_TRUE(stamp);
  EXPECT_EQ(stamp->version, FrameStamp::kVersion);
  EXPECT_EQ(stamp->pixelFormatCode, 1);
  EXPECT_EQ(stamp->fieldType, 0);
  EXPECT_EQ(stamp->flags, 0);
  EXPECT_EQ(stamp->ticks, 51 * (tether::kTicksPerSecond / 25));
  EXPECT_EQ(stamp->frameNumber, 51);
  EXPECT_EQ(stamp->optionsHash, tetherserver::HashVideoRenderOptions(options));
  EXPECT_EQ(stamp->contentState, simple->GetContentState(kSimpleID));
  EXPECT_EQ(stamp->width, 1920);
  EXPECT_EQ(stamp->height, 1080);
}

TEST_F(FrameRendererTest, FloatFrameCarriesTheSameStamp) {
  const auto options = Options(kRGBAFloat, 0, 0, "", 0);
  const Frame frame = Render(Simple(), RatioTime(3, 1), options);
  ASSERT_EQ(frame.settings.pixelFormat, kRGBAFloat);
  ASSERT_EQ(frame.bytes.size(), 1920u * 1080u * 16u);
  auto stamp = ReadFrameStamp(frame.bytes.data(), frame.bytes.size());
  ASSERT_TRUE(stamp);
  EXPECT_EQ(stamp->pixelFormatCode, 4);
  EXPECT_EQ(stamp->ticks, 3 * tether::kTicksPerSecond);
  EXPECT_EQ(stamp->frameNumber, 75);
  EXPECT_EQ(stamp->optionsHash, tetherserver::HashVideoRenderOptions(options));
}

TEST_F(FrameRendererTest, TickTimeAndRationalTimeRenderTheSameFrame) {
  const auto options = Options(kBGRA8, 192, 108);
  const Frame byRatio = Render(Simple(), RatioTime(7, 5), options);
  auto settings = RenderSettings::Resolve(Simple(), options);
  std::vector<uint8_t> bytes(settings->FrameBytes());
  ASSERT_FALSE(FrameRenderer::Render(Simple(), kilnmediatypes::RatioTimeToTime(RatioTime(7, 5)),
                                     *settings, settings->MakeBuffer(bytes.data()))
                   .IsError());
  EXPECT_EQ(bytes, byRatio.bytes);
}

TEST_F(FrameRendererTest, BothFormatsShowTheSameColoursInTheirChannelOrder) {
  const Frame eight = Render(Simple(), RatioTime(1, 1), Options(kBGRA8, 480, 270));
  const Frame flt = Render(Simple(), RatioTime(1, 1), Options(kRGBAFloat, 480, 270));
  for (uint32_t y : {20u, 135u, 260u}) {
    for (uint32_t x : {30u, 240u, 470u}) {
      EXPECT_EQ(eight.Channel(x, y, 0), flt.Channel(x, y, 2)) << x << "," << y;  // blue
      EXPECT_EQ(eight.Channel(x, y, 1), flt.Channel(x, y, 1)) << x << "," << y;  // green
      EXPECT_EQ(eight.Channel(x, y, 2), flt.Channel(x, y, 0)) << x << "," << y;  // red
      EXPECT_EQ(eight.Channel(x, y, 3), flt.Channel(x, y, 3)) << x << "," << y;  // alpha
    }
  }
}

TEST_F(FrameRendererTest, StampIsReadFromPaddedRowsAndPaddingIsLeftAlone) {
  const Frame frame = Render(Simple(), RatioTime(0, 1), Options(kBGRA8, 200, 100), 24);
  EXPECT_TRUE(ReadFrameStamp(frame.bytes.data(), frame.bytes.size()));
  for (uint32_t y = 0; y < 100; ++y) {
    for (size_t i = 800; i < frame.rowBytes; ++i) ASSERT_EQ(frame.bytes[y * frame.rowBytes + i], 0xEE);
  }
}

TEST_F(FrameRendererTest, ReadFrameStampRefusesWhatIsNoStamp) {
  EXPECT_FALSE(ReadFrameStamp(nullptr, 1000));
  std::vector<uint8_t> zeros(4096, 0);
  EXPECT_FALSE(ReadFrameStamp(zeros.data(), zeros.size()));
  Frame frame = Render(Simple(), RatioTime(0, 1), Options(kBGRA8, 64, 36));
  EXPECT_FALSE(ReadFrameStamp(frame.bytes.data(), FrameStamp::kBytes - 1));
  ASSERT_TRUE(ReadFrameStamp(frame.bytes.data(), FrameStamp::kBytes));
  frame.bytes[20] ^= 1;  // the checksum catches a changed byte
  EXPECT_FALSE(ReadFrameStamp(frame.bytes.data(), frame.bytes.size()));
  const Frame narrow = Render(Simple(), RatioTime(0, 1), Options(kBGRA8, 15, 8));
  EXPECT_FALSE(ReadFrameStamp(narrow.bytes.data(), narrow.bytes.size()));
}

TEST_F(FrameRendererTest, BoundsScaleThePicture) {
  const Frame full = Render(Simple(), RatioTime(5, 1), Options(kBGRA8));
  const Frame half = Render(Simple(), RatioTime(5, 1), Options(kBGRA8, 960, 540));
  EXPECT_EQ(half.settings.width, 960u);
  EXPECT_EQ(half.bytes.size(), 960u * 540u * 4u);
  auto stamp = ReadFrameStamp(half.bytes.data(), half.bytes.size());
  ASSERT_TRUE(stamp);
  EXPECT_EQ(stamp->width, 960);
  EXPECT_EQ(stamp->height, 540);
  // Half-size pixel (x, y) samples the full frame at (2x + 1, 2y + 1).
  for (uint32_t y : {100u, 310u, 500u}) {
    for (uint32_t x : {50u, 450u, 900u}) {
      EXPECT_TRUE(std::memcmp(half.Pixel(x, y), full.Pixel(2 * x + 1, 2 * y + 1), 4) == 0);
    }
  }
}

TEST_F(FrameRendererTest, DownSamplingRepeatsOneSamplePerBlock) {
  const Composition ramp = Ramp();
  const std::string json =
      R"({"applicationID":"Marl","version":11,"downSampleX":2,"downSampleY":3})";
  const Frame reduced = Render(ramp, RatioTime(0, 1), Options(kBGRA8, 0, 0, json));
  const Frame full = Render(ramp, RatioTime(0, 1), Options(kBGRA8));
  auto stamp = ReadFrameStamp(reduced.bytes.data(), reduced.bytes.size());
  ASSERT_TRUE(stamp);
  EXPECT_TRUE(stamp->ResolutionReduced());
  for (uint32_t y = 1; y < 36; ++y) {  // row 0 holds the stamp
    for (uint32_t x = 0; x + 1 < 64; x += 2) {
      EXPECT_TRUE(reduced.SamePixel(x, y, x + 1, y)) << x << "," << y;
      EXPECT_FALSE(full.SamePixel(x, y, x + 1, y)) << x << "," << y;
      if (x + 2 < 64) {
        EXPECT_FALSE(reduced.SamePixel(x, y, x + 2, y));
      }
    }
  }
  const Frame down = Render(Ramp("vertical"), RatioTime(0, 1), Options(kBGRA8, 0, 0, json));
  for (uint32_t y = 3; y + 3 < 36; y += 3) {
    EXPECT_TRUE(down.SamePixel(40, y, 40, y + 1));
    EXPECT_TRUE(down.SamePixel(40, y, 40, y + 2));
    EXPECT_FALSE(down.SamePixel(40, y, 40, y + 3));
  }
}

TEST_F(FrameRendererTest, DownSamplingWrappedOptionsAreReadToo) {
  const std::string json =
      R"({"SerializerWrappedObject":{"applicationID":"Marl","version":11,"downSampleX":4,"downSampleY":1}})";
  const Frame reduced = Render(Ramp(), RatioTime(0, 1), Options(kBGRA8, 0, 0, json));
  EXPECT_EQ(reduced.settings.downSampleX, 4u);
  EXPECT_TRUE(reduced.SamePixel(8, 10, 11, 10));
  EXPECT_FALSE(reduced.SamePixel(11, 10, 12, 10));
}

TEST_F(FrameRendererTest, SourcePatchedForDownSamplingRendersTheBoundsWhole) {
  const std::string json =
      R"({"applicationID":"Marl","version":11,"downSampleX":2,"downSampleY":2,"needsToPatchSourceForDownsample":true})";
  const Frame frame = Render(Ramp(), RatioTime(0, 1), Options(kBGRA8, 32, 18, json));
  auto stamp = ReadFrameStamp(frame.bytes.data(), frame.bytes.size());
  ASSERT_TRUE(stamp);
  EXPECT_FALSE(stamp->ResolutionReduced());
  EXPECT_FALSE(frame.SamePixel(4, 5, 5, 5));
}

TEST_F(FrameRendererTest, GuideLayersAreDrawnOnlyWhenAsked) {
  const std::string withGuides = R"({"applicationID":"Marl","version":11,"renderguidelayers":true})";
  const Frame plain = Render(Main(), RatioTime(0, 1), Options(kBGRA8, 480, 270));
  const Frame guided = Render(Main(), RatioTime(0, 1), Options(kBGRA8, 480, 270, withGuides));
  // Away from the burn-in: black without the guide, half green with it.
  EXPECT_EQ(plain.Channel(400, 200, 1), 0);
  EXPECT_EQ(guided.Channel(400, 200, 0), 0);
  EXPECT_EQ(guided.Channel(400, 200, 1), 128);
  EXPECT_EQ(guided.Channel(400, 200, 2), 0);
  EXPECT_EQ(guided.Channel(400, 200, 3), 255);
  EXPECT_FALSE(ReadFrameStamp(plain.bytes.data(), plain.bytes.size())->GuideLayersDrawn());
  EXPECT_TRUE(ReadFrameStamp(guided.bytes.data(), guided.bytes.size())->GuideLayersDrawn());
}

// The column where the moving shape's left edge is in line `y`.
uint32_t ShapeEdge(const Frame& frame, uint32_t y) {
  for (uint32_t x = 0; x < frame.settings.width; ++x) {
    if (frame.Channel(x, y, 0) == 255) return x;
  }
  return frame.settings.width;
}

TEST_F(FrameRendererTest, InterlacedFramesShowTheSecondFieldHalfAFrameLater) {
  // Lower field first: odd lines at the frame's time, even lines later.
  const RatioTime time = SD().FramesToTime(75);
  const Frame interlaced = Render(SD(), time, Options(kBGRA8));
  EXPECT_EQ(interlaced.settings.fieldType, 2);
  EXPECT_EQ(ReadFrameStamp(interlaced.bytes.data(), interlaced.bytes.size())->fieldType, 2);
  EXPECT_GT(ShapeEdge(interlaced, 220), ShapeEdge(interlaced, 221));
  EXPECT_EQ(ShapeEdge(interlaced, 221), ShapeEdge(interlaced, 223));

  const Frame upper = Render(SD(), time, Options(kBGRA8, 0, 0, "", 1));
  EXPECT_LT(ShapeEdge(upper, 220), ShapeEdge(upper, 221));
  EXPECT_EQ(ShapeEdge(upper, 220), ShapeEdge(interlaced, 221));

  const Frame progressive = Render(SD(), time, Options(kBGRA8, 0, 0, "", 0));
  EXPECT_EQ(ShapeEdge(progressive, 220), ShapeEdge(progressive, 221));
  EXPECT_EQ(ShapeEdge(progressive, 220), ShapeEdge(interlaced, 221));
}

TEST_F(FrameRendererTest, FrameNumberBurnInShowsTheFrame) {
  // Glyph dot (1, 2) is the middle of "8" (lit) and the hole of "0" (unlit);
  // the frame number's box starts at (64, 64) with 12 pixels a dot and one dot
  // of margin.
  const uint32_t x = 64 + 12 * 2 + 6;
  const uint32_t y = 64 + 12 * 3 + 6;
  const Frame eight = Render(Simple(), Simple().FramesToTime(8), Options(kBGRA8));
  const Frame zero = Render(Simple(), Simple().FramesToTime(0), Options(kBGRA8));
  EXPECT_EQ(eight.Channel(x, y, 0), 255);
  EXPECT_EQ(zero.Channel(x, y, 0), 0);
  EXPECT_EQ(zero.Channel(x - 12, y, 0), 255);  // the left side of "0"
}

TEST(BurnInTextTest, TimecodeCountsDropFrameLabels) {
  Composition comp;
  comp.rateNumerator = 30000;
  comp.rateDenominator = 1001;
  comp.dropFrame = true;
  comp.startFrame = 107892;  // one hour
  using tetherserver::BurnInText;
  EXPECT_EQ(BurnInText::Timecode(comp, 0), "01:00:00;00");
  EXPECT_EQ(BurnInText::Timecode(comp, 1799), "01:00:59;29");
  EXPECT_EQ(BurnInText::Timecode(comp, 1800), "01:01:00;02");
  EXPECT_EQ(BurnInText::Timecode(comp, 17982), "01:10:00;00");
  comp.dropFrame = false;
  comp.startFrame = 0;
  EXPECT_EQ(BurnInText::Timecode(comp, 1800), "00:01:00:00");
  EXPECT_EQ(BurnInText::Timecode(comp, -5), "00:00:00:00");
  comp.startFrame = 100;
  EXPECT_EQ(BurnInText::FrameNumber(comp, 23), "123");
  EXPECT_EQ(BurnInText::FrameNumber(comp, -101), "-1");
}

TEST_F(FrameRendererTest, PixelFormatIsTheFirstRenderableOneAskedFor) {
  tether::VideoRenderOptions options;
  options.SetPixelFormats({kVUYA, kRGBAFloat, kBGRA8});
  EXPECT_EQ(RenderSettings::Resolve(Simple(), options)->pixelFormat, kRGBAFloat);
  options.SetPixelFormats({kVUYA, kAny});
  EXPECT_EQ(RenderSettings::Resolve(Simple(), options)->pixelFormat.fourcc, kBGRA8.fourcc);
  options.SetPixelFormats({});
  EXPECT_EQ(RenderSettings::Resolve(Simple(), options)->pixelFormat.fourcc, kBGRA8.fourcc);
  options.SetPixelFormats({kVUYA});
  auto refused = RenderSettings::Resolve(Simple(), options);
  EXPECT_FALSE(refused.ok());
  EXPECT_EQ(refused.error.kind, Kind::kUnsupportedPixelFormat);
}

TEST_F(FrameRendererTest, BuffersThatDoNotFitAreRefusedUntouched) {
  auto settings = RenderSettings::Resolve(Simple(), Options(kBGRA8, 64, 36));
  ASSERT_TRUE(settings.ok());
  std::vector<uint8_t> bytes(settings->FrameBytes() * 2, 0xEE);
  const auto refuses = [&](tetherserver::FrameBuffer buffer) {
    return FrameRenderer::Render(Simple(), RatioTime(0, 1), *settings, buffer).kind == Kind::kBadBuffer;
  };
  auto buffer = settings->MakeBuffer(bytes.data());
  EXPECT_TRUE(refuses({nullptr, buffer.rowBytes, 64, 36, kBGRA8}));
  EXPECT_TRUE(refuses({bytes.data(), buffer.rowBytes - 1, 64, 36, kBGRA8}));
  EXPECT_TRUE(refuses({bytes.data(), buffer.rowBytes, 65, 36, kBGRA8}));
  EXPECT_TRUE(refuses({bytes.data(), buffer.rowBytes, 64, 35, kBGRA8}));
  EXPECT_TRUE(refuses({bytes.data(), buffer.rowBytes * 4, 64, 36, kRGBAFloat}));
  EXPECT_EQ(bytes, std::vector<uint8_t>(bytes.size(), 0xEE));
}

TEST_F(FrameRendererTest, OptionsHashFollowsTheDocumentedBytes) {
  tether::VideoRenderOptions options;
  options.SetRenderQuality(3);
  options.SetFieldType(1);
  options.SetPixelFormats({kBGRA8});
  options.SetBounds(1920, -2);
  options.SetUseProxies(true);
  options.SetAppSpecificRenderOptionsJSONString(u"{}");
  options.SetCaptionStreamFormat(7);
  options.SetColorSpace(tether::ColorSpace{"Rec.709"});
  std::vector<uint8_t> bytes;
  const auto put = [&](uint64_t v, int size) {
    for (int i = 0; i < size; ++i) bytes.push_back(static_cast<uint8_t>(v >> (8 * i)));
  };
  const std::string domain = "TetherServerRenderOptions\x01";
  bytes.insert(bytes.end(), domain.begin(), domain.end());
  put(3, 4);
  put(1, 4);
  put(1, 4);
  put(kBGRA8.fourcc, 4);
  put(kBGRA8.properties, 4);
  put(1920, 4);
  put(static_cast<uint32_t>(-2), 4);
  put(0, 1);
  put(1, 1);
  put(2, 4);
  put('{', 2);
  put('}', 2);
  put(7, 4);
  put(7, 4);
  for (char c : std::string("Rec.709")) bytes.push_back(static_cast<uint8_t>(c));
  kilncore::utility::HashValueMixerState state;
  kilncore::utility::UpdateHashState(state, bytes.data(), bytes.size());
  Guid expected;
  kilncore::utility::GetHashResult(state, expected);
  EXPECT_EQ(tetherserver::HashVideoRenderOptions(options), expected);
}

TEST_F(FrameRendererTest, OptionsHashChangesWithEveryOption) {
  const tether::VideoRenderOptions base = Options(kBGRA8, 100, 50, "{}", 0);
  const Guid baseHash = tetherserver::HashVideoRenderOptions(base);
  std::vector<tether::VideoRenderOptions> variants(8, base);
  variants[0].SetRenderQuality(1);
  variants[1].SetFieldType(2);
  variants[2].SetPixelFormats({kRGBAFloat});
  variants[3].SetBounds(100, 51);
  variants[4].SetUsePreviewFiles(true);
  variants[5].SetAppSpecificRenderOptionsJSONString(u"{ }");
  variants[6].SetCaptionStreamFormat(1);
  variants[7].SetColorSpace(tether::ColorSpace{"x"});
  for (const auto& variant : variants) EXPECT_NE(tetherserver::HashVideoRenderOptions(variant), baseHash);
  EXPECT_EQ(tetherserver::HashVideoRenderOptions(Options(kBGRA8, 100, 50, "{}", 0)), baseHash);
}

TEST_F(FrameRendererTest, ThreadsRenderingOneCompositionAtOnceGetEqualFrames) {
  const auto options = Options(kBGRA8, 160, 90);
  const Frame reference = Render(Main(), RatioTime(2, 1), options);
  std::vector<Frame> frames(4);
  std::vector<std::thread> threads;
  for (auto& frame : frames) {
    threads.emplace_back([&] { frame = Render(Main(), RatioTime(2, 1), options); });
  }
  for (auto& thread : threads) thread.join();
  for (const auto& frame : frames) EXPECT_EQ(frame.bytes, reference.bytes);
}

}  // namespace
