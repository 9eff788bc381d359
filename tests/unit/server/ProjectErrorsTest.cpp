#include "ServerTestSupport.h"

#include <server/project/Project.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using tetherserver::Project;
using Kind = tetherserver::ProjectError::Kind;
using servertest::CompositionJSON;
using servertest::ProjectJSON;

constexpr char kID[] = "C0000000-0000-4000-8000-0000000000AA";
constexpr char kOtherID[] = "C0000000-0000-4000-8000-0000000000BB";

Kind ParseKind(const std::string& text, const char* path = "p.marlp") {
  auto parsed = Project::Parse(text, path);
  return parsed.ok() ? Kind::kNone : parsed.error.kind;
}

std::string Message(const std::string& text) {
  return Project::Parse(text, "p.marlp").error.message;
}

TEST(ProjectErrorsTest, MissingFileIsReportedAsFileMissing) {
  servertest::TempDir dir;
  auto opened = Project::Open(dir.Path() / "absent.marlp");
  ASSERT_FALSE(opened.ok());
  EXPECT_EQ(opened.error.kind, Kind::kFileMissing);
  EXPECT_EQ(opened.error.ResultCode(), static_cast<int32_t>(0xA00F0003u));
  EXPECT_NE(opened.error.message.find("absent.marlp"), std::string::npos);
}

TEST(ProjectErrorsTest, DirectoryIsUnreadable) {
  servertest::TempDir dir;
  std::filesystem::create_directories(dir.Path() / "folder.marlp");
  auto opened = Project::Open(dir.Path() / "folder.marlp");
  ASSERT_FALSE(opened.ok());
  EXPECT_EQ(opened.error.kind, Kind::kUnreadable);
}

TEST(ProjectErrorsTest, OtherExtensionsAreRefused) {
  servertest::TempDir dir;
  auto opened = Project::Open(dir.Write("project.json", ProjectJSON(CompositionJSON(kID))));
  ASSERT_FALSE(opened.ok());
  EXPECT_EQ(opened.error.kind, Kind::kUnsupportedFileType);
}

TEST(ProjectErrorsTest, FileOnDiskOpensLikeItsText) {
  servertest::TempDir dir;
  auto opened = Project::Open(dir.Write("small.marlp", ProjectJSON(CompositionJSON(kID))));
  ASSERT_TRUE(opened.ok()) << opened.error.message;
  EXPECT_EQ((*opened)->ListCompositions().size(), 1u);
  EXPECT_EQ((*opened)->GetPath(), dir.Path() / "small.marlp");
}

TEST(ProjectErrorsTest, TextThatIsNotJSONIsReportedAsSuch) {
  EXPECT_EQ(ParseKind(""), Kind::kNotJSON);
  EXPECT_EQ(ParseKind("not json"), Kind::kNotJSON);
  EXPECT_EQ(ParseKind("{\"items\": ["), Kind::kNotJSON);
  EXPECT_EQ(ParseKind("{\"items\": []} trailing"), Kind::kNotJSON);
  EXPECT_NE(Message("{").find("offset"), std::string::npos);

  servertest::TempDir dir;
  auto opened = Project::Open(dir.Write("empty.marlp", ""));
  ASSERT_FALSE(opened.ok());
  EXPECT_EQ(opened.error.kind, Kind::kNotJSON);
}

TEST(ProjectErrorsTest, EmptyProjectIsValid) {
  auto parsed = Project::Parse(R"({"items":[]})", "p.marlp");
  ASSERT_TRUE(parsed.ok());
  EXPECT_TRUE((*parsed)->ListTree().empty());
}

TEST(ProjectErrorsTest, WrongTypesAndMissingMembersAreBadFields) {
  const std::vector<std::string> bad = {
      "[]",
      "{}",
      R"({"items":{}})",
      R"({"items":[42]})",
      R"({"items":[{"type":"clip","id":"C0000000-0000-4000-8000-0000000000AA","name":"x"}]})",
      R"({"items":[{"type":"folder","name":"x"}]})",
      R"({"items":[{"type":"folder","id":"not-a-guid","name":"x"}]})",
      R"({"items":[{"type":"folder","id":"00000000-0000-0000-0000-000000000000","name":"x"}]})",
      R"({"items":[{"type":"folder","id":"C0000000-0000-4000-8000-0000000000AA","name":7}]})",
      R"({"items":[{"type":"folder","id":"C0000000-0000-4000-8000-0000000000AA","name":"x","items":{}}]})",
      R"({"fonts":{},"items":[]})",
      R"({"fonts":[{"style":"Bold"}],"items":[]})",
      R"({"fonts":[{"family":"F","available":"no"}],"items":[]})",
      R"({"revision":"3","items":[]})",
      ProjectJSON(R"({"type":"composition","id":"C0000000-0000-4000-8000-0000000000AA","name":"C"})"),
      ProjectJSON(CompositionJSON(kID, R"("width":"64")")),
      ProjectJSON(CompositionJSON(kID, R"("width":0)")),
      ProjectJSON(CompositionJSON(kID, R"("width":100000)")),
      ProjectJSON(CompositionJSON(kID, R"("width":64.5)")),
      ProjectJSON(CompositionJSON(kID, R"("frameRate":25)")),
      ProjectJSON(CompositionJSON(kID, R"("frameRate":[25,0])")),
      ProjectJSON(CompositionJSON(kID, R"("frameRate":[-25,1])")),
      ProjectJSON(CompositionJSON(kID, R"("durationFrames":0)")),
      ProjectJSON(CompositionJSON(kID, R"("startFrame":-1)")),
      ProjectJSON(CompositionJSON(kID, R"("workArea":{"inFrame":5,"outFrame":5})")),
      ProjectJSON(CompositionJSON(kID, R"("workArea":{"inFrame":0,"outFrame":11})")),
      ProjectJSON(CompositionJSON(kID, R"("dropFrame":"yes")")),
      ProjectJSON(CompositionJSON(kID, R"("dropFrame":true)")),  // 25 fps has no drop-frame
      ProjectJSON(CompositionJSON(kID, R"("pixelAspectRatio":[1])")),
      ProjectJSON(CompositionJSON(kID, R"("fieldType":"interlaced")")),
      ProjectJSON(CompositionJSON(kID, R"("colorSpace":709)")),
      ProjectJSON(CompositionJSON(kID, R"("layers":{})")),
      ProjectJSON(CompositionJSON(kID, R"("layers":[{"type":"video"}])")),
      ProjectJSON(CompositionJSON(kID, R"("layers":[{"type":"solid"}])")),
      ProjectJSON(CompositionJSON(kID, R"("layers":[{"type":"solid","color":[1,1]}])")),
      ProjectJSON(CompositionJSON(kID, R"("layers":[{"type":"solid","color":[2,0,0]}])")),
      ProjectJSON(CompositionJSON(kID, R"("layers":[{"type":"solid","color":["r",0,0]}])")),
      ProjectJSON(CompositionJSON(kID, R"("layers":[{"type":"solid","color":[1,0,0],"guide":1}])")),
      ProjectJSON(CompositionJSON(kID, R"("layers":[{"type":"gradient","from":[0,0,0],"to":[1,1,1],"direction":"diagonal"}])")),
      ProjectJSON(CompositionJSON(kID, R"("layers":[{"type":"movingShape","color":[1,1,1],"size":[0,4],"from":[0,0],"to":[1,1]}])")),
      ProjectJSON(CompositionJSON(kID, R"("layers":[{"type":"frameNumber","position":[0,0],"color":[1,1,1],"scale":0}])")),
      ProjectJSON(CompositionJSON(kID, R"("audio":[])")),
      ProjectJSON(CompositionJSON(kID, R"("audio":{"sampleRate":48000})")),
      ProjectJSON(CompositionJSON(kID, R"("audio":{"sampleRate":44101,"channels":2})")),
      ProjectJSON(CompositionJSON(kID, R"("audio":{"sampleRate":48000,"channels":2,"channelLabels":[1]})")),
      ProjectJSON(CompositionJSON(kID, R"("audio":{"sampleRate":48000,"channels":2,"tones":[{"frequency":440}]})")),
      ProjectJSON(CompositionJSON(kID, R"("audio":{"sampleRate":48000,"channels":2,"tones":[{"frequency":440,"amplitude":0.1,"channels":[2]}]})")),
      ProjectJSON(CompositionJSON(kID, R"("audio":{"sampleRate":48000,"channels":2,"tones":[{"frequency":30000,"amplitude":0.1}]})")),
      ProjectJSON(CompositionJSON(kID, R"("markers":"m")")),
      // The same identifier twice, also across folders.
      ProjectJSON(CompositionJSON(kID) + "," + CompositionJSON(kID)),
      ProjectJSON(R"({"type":"folder","id":")" + std::string(kID) + R"(","name":"F","items":[)" +
                  CompositionJSON(kID) + "]}"),
  };
  for (const std::string& text : bad) {
    auto parsed = Project::Parse(text, "p.marlp");
    EXPECT_FALSE(parsed.ok()) << text;
    EXPECT_EQ(parsed.error.kind, Kind::kBadField) << text << " gave " << parsed.error.message;
    EXPECT_FALSE(parsed.error.message.empty());
  }
}

TEST(ProjectErrorsTest, MembersNamedTwiceAreRefused) {
  // Readers disagree on which of two equal keys wins, so neither does.
  EXPECT_EQ(ParseKind(ProjectJSON(CompositionJSON(kID, R"("width":64,"width":128)"))), Kind::kBadField);
  EXPECT_EQ(ParseKind(R"({"items":[],"items":[]})"), Kind::kBadField);
  EXPECT_NE(Message(R"({"items":[],"items":[]})").find("twice"), std::string::npos);
}

TEST(ProjectErrorsTest, BadFieldMessageNamesThePathOfTheCulprit) {
  const std::string text = ProjectJSON(
      CompositionJSON(kOtherID) + "," +
      CompositionJSON(kID, R"("layers":[{"type":"solid","color":[0,0,0]},{"type":"solid","color":"red"}])"));
  EXPECT_NE(Message(text).find("$.items[1].layers[1].color"), std::string::npos) << Message(text);
}

TEST(ProjectErrorsTest, FoldersNestedTooDeepAreRefused) {
  std::string text;
  for (int i = 0; i < 70; ++i) {
    char id[40];
    std::snprintf(id, sizeof id, "A0000000-0000-4000-8000-%012d", i + 1);
    text += R"({"type":"folder","id":")" + std::string(id) + R"(","name":"F","items":[)";
  }
  for (int i = 0; i < 70; ++i) text += "]}";
  EXPECT_EQ(ParseKind(ProjectJSON(text)), Kind::kBadField);
}

TEST(ProjectErrorsTest, HostileNestingDoesNotExhaustTheStack) {
  const std::string deep = std::string(100000, '[') + std::string(100000, ']');
  EXPECT_EQ(ParseKind(ProjectJSON(CompositionJSON(kID, R"("extra":)" + deep))), Kind::kBadField);
  EXPECT_EQ(ParseKind(deep), Kind::kBadField);
}

TEST(ProjectErrorsTest, UnknownMembersAreIgnored) {
  EXPECT_EQ(ParseKind(ProjectJSON(CompositionJSON(kID, R"("comment":{"a":[1,2]})"))), Kind::kNone);
}

TEST(ProjectErrorsTest, EveryPrefixAndByteFlipOfASampleGivesAnAnswer) {
  // Whatever the damage, the parser answers: a project or an error.
  const std::string text = servertest::ReadExampleText("nested.marlp");
  ASSERT_FALSE(text.empty());
  for (size_t length = 0; length < text.size(); length += 7) {
    auto parsed = Project::Parse(text.substr(0, length), "p.marlp");
    EXPECT_FALSE(parsed.ok());
  }
  for (size_t i = 0; i < text.size(); i += 3) {
    std::string damaged = text;
    damaged[i] = static_cast<char>(damaged[i] ^ 0x5A);
    auto parsed = Project::Parse(damaged, "p.marlp");
    EXPECT_TRUE(parsed.ok() || parsed.error.IsError());
  }
}

}  // namespace
