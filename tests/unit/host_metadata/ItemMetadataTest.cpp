// What tetherhost makes of an item's metadata when the server answers badly:
// a failed packet, an empty one, captions it can't read, a stream that isn't
// there. The item is a real linked item over the scripted double.
#include "../mediainfo_creation/CreationTestSupport.h"

#include <host/cli/HostError.h>
#include <host/commands/ItemMetadata.h>

#include <tether/testing/Behaviour.h>
#include <tether/testing/Operation.h>
#include <tether/testing/ScriptedBackend.h>
#include <tether/testing/ScriptedSourceSetup.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace tetherhost {
namespace {

using namespace TetherMedia::testing_support;
using tether::testing::Behaviour;
using tether::testing::Operation;
using tether::testing::ScopedBackend;
using tether::testing::ScriptedSourceSetup;

std::string ReadAll(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

class ItemMetadataTest : public ::testing::Test {
 protected:
  ItemMetadataTest()
      : mFolder(std::filesystem::temp_directory_path() /
                ("host-metadata-" + kilncore::utility::Guid::CreateUnique().AsUTF8String())) {
    std::filesystem::create_directories(mFolder);
  }
  ~ItemMetadataTest() override {
    std::error_code ignored;
    std::filesystem::remove_all(mFolder, ignored);
  }

  ItemMetadata::MediaItem Open(const std::string& name, const ScriptedSourceSetup& setup) {
    mBackend->SetDefaultSource(setup);
    RL::BinaryData prefs = UniquePrefs();
    kilncore::classref::InterfaceRef<TetherMedia::TetherMediaInfo> item;
    EXPECT_EQ(TetherMedia::TetherMediaInfo::Create(item, mFiles.Make(name), prefs), 0);
    return ItemMetadata::MediaItem(item);
  }

  std::filesystem::path mFolder;
  ProjectFiles mFiles;
  ScopedBackend mBackend;
};

ScriptedSourceSetup WithCaptions(std::string text) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.captionData.serializedData = std::move(text);
  setup.captionData.streams = {{5, false, "English"}, {6, true, "Deutsch"}};
  return setup;
}

constexpr char kTwoStreams[] =
    "TETHER-CAPTIONS 1\nformat 1\nstream 5 English\ncue 0 254016000000 Hello\nstream 6 Deutsch\n"
    "cue 0 254016000000 Hallo\n";

TEST_F(ItemMetadataTest, FailedPacketIsAClearErrorAndWritesNothing) {
  auto item = Open("Show.marlp", ScriptedSourceSetup::Typical());
  mBackend->Script(Operation::kRenderXMP, Behaviour::Fail());
  try {
    ItemMetadata::WriteXmp(item, mFolder / "a.xmp");
    FAIL() << "no error";
  } catch (const HostError& error) {
    EXPECT_EQ(error.code(), static_cast<int32_t>(0xA00F0001u));
    EXPECT_NE(error.Describe().find("the XMP packet"), std::string::npos) << error.Describe();
  }
  EXPECT_FALSE(std::filesystem::exists(mFolder / "a.xmp"));
}

TEST_F(ItemMetadataTest, EmptyPacketWritesAnEmptyFileWithANote) {
  auto item = Open("Show.marlp", ScriptedSourceSetup::Typical());
  const std::string line = ItemMetadata::WriteXmp(item, mFolder / "a.xmp");
  EXPECT_EQ(line.rfind("note: the server has no XMP packet for this item", 0), 0u) << line;
  ASSERT_TRUE(std::filesystem::exists(mFolder / "a.xmp"));
  EXPECT_EQ(std::filesystem::file_size(mFolder / "a.xmp"), 0u);
}

TEST_F(ItemMetadataTest, PacketIsWrittenAsItCame) {
  ScriptedSourceSetup setup = ScriptedSourceSetup::Typical();
  setup.xmp = "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"/>";
  auto item = Open("Show.marlp", setup);
  EXPECT_EQ(ItemMetadata::WriteXmp(item, mFolder / "a.xmp"), "XMP packet: " + (mFolder / "a.xmp").string() + " (37 bytes)\n");
  EXPECT_EQ(ReadAll(mFolder / "a.xmp"), setup.xmp);
}

TEST_F(ItemMetadataTest, MalformedCaptionTextIsAClearError) {
  auto item = Open("Edit.tlmproj", WithCaptions("WEBVTT\n"));
  try {
    ItemMetadata::WriteCaptions(item, mFolder / "a.vtt", std::nullopt);
    FAIL() << "no error";
  } catch (const HostError& error) {
    EXPECT_NE(error.Describe().find("could not be read"), std::string::npos) << error.Describe();
    EXPECT_LT(error.code(), 0);
  }
  EXPECT_FALSE(std::filesystem::exists(mFolder / "a.vtt"));
}

TEST_F(ItemMetadataTest, FailedCaptionRequestReadsAsNoCaptions) {
  auto item = Open("Edit.tlmproj", WithCaptions(kTwoStreams));
  mBackend->Script(Operation::kGetCaptionData, Behaviour::Fail());
  EXPECT_THROW(ItemMetadata::WriteCaptions(item, mFolder / "a.srt", std::nullopt), HostError);
}

TEST_F(ItemMetadataTest, StreamOutOfRangeIsAClearError) {
  auto item = Open("Edit.tlmproj", WithCaptions(kTwoStreams));
  try {
    ItemMetadata::WriteCaptions(item, mFolder / "a.vtt", 2);
    FAIL() << "no error";
  } catch (const HostError& error) {
    EXPECT_EQ(std::string(error.what()), "--caption-stream 2: the item has caption streams 0-1");
  }
  EXPECT_EQ(mBackend->CallCount(Operation::kSetCaptionSelectionData), 1u);
}

TEST_F(ItemMetadataTest, WithoutAnIndexTheServersSelectedStreamIsWritten) {
  auto item = Open("Edit.tlmproj", WithCaptions(kTwoStreams));
  const std::string line = ItemMetadata::WriteCaptions(item, mFolder / "a.vtt", std::nullopt);
  EXPECT_NE(line.find("stream 6 \"Deutsch\", 1 cues"), std::string::npos) << line;
  EXPECT_EQ(ReadAll(mFolder / "a.vtt"), "WEBVTT\n\n00:00:00.000 --> 00:00:01.000\nHallo\n");
  EXPECT_EQ(mBackend->CallCount(Operation::kSetCaptionSelectionData), 0u);
}

TEST_F(ItemMetadataTest, DescriptionLinesComeFromTheItem) {
  auto item = Open("Show.marlp", ScriptedSourceSetup::Typical());
  const auto lines = ItemMetadata::DescriptionLines(item);
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_EQ(lines[1], "1920 x 1080");
  EXPECT_EQ(ItemMetadata::DescriptionLinesText({"a", "b"}), "a\nb\n\n");
  EXPECT_EQ(ItemMetadata::DescriptionLinesText({}), "");
  EXPECT_EQ(ItemMetadata::WithDescriptionLines("{\"name\":\"x\"}", {"a"}),
            "{\n    \"name\": \"x\",\n    \"description_lines\": [\n        \"a\"\n    ]\n}\n");
}

}  // namespace
}  // namespace tetherhost
