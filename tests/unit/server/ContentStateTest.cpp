#include "ServerTestSupport.h"

#include <server/project/Project.h>

#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <xxhash.h>

#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <string>

namespace {

using kilncore::utility::Guid;
using tetherserver::Project;

const Guid kMain("C0000000-0000-4000-8000-000000000001");
const Guid kVertical("C0000000-0000-4000-8000-000000000002");
const Guid kSD("C0000000-0000-4000-8000-000000000003");
const Guid kPreview("C0000000-0000-4000-8000-000000000004");
const Guid kUHD("C0000000-0000-4000-8000-000000000005");
const Guid kAll[] = {kMain, kVertical, kSD, kPreview, kUHD};

// The nested sample with `edit` applied to its document, written back in the
// compact or the pretty form.
std::string EditedSample(const std::function<void(rapidjson::Document&)>& edit, bool pretty = false) {
  rapidjson::Document document;
  document.Parse(servertest::ReadExampleText("nested.marlp").c_str());
  edit(document);
  rapidjson::StringBuffer buffer;
  if (pretty) {
    rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
    writer.SetIndent(' ', 7);
    document.Accept(writer);
  } else {
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    document.Accept(writer);
  }
  return buffer.GetString();
}

std::map<Guid, Guid> States(const std::string& text) {
  auto parsed = Project::Parse(text, "nested.marlp");
  EXPECT_TRUE(parsed.ok()) << parsed.error.message;
  std::map<Guid, Guid> states;
  if (!parsed.ok()) return states;
  for (const Guid& id : kAll) states[id] = (*parsed)->GetContentState(id);
  return states;
}

rapidjson::Value& Main(rapidjson::Document& d) { return d["items"][0]["items"][0]; }
rapidjson::Value& Vertical(rapidjson::Document& d) { return d["items"][0]["items"][1]["items"][0]; }

TEST(ContentStateTest, IsTheDocumentedHashOfTheCompactDefinition) {
  const std::string definition =
      R"({"type":"composition","id":"C0000000-0000-4000-8000-0000000000AA","name":"C","width":64,)"
      R"("height":36,"frameRate":[25,1],"durationFrames":10})";
  auto parsed = Project::Parse(servertest::ProjectJSON(definition), "p.marlp");
  ASSERT_TRUE(parsed.ok());
  const std::string input = "TetherServerContentState" + definition;
  const XXH128_hash_t hash = XXH3_128bits(input.data(), input.size());
  uint8_t bytes[16];
  for (int i = 0; i < 8; ++i) {
    bytes[i] = static_cast<uint8_t>(hash.high64 >> (56 - 8 * i));
    bytes[8 + i] = static_cast<uint8_t>(hash.low64 >> (56 - 8 * i));
  }
  EXPECT_EQ((*parsed)->GetContentState(Guid("C0000000-0000-4000-8000-0000000000AA")),
            Guid::FromBytes(bytes));
}

TEST(ContentStateTest, SameFileGivesSameStatesEveryTime) {
  const std::string text = servertest::ReadExampleText("nested.marlp");
  const auto first = States(text);
  EXPECT_EQ(first, States(text));
  std::set<Guid> distinct;
  for (const auto& [id, state] : first) {
    EXPECT_FALSE(state.IsNil());
    distinct.insert(state);
  }
  EXPECT_EQ(distinct.size(), std::size(kAll));
}

TEST(ContentStateTest, LayoutOfTheFileDoesNotCount) {
  const auto original = States(servertest::ReadExampleText("nested.marlp"));
  EXPECT_EQ(States(EditedSample([](rapidjson::Document&) {}, false)), original);
  EXPECT_EQ(States(EditedSample([](rapidjson::Document&) {}, true)), original);
}

TEST(ContentStateTest, EditingACompositionChangesItsStateOnly) {
  const auto original = States(servertest::ReadExampleText("nested.marlp"));
  const auto edited = States(EditedSample([](rapidjson::Document& d) {
    Main(d)["layers"][0]["color"][0].SetDouble(0.5);
  }));
  for (const Guid& id : kAll) {
    if (id == kMain) {
      EXPECT_NE(edited.at(id), original.at(id));
    } else {
      EXPECT_EQ(edited.at(id), original.at(id));
    }
  }
}

TEST(ContentStateTest, EveryKindOfEditOfTheItemCounts) {
  const auto original = States(servertest::ReadExampleText("nested.marlp"));
  const std::function<void(rapidjson::Document&)> edits[] = {
      [](rapidjson::Document& d) { Vertical(d)["name"].SetString("Renamed"); },
      [](rapidjson::Document& d) { Vertical(d)["durationFrames"].SetInt(301); },
      [](rapidjson::Document& d) { Vertical(d)["audio"]["tones"][0]["frequency"].SetInt(221); },
      [](rapidjson::Document& d) { Vertical(d)["layers"].PopBack(); },
      [](rapidjson::Document& d) { Vertical(d).AddMember("dropFrame", false, d.GetAllocator()); },
  };
  for (const auto& edit : edits) {
    const auto edited = States(EditedSample(edit));
    EXPECT_NE(edited.at(kVertical), original.at(kVertical));
    EXPECT_EQ(edited.at(kMain), original.at(kMain));
    EXPECT_EQ(edited.at(kSD), original.at(kSD));
  }
}

TEST(ContentStateTest, EditsOutsideTheItemDoNotCount) {
  const auto original = States(servertest::ReadExampleText("nested.marlp"));
  const std::function<void(rapidjson::Document&)> edits[] = {
      [](rapidjson::Document& d) { d["items"][0]["name"].SetString("Folder renamed"); },
      [](rapidjson::Document& d) { d["revision"].SetInt(8); },
      [](rapidjson::Document& d) {
        rapidjson::Value fonts(rapidjson::kArrayType);
        rapidjson::Value font(rapidjson::kObjectType);
        font.AddMember("family", "Other", d.GetAllocator());
        fonts.PushBack(font, d.GetAllocator());
        d.AddMember("fonts", fonts, d.GetAllocator());
      },
      // Moving the last composition to the end of the first folder.
      [](rapidjson::Document& d) {
        rapidjson::Value moved;
        moved.CopyFrom(d["items"][3], d.GetAllocator());
        d["items"].PopBack();
        d["items"][0]["items"].PushBack(moved, d.GetAllocator());
      },
  };
  for (const auto& edit : edits) EXPECT_EQ(States(EditedSample(edit)), original);
}

}  // namespace
