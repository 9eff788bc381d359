#include <metadata/XmpPacket.h>

#include <exempi/xmp.h>
#include <exempi/xmpconsts.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <utility>
#include <memory>
#include <string>

namespace tetherserver {
namespace {

constexpr char kDM[] = "http://ns.adobe.com/xmp/1.0/DynamicMedia/";

XmpDescription Sample() {
  XmpDescription description;
  description.title = "Main \xE2\x9C\x93";
  description.creatorTool = "Tolmen (reference link server)";
  description.frameRate = tether::kTicksPerSecond / 25;
  description.width = 1920;
  description.height = 1080;
  description.startTime = tether::RatioTime(3600);  // 01:00:00:00
  description.markers = {{10, "Start"}, {50, "Cut"}, {200, "Late"}};
  return description;
}

// The packet parsed back by Exempi.
class Parsed {
 public:
  explicit Parsed(const std::string& packet) : mXmp(xmp_new_empty(), &xmp_free) {
    xmp_init();
    mOK = xmp_parse(mXmp.get(), packet.data(), packet.size());
  }
  bool OK() const { return mOK; }
  std::string Get(const char* schema, const char* name) const {
    std::unique_ptr<_XmpString, decltype(&xmp_string_free)> value(xmp_string_new(), &xmp_string_free);
    if (!xmp_get_property(mXmp.get(), schema, name, value.get(), nullptr)) return "<none>";
    return xmp_string_cstr(value.get());
  }
  std::string Title() const {
    std::unique_ptr<_XmpString, decltype(&xmp_string_free)> value(xmp_string_new(), &xmp_string_free);
    std::unique_ptr<_XmpString, decltype(&xmp_string_free)> lang(xmp_string_new(), &xmp_string_free);
    if (!xmp_get_localized_text(mXmp.get(), NS_DC, "title", "", "x-default", lang.get(), value.get(), nullptr)) {
      return "<none>";
    }
    return xmp_string_cstr(value.get());
  }

 private:
  std::unique_ptr<_Xmp, decltype(&xmp_free)> mXmp;
  bool mOK = false;
};

std::string RunExiftool(const std::string& packet) {
  const auto path = std::filesystem::temp_directory_path() / ("xmp-test-" + std::to_string(::getpid()) + ".xmp");
  std::ofstream(path, std::ios::binary) << packet;
  const std::string command = "exiftool -s -s -XMP:all " + path.string() + " 2>&1";
  std::string out;
  if (FILE* pipe = ::popen(command.c_str(), "r")) {
    char buffer[512];
    while (size_t n = std::fread(buffer, 1, sizeof buffer, pipe)) out.append(buffer, n);
    ::pclose(pipe);
  }
  std::filesystem::remove(path);
  return out;
}

TEST(XmpPacketTest, PacketParsesBackWithItsDescription) {
  const std::string packet = XmpPacket::Build(Sample(), tether::RatioTime(0), tether::RatioTime(4));
  ASSERT_FALSE(packet.empty());
  EXPECT_EQ(packet.rfind("<?xpacket begin=", 0), 0u);
  Parsed parsed(packet);
  ASSERT_TRUE(parsed.OK());
  EXPECT_EQ(parsed.Title(), "Main \xE2\x9C\x93");
  EXPECT_EQ(parsed.Get(NS_XAP, "CreatorTool"), "Tolmen (reference link server)");
  EXPECT_EQ(parsed.Get(kDM, "duration/xmpDM:value"), "100");
  EXPECT_EQ(parsed.Get(kDM, "duration/xmpDM:scale"), "1/25");
  EXPECT_EQ(parsed.Get(kDM, "videoFrameRate"), "25");
  EXPECT_EQ(parsed.Get(kDM, "videoFrameSize/stDim:w"), "1920");
  EXPECT_EQ(parsed.Get(kDM, "videoFrameSize/stDim:h"), "1080");
  EXPECT_EQ(parsed.Get(kDM, "startTimecode/xmpDM:timeFormat"), "25Timecode");
  EXPECT_EQ(parsed.Get(kDM, "startTimecode/xmpDM:timeValue"), "01:00:00:00");
}

TEST(XmpPacketTest, OnlyMarkersInTheRangeAreWrittenFromItsStart) {
  const std::string packet = XmpPacket::Build(Sample(), tether::RatioTime(1), tether::RatioTime(4));
  Parsed parsed(packet);
  ASSERT_TRUE(parsed.OK());
  EXPECT_EQ(parsed.Get(kDM, "Tracks[1]/xmpDM:frameRate"), "f25");
  EXPECT_EQ(parsed.Get(kDM, "Tracks[1]/xmpDM:markers[1]/xmpDM:name"), "Cut");
  EXPECT_EQ(parsed.Get(kDM, "Tracks[1]/xmpDM:markers[1]/xmpDM:startTime"), "25");
  EXPECT_EQ(parsed.Get(kDM, "Tracks[1]/xmpDM:markers[2]/xmpDM:name"), "<none>");
  EXPECT_EQ(parsed.Get(kDM, "startTimecode/xmpDM:timeValue"), "01:00:01:00");
}

TEST(XmpPacketTest, DropFrameRateNamesItsTimecodeAndRate) {
  XmpDescription description = Sample();
  description.frameRate = 8475667200;
  description.dropFrame = true;
  description.startTime = tether::RatioTime(0);
  Parsed parsed(XmpPacket::Build(description, tether::RatioTime(0), tether::RatioTime(1)));
  ASSERT_TRUE(parsed.OK());
  EXPECT_EQ(parsed.Get(kDM, "startTimecode/xmpDM:timeFormat"), "2997DropTimecode");
  EXPECT_EQ(parsed.Get(kDM, "startTimecode/xmpDM:timeValue"), "00:00:00;00");
  EXPECT_EQ(parsed.Get(kDM, "videoFrameRate"), "29.97");
  EXPECT_EQ(parsed.Get(kDM, "duration/xmpDM:scale"), "1001/30000");
  EXPECT_EQ(XmpPacket::FrameRateText(8475667200), "f30000s1001");
}

TEST(XmpPacketTest, ItemWithoutRateHasNoTimes) {
  XmpDescription description = Sample();
  description.frameRate = tether::kNoFrameRate;
  Parsed parsed(XmpPacket::Build(description, tether::RatioTime(0), tether::RatioTime(1)));
  ASSERT_TRUE(parsed.OK());
  EXPECT_EQ(parsed.Get(kDM, "videoFrameRate"), "<none>");
  EXPECT_EQ(parsed.Title(), "Main \xE2\x9C\x93");
}

TEST(XmpPacketTest, HugeSpansGiveAPacketWithoutOverflow) {
  const int64_t huge = std::numeric_limits<int64_t>::max() / 3;
  for (const auto& [start, duration] : {std::pair{tether::RatioTime(huge), tether::RatioTime(huge)},
                                        std::pair{tether::RatioTime(huge, huge - 1), tether::RatioTime(1, huge)}}) {
    Parsed parsed(XmpPacket::Build(Sample(), start, duration));
    EXPECT_TRUE(parsed.OK());
  }
}

TEST(XmpPacketTest, AnIndependentReaderReadsThePacket) {
  const std::string out = RunExiftool(XmpPacket::Build(Sample(), tether::RatioTime(0), tether::RatioTime(4)));
  EXPECT_NE(out.find("Title: Main \xE2\x9C\x93"), std::string::npos) << out;
  EXPECT_NE(out.find("CreatorTool: Tolmen (reference link server)"), std::string::npos) << out;
  EXPECT_NE(out.find("VideoFrameSizeW: 1920"), std::string::npos) << out;
  EXPECT_NE(out.find("StartTimecodeTimeValue: 01:00:00:00"), std::string::npos) << out;
  EXPECT_NE(out.find("TracksMarkersName: Start, Cut"), std::string::npos) << out;
}

}  // namespace
}  // namespace tetherserver
