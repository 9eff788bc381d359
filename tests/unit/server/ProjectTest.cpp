#include "ServerTestSupport.h"

#include <server/project/Project.h>

#include <kilncore/string/UTFConversion.h>
#include <kilnmediatypes/AudioChannelDescription.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/PixelFormat.h>

#include <gtest/gtest.h>

namespace {

using kilncore::utility::Guid;
using tether::ItemInfo;
using tether::RatioTime;
using servertest::OpenExample;

const Guid kSimpleID("5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01");
const Guid kEdits("A0000000-0000-4000-8000-000000000001");
const Guid kVersions("A0000000-0000-4000-8000-000000000002");
const Guid kEmpty("A0000000-0000-4000-8000-000000000003");
const Guid kMain("C0000000-0000-4000-8000-000000000001");
const Guid kVertical("C0000000-0000-4000-8000-000000000002");
const Guid kSD("C0000000-0000-4000-8000-000000000003");
const Guid kPreview("C0000000-0000-4000-8000-000000000004");
const Guid kUHD("C0000000-0000-4000-8000-000000000005");
const Guid kTitle("7D3F0B2A-1C4E-4F6A-8B9C-0D1E2F3A4B5C");

std::u16string U(const char* text) { return kilncore::string::UTF8to16(text); }

TEST(ProjectTest, SimpleSampleOpensWithOneComposition) {
  auto project = OpenExample("simple.marlp");
  ASSERT_TRUE(project);
  EXPECT_EQ(project->GetFlavour(), tetherserver::ProjectFlavour::kProject);
  const auto comps = project->ListCompositions();
  ASSERT_EQ(comps.size(), 1u);
  EXPECT_EQ(comps[0], (ItemInfo{U("Simple 1080p25"), kSimpleID, ItemInfo::kTypeLeaf}));
  EXPECT_TRUE(project->GetMissingFonts().empty());
}

TEST(ProjectTest, SimpleSampleDescribesEveryMemberTheClientReads) {
  auto project = OpenExample("simple.marlp");
  ASSERT_TRUE(project);
  auto info = project->DescribeSource(kSimpleID);
  ASSERT_TRUE(info.ok()) << info.error.message;
  EXPECT_EQ(info->file.FullPath(),
            kilncore::string::UTF8to16((servertest::ExamplesDir() / "simple.marlp").string()));
  EXPECT_EQ(info->name, U("Simple 1080p25"));
  EXPECT_EQ(info->producerDescription, U(tetherserver::Project::kProducerDescription));
  EXPECT_EQ(info->sourceID, kSimpleID);
  EXPECT_EQ(info->startTime, RatioTime(0, 1));
  EXPECT_EQ(info->pixelAspectRatio, (tether::PixelAspectRatio{1, 1}));
  EXPECT_EQ(info->width, 1920u);
  EXPECT_EQ(info->height, 1080u);
  EXPECT_EQ(info->frameRate, kilnmediatypes::kFrameRate_PAL25.GetTicksPerFrame());
  ASSERT_EQ(info->nativePixelFormats.size(), 2u);
  EXPECT_EQ(info->nativePixelFormats[0].fourcc, kilnmediatypes::kPixelFormat_BGRA_4444_8u.fourcc);
  EXPECT_EQ(info->nativePixelFormats[1].fourcc, kilnmediatypes::kPixelFormat_RGBA_4444_32f.fourcc);
  EXPECT_EQ(info->fieldType, 0);
  EXPECT_EQ(info->audioChannelLayout,
            (std::vector<uint32_t>{kilnmediatypes::kAudioChannelLabel_Left,
                                   kilnmediatypes::kAudioChannelLabel_Right}));
  EXPECT_EQ(info->audioSampleRate, kilnmediatypes::kAudioSampleRate_48000.GetTicksPerFrame());
  EXPECT_EQ(info->contentState, project->GetContentState(kSimpleID));
  EXPECT_FALSE(info->contentState.IsNil());
  EXPECT_TRUE(info->hasVideo);
  EXPECT_TRUE(info->hasAudio);
  EXPECT_EQ(info->duration, RatioTime(10, 1));
  EXPECT_EQ(info->workInPoint, RatioTime(1, 1));
  EXPECT_EQ(info->workOutPoint, RatioTime(9, 1));
  EXPECT_TRUE(info->isRenderable);
  EXPECT_FALSE(info->isDropFrame);
  EXPECT_TRUE(info->appSpecificRenderOptions.empty());
  EXPECT_EQ(info->colorSpace.definition, "Rec.709");
  EXPECT_FALSE(info->isTemplate);
  EXPECT_EQ(info->markers, std::vector<std::string>{"Intro"});
  EXPECT_EQ(info->revision, 1);
}

TEST(ProjectTest, NestedSampleListsFoldersAndCompositionsDepthFirst) {
  auto project = OpenExample("nested.marlp");
  ASSERT_TRUE(project);
  const auto tree = project->ListTree();
  const std::vector<tetherserver::ProjectTreeEntry> expected = {
      {{U("Edits"), kEdits, ItemInfo::kTypeContainer}, Guid(), 1},
      {{U("Main 1080p29.97 DF"), kMain, ItemInfo::kTypeLeaf}, kEdits, 2},
      {{U("Versions"), kVersions, ItemInfo::kTypeContainer}, kEdits, 2},
      {{U("Vertical 1080x1920 30"), kVertical, ItemInfo::kTypeLeaf}, kVersions, 3},
      {{U("SD 720x480 29.97 lower field"), kSD, ItemInfo::kTypeLeaf}, kVersions, 3},
      {{U("Preview 720p59.94"), kPreview, ItemInfo::kTypeLeaf}, Guid(), 1},
      {{U("Empty"), kEmpty, ItemInfo::kTypeContainer}, Guid(), 1},
      {{U("UHD 23.976"), kUHD, ItemInfo::kTypeLeaf}, Guid(), 1},
  };
  EXPECT_EQ(tree, expected);
}

TEST(ProjectTest, CompositionListingKeepsOnlyLeavesInDepthFirstOrder) {
  auto project = OpenExample("nested.marlp");
  ASSERT_TRUE(project);
  std::vector<Guid> ids;
  for (const auto& item : project->ListCompositions()) ids.push_back(item.id);
  EXPECT_EQ(ids, (std::vector<Guid>{kMain, kVertical, kSD, kPreview, kUHD}));
}

TEST(ProjectTest, ContainersHandOutTheirOwnEntriesOnly) {
  auto project = OpenExample("nested.marlp");
  ASSERT_TRUE(project);
  auto top = project->GetContainedItems(Guid());
  ASSERT_TRUE(top);
  ASSERT_EQ(top->size(), 4u);
  EXPECT_EQ((*top)[0].id, kEdits);
  EXPECT_EQ((*top)[0].type, ItemInfo::kTypeContainer);
  EXPECT_EQ((*top)[1].id, kPreview);
  EXPECT_EQ((*top)[2].id, kEmpty);
  EXPECT_EQ((*top)[3].id, kUHD);

  auto versions = project->GetContainedItems(kVersions);
  ASSERT_TRUE(versions);
  ASSERT_EQ(versions->size(), 2u);
  EXPECT_EQ((*versions)[0].id, kVertical);
  EXPECT_EQ((*versions)[1].id, kSD);

  auto empty = project->GetContainedItems(kEmpty);
  ASSERT_TRUE(empty);
  EXPECT_TRUE(empty->empty());

  EXPECT_FALSE(project->GetContainedItems(kMain));  // a composition is no container
  EXPECT_FALSE(project->GetContainedItems(Guid::CreateUnique()));
  EXPECT_TRUE(project->IsContainer(Guid()));
  EXPECT_TRUE(project->IsContainer(kVersions));
  EXPECT_FALSE(project->IsContainer(kMain));
}

TEST(ProjectTest, NestedSampleDescribesDropFrameInterlacedAndSurroundItems) {
  auto project = OpenExample("nested.marlp");
  ASSERT_TRUE(project);
  auto main = project->DescribeSource(kMain);
  ASSERT_TRUE(main.ok());
  EXPECT_TRUE(main->isDropFrame);
  EXPECT_EQ(main->frameRate, kilnmediatypes::kFrameRate_NTSC2997.GetTicksPerFrame());
  EXPECT_EQ(main->startTime, RatioTime(107892LL * 1001, 30000));
  EXPECT_EQ(main->duration, RatioTime(900LL * 1001, 30000));
  EXPECT_EQ(main->audioChannelLayout.size(), 6u);
  EXPECT_EQ(main->revision, 7);

  auto sd = project->DescribeSource(kSD);
  ASSERT_TRUE(sd.ok());
  EXPECT_EQ(sd->fieldType, 2);
  EXPECT_EQ(sd->pixelAspectRatio, (tether::PixelAspectRatio{10, 11}));
  EXPECT_FALSE(sd->hasAudio);
  EXPECT_TRUE(sd->audioChannelLayout.empty());
  EXPECT_EQ(sd->audioSampleRate, tether::kNoFrameRate);
  EXPECT_EQ(sd->workInPoint, RatioTime(0, 1));
  EXPECT_EQ(sd->workOutPoint, sd->duration);

  auto vertical = project->DescribeSource(kVertical);
  ASSERT_TRUE(vertical.ok());
  EXPECT_EQ(vertical->width, 1080u);
  EXPECT_EQ(vertical->height, 1920u);
  EXPECT_EQ(vertical->audioChannelLayout,
            std::vector<uint32_t>{kilnmediatypes::kAudioChannelLabel_Mono});
  EXPECT_EQ(vertical->audioSampleRate, kilnmediatypes::kAudioSampleRate_44100.GetTicksPerFrame());

  auto uhd = project->DescribeSource(kUHD);
  ASSERT_TRUE(uhd.ok());
  EXPECT_EQ(uhd->frameRate, kilnmediatypes::kFrameRate_Film23976.GetTicksPerFrame());
  EXPECT_EQ(uhd->colorSpace.definition, "Rec.2020");
}

TEST(ProjectTest, UnknownItemsAndFoldersHaveNoDescription) {
  auto project = OpenExample("nested.marlp");
  ASSERT_TRUE(project);
  auto folder = project->DescribeSource(kEdits);
  EXPECT_FALSE(folder.ok());
  EXPECT_EQ(folder.error.kind, tetherserver::ProjectError::Kind::kUnknownItem);
  EXPECT_EQ(folder.error.ResultCode(), static_cast<int32_t>(0xA00F0001u));
  EXPECT_FALSE(project->DescribeSource(Guid::CreateUnique()).ok());
  EXPECT_EQ(project->FindComposition(kEdits), nullptr);
  EXPECT_TRUE(project->GetContentState(kEdits).IsNil());
}

TEST(ProjectTest, TemplateReportsItsMissingFontOnly) {
  auto project = OpenExample("title.marlgraphic");
  ASSERT_TRUE(project);
  EXPECT_EQ(project->GetFlavour(), tetherserver::ProjectFlavour::kGraphicTemplate);
  const auto missing = project->GetMissingFonts();
  ASSERT_EQ(missing.size(), 1u);
  EXPECT_EQ(missing[0], (tether::MissingFont{"Veldmoor Sans", "Bold", "Veldmoor Sans Bold",
                                             "VeldmoorSans-Bold.otf", 1}));
  EXPECT_EQ(project->GetMissingAssets().fonts, missing);
  EXPECT_EQ(project->GetFonts().size(), 2u);
  auto info = project->DescribeSource(kTitle);
  ASSERT_TRUE(info.ok());
  EXPECT_TRUE(info->isTemplate);
}

TEST(ProjectTest, ExtensionGivesTheFlavourWhateverItsCase) {
  using tetherserver::Project;
  using tetherserver::ProjectFlavour;
  EXPECT_EQ(Project::FlavourOfPath("a.marlp"), ProjectFlavour::kProject);
  EXPECT_EQ(Project::FlavourOfPath("a.MARLPX"), ProjectFlavour::kProjectXML);
  EXPECT_EQ(Project::FlavourOfPath("a.marlcap"), ProjectFlavour::kCapture);
  EXPECT_EQ(Project::FlavourOfPath("dir/a.MarlGraphic"), ProjectFlavour::kGraphicTemplate);
  EXPECT_FALSE(Project::FlavourOfPath("a.json"));
  EXPECT_FALSE(Project::FlavourOfPath("marlp"));
}

TEST(ProjectTest, EveryFlavourReadsTheSameFormat) {
  const std::string text = servertest::ReadExampleText("simple.marlp");
  for (const char* name : {"x.marlp", "x.marlpx", "x.marlcap", "x.marlgraphic"}) {
    auto parsed = tetherserver::Project::Parse(text, name);
    ASSERT_TRUE(parsed.ok()) << name << ": " << parsed.error.message;
    auto info = (*parsed)->DescribeSource(kSimpleID);
    ASSERT_TRUE(info.ok());
    EXPECT_EQ(info->isTemplate, std::string(name) == "x.marlgraphic");
  }
}

}  // namespace

namespace tetherserver {
namespace {

TEST(ProjectCaptionsTest, CaptionedSampleCarriesItsTextAndStreams) {
  auto project = servertest::OpenExample("captioned.marlp");
  ASSERT_TRUE(project);
  const auto* composition = project->FindComposition(kilncore::utility::Guid("CA000000-0000-4000-8000-000000000001"));
  ASSERT_NE(composition, nullptr);
  EXPECT_EQ(composition->captions.version, 1);
  EXPECT_EQ(composition->captions.serializedData.rfind("1\n00:00:00,000", 0), 0u);
  ASSERT_EQ(composition->captions.streams.size(), 3u);
  EXPECT_EQ(composition->captions.streams[0], (tether::CaptionStreamEntry{1, true, "English"}));
  EXPECT_EQ(composition->captions.streams[1], (tether::CaptionStreamEntry{2, false, "Deutsch"}));
  EXPECT_EQ(composition->captions.streams[2], (tether::CaptionStreamEntry{7, false, "Français"}));
}

TEST(ProjectCaptionsTest, CompositionWithoutCaptionsHasAnEmptyRecord) {
  auto project = servertest::OpenExample("simple.marlp");
  ASSERT_TRUE(project);
  const auto* composition = project->FindComposition(kilncore::utility::Guid("5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01"));
  ASSERT_NE(composition, nullptr);
  EXPECT_EQ(composition->captions, tether::CaptionData{});
}

TEST(ProjectCaptionsTest, MalformedCaptionsAreBadFieldsWithTheirPath) {
  const std::string id = "C0000000-0000-4000-8000-000000000001";
  auto parse = [&](const std::string& captions) {
    return Project::Parse(servertest::ProjectJSON(servertest::CompositionJSON(id, "\"captions\":" + captions)),
                          "p.marlp");
  };
  EXPECT_TRUE(parse(R"({"streams":[{"id":0}]})").ok());
  auto notObject = parse("[]");
  ASSERT_FALSE(notObject.ok());
  EXPECT_EQ(notObject.error.kind, ProjectError::Kind::kBadField);
  auto negative = parse(R"({"streams":[{"id":-1}]})");
  ASSERT_FALSE(negative.ok());
  EXPECT_NE(negative.error.message.find("$.items[0].captions.streams[0].id"), std::string::npos)
      << negative.error.message;
  auto noId = parse(R"({"streams":[{"label":"x"}]})");
  EXPECT_FALSE(noId.ok());
  auto badText = parse(R"({"data":3})");
  EXPECT_FALSE(badText.ok());
}

}  // namespace
}  // namespace tetherserver
