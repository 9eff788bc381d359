#include <ProjectXML/ProjectXMLError.h>
#include <ProjectXML/ProjectXMLReader.h>
#include <ProjectXML/ProjectXMLWriter.h>

#include <gtest/gtest.h>

#include <string>

namespace ProjectXML {
namespace {

using kilncore::utility::Guid;

ProjectDocument Sample() {
  ProjectDocument document;
  document.flavour = Flavour::kUnified;
  document.properties.push_back({"Keel.Project.MarkedForImport", Property::Type::kText, "11 12", false});
  Item bin;
  bin.kind = Item::Kind::kBin;
  bin.name = "Footage & <friends>";
  bin.id = Guid("B0000000-0000-0000-0000-000000000001");
  bin.nodeID = 18446744073709551615u;
  Item clip;
  clip.kind = Item::Kind::kMasterClip;
  clip.name = "Still \"one\"";
  clip.id = Guid("C0000000-0000-0000-0000-000000000002");
  clip.nodeID = 12;
  clip.media = "/media/still one.png";
  clip.properties.push_back({"Keel.ProjectItem.MarkedForNotImport", Property::Type::kBool, "false", true});
  bin.children.push_back(clip);
  Item sequence;
  sequence.kind = Item::Kind::kSequence;
  sequence.name = "Main \xC3\xA9";
  sequence.id = Guid("5E000000-0000-0000-0000-000000000003");
  sequence.nodeID = 11;
  Sequence timeline;
  timeline.width = 720;
  timeline.height = 486;
  timeline.frameRate = {30000, 1001};
  timeline.fieldOrder = FieldOrder::kLowerFirst;
  timeline.pixelAspect = {10, 11};
  timeline.audioRate = 44100;
  timeline.audioChannels = 1;
  timeline.maximumRenderQuality = false;
  timeline.videoTracks.push_back(Track{{Clip{1, "A", "/media/a.png", 0, 0, 50, true, true, {}, {}},
                                        Clip{2, "B", "/media/b.mov", 60, 10, 20, false, false, {}, {}}}});
  timeline.audioTracks.push_back(Track{{Clip{3, "Tone", "/media/t.wav", 0, 0, 100, true, false, {}, {}}}});
  timeline.captionTracks.push_back(CaptionTrack{"English", {Caption{0, 25, "Hello"}}});
  timeline.markers.push_back(Marker{10, "Cue"});
  sequence.sequence = timeline;
  document.items = {bin, sequence};
  return document;
}

std::string ErrorOf(const std::string& text) {
  try {
    ProjectXMLReader::Read(text);
  } catch (const ProjectXMLError& error) {
    return error.what();
  }
  return "no error";
}

TEST(ProjectXMLTest, WrittenDocumentReadsBackEqual) {
  const ProjectDocument document = Sample();
  EXPECT_EQ(ProjectXMLReader::Read(ProjectXMLWriter::Write(document)), document);
}

TEST(ProjectXMLTest, OptionalAttributesTakeTheirDefaults) {
  const ProjectDocument document = ProjectXMLReader::Read(
      "<tolmenProject><sequence name='S' id='5E000000-0000-0000-0000-000000000003' node='4'>"
      "<videoTrack><clip id='1' out='10'/></videoTrack></sequence></tolmenProject>");
  ASSERT_EQ(document.items.size(), 1u);
  EXPECT_EQ(document.flavour, Flavour::kLegacy);
  const Sequence& sequence = *document.items[0].sequence;
  EXPECT_EQ(sequence.width, 1920);
  EXPECT_EQ(sequence.height, 1080);
  EXPECT_EQ(sequence.frameRate, (Ratio{25, 1}));
  EXPECT_EQ(sequence.fieldOrder, FieldOrder::kProgressive);
  EXPECT_EQ(sequence.audioRate, 48000u);
  EXPECT_TRUE(sequence.maximumRenderQuality);
  const Clip& clip = sequence.videoTracks[0].clips[0];
  EXPECT_EQ(clip.start, 0);
  EXPECT_EQ(clip.in, 0);
  EXPECT_TRUE(clip.enabled);
  EXPECT_FALSE(clip.still);
}

TEST(ProjectXMLTest, ErrorsNameTheElementPathAndLine) {
  EXPECT_EQ(ErrorOf("<tolmenProject>\n<bin name='B' id='B0000000-0000-0000-0000-000000000001' node='1'>\n"
                    "<sequence name='S' id='5E000000-0000-0000-0000-000000000003' node='2' width='0'/>\n"
                    "</bin></tolmenProject>"),
            "attribute \"width\" is out of range [1, 16384] at /tolmenProject/bin/sequence (line 3)");
  EXPECT_EQ(ErrorOf("<tolmenProject>\n<masterClip name='C' node='1' media='/a'/></tolmenProject>"),
            "missing attribute \"id\" at /tolmenProject/masterClip (line 2)");
}

TEST(ProjectXMLTest, MalformedTextsAreRefusedClearly) {
  EXPECT_EQ(ErrorOf("<tolmenProject><bin"), "not XML: Error parsing start element tag (line 1)");
  EXPECT_EQ(ErrorOf("<xmeml/>"), "not a host project: the root element is <xmeml>, not <tolmenProject>");
  EXPECT_NE(ErrorOf("<tolmenProject><unknown/></tolmenProject>").find("unknown element <unknown>"),
            std::string::npos);
  const std::string twice =
      "<tolmenProject><masterClip name='A' id='C0000000-0000-0000-0000-000000000002' node='1' media='/a'/>"
      "<masterClip name='B' id='C0000000-0000-0000-0000-000000000002' node='2' media='/b'/></tolmenProject>";
  EXPECT_NE(ErrorOf(twice).find("is used twice"), std::string::npos);
  EXPECT_NE(ErrorOf("<tolmenProject><sequence name='S' id='5E000000-0000-0000-0000-000000000003' node='2' "
                    "rate='1000000/1'/></tolmenProject>")
                .find("above 1000 frames"),
            std::string::npos);
  EXPECT_NE(ErrorOf("<tolmenProject><sequence name='S' id='5E000000-0000-0000-0000-000000000003' node='2'>"
                    "<videoTrack><clip id='1' in='5' out='5'/></videoTrack></sequence></tolmenProject>")
                .find("ends before it starts"),
            std::string::npos);
  EXPECT_NE(ErrorOf("<tolmenProject><masterClip name='A' id='C0000000-0000-0000-0000-000000000002' node='-1' "
                    "media='/a'/></tolmenProject>")
                .find("not a 64-bit unsigned number"),
            std::string::npos);
}

TEST(ProjectXMLTest, DeepBinsAndTooManyItemsAreRefusedWithoutExhaustingMemory) {
  std::string deep = "<tolmenProject>";
  for (int i = 0; i < 100; ++i) deep += "<bin name='b' id='" + Guid::CreateUnique().AsUTF8String() + "' node='1'>";
  for (int i = 0; i < 100; ++i) deep += "</bin>";
  deep += "</tolmenProject>";
  EXPECT_NE(ErrorOf(deep).find("nested too deeply"), std::string::npos);

  std::string many = "<tolmenProject><sequence name='S' id='5E000000-0000-0000-0000-000000000003' node='2'><videoTrack>";
  for (size_t i = 1; i <= ProjectXMLReader::kMaxClips + 1; ++i) {
    many += "<clip id='" + std::to_string(i) + "' out='1'/>";
  }
  many += "</videoTrack></sequence></tolmenProject>";
  EXPECT_NE(ErrorOf(many).find("too many clips"), std::string::npos);
}

TEST(ProjectXMLTest, MissingFileIsAnError) {
  EXPECT_THROW(ProjectXMLReader::ReadFile("/nonexistent/project.tlmproj"), ProjectXMLError);
}

}  // namespace
}  // namespace ProjectXML

namespace ProjectXML {
namespace {

TEST(ProjectXMLExamplesTest, BothFlavoursOfTheSampleReadAlike) {
  const std::string folder = TETHER_TEST_EXAMPLES_FOLDER;
  const ProjectDocument legacy = ProjectXMLReader::ReadFile(folder + "/host/edit.tlmproj");
  ProjectDocument unified = ProjectXMLReader::ReadFile(folder + "/host/edit.tlmprojx");
  EXPECT_EQ(legacy.flavour, Flavour::kLegacy);
  EXPECT_EQ(unified.flavour, Flavour::kUnified);
  unified.flavour = Flavour::kLegacy;
  EXPECT_EQ(unified, legacy);
  ASSERT_EQ(legacy.items.size(), 3u);
  EXPECT_EQ(legacy.items[1].sequence->videoTracks.size(), 2u);
  EXPECT_EQ(legacy.items[2].sequence->frameRate, (Ratio{30000, 1001}));
}

}  // namespace
}  // namespace ProjectXML

namespace ProjectXML {
namespace {

constexpr char kLinkedSequence[] =
    "<tolmenProject><sequence name='S' id='5E000000-0000-0000-0000-000000000003' node='2'><videoTrack>"
    "<clip id='1' out='10' link='../titles.marlp' linkItem='C0000000-0000-4000-8000-000000000001'/>"
    "</videoTrack></sequence></tolmenProject>";

TEST(ProjectXMLLinkTest, LinkedClipReadsAndWritesBack) {
  const ProjectDocument document = ProjectXMLReader::Read(kLinkedSequence);
  const Clip& clip = document.items.at(0).sequence->videoTracks.at(0).clips.at(0);
  EXPECT_EQ(clip.linkProject, "../titles.marlp");
  EXPECT_EQ(clip.linkItem, kilncore::utility::Guid("C0000000-0000-4000-8000-000000000001"));
  EXPECT_EQ(ProjectXMLReader::Read(ProjectXMLWriter::Write(document)), document);
}

TEST(ProjectXMLLinkTest, HalfALinkIsRefused) {
  std::string text = kLinkedSequence;
  const std::string withoutItem = text.substr(0, text.find(" linkItem")) + text.substr(text.find("'/>") + 1);
  EXPECT_NE(ErrorOf(withoutItem).find("needs both"), std::string::npos) << withoutItem;
  std::string badItem = text;
  badItem.replace(badItem.find("C0000000"), 8, "nonsense");
  EXPECT_NE(ErrorOf(badItem).find("linkItem"), std::string::npos);
}

}  // namespace
}  // namespace ProjectXML
