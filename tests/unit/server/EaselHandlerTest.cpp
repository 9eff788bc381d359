// Easel documents as the server opens and draws them, on the file road.

#include "OwnerTestSupport.h"
#include "ServerTestSupport.h"

#include <FailureReason.h>
#include <server/easel/EaselHandler.h>
#include <server/easel/EaselReader.h>

#include <tether/wire/Protocol.h>

#include <kilncore/string/UTFConversion.h>

#include <gtest/gtest.h>

namespace {

using kilncore::utility::Guid;
using namespace servertest;
using tetherserver::EaselHandler;
using tetherserver::FailureReason;

struct Opened {
  std::shared_ptr<const tetherserver::SessionItem> item;
  tetherserver::FileNotes notes;
  int32_t status = -1;
  std::string reason;
};

Opened Open(const std::filesystem::path& path) {
  Opened opened;
  FailureReason::Scope scope;
  opened.item =
      EaselHandler().OpenFile(tether::File(kilncore::string::UTF8to16(path.string()), false), opened.notes,
                              opened.status);
  opened.reason = scope.Text();
  return opened;
}

TEST(EaselHandlerTest, ServesFilesAndNoProjects) {
  EaselHandler handler;
  EXPECT_TRUE(handler.ServesFiles());
  int32_t status = 0;
  EXPECT_FALSE(handler.OpenProject(tether::File(u"/x.esd", false), "", status, nullptr));
  EXPECT_EQ(status, tether::wire::kStatusNotSupported);
}

TEST(EaselHandlerTest, DocumentIsOneStillOfItsCanvasSize) {
  const Opened opened = Open(ExamplesDir() / "poster.esd");
  ASSERT_EQ(opened.status, 0) << opened.reason;
  const tether::SourceInfo info = opened.item->Describe();
  EXPECT_EQ(info.sourceID, Guid("74F18EBE-4F24-4EC5-B499-4EE2EC86B1E0"));
  EXPECT_EQ(info.name, u"Poster");
  EXPECT_EQ(info.width, 400u);
  EXPECT_EQ(info.height, 300u);
  EXPECT_FALSE(info.hasAudio);
  EXPECT_EQ(opened.notes.kind, "Easel document");
  EXPECT_EQ(opened.notes.detail, 5);
}

TEST(EaselHandlerTest, LayersAreDrawnBottomFirstAndHiddenOnesNot) {
  const Opened opened = Open(ExamplesDir() / "poster.esd");
  const RenderedFrame frame = RenderAt(*opened.item, 2);
  ASSERT_EQ(frame.status, 0);
  const auto stamp = frame.Stamp();
  ASSERT_TRUE(stamp);
  EXPECT_EQ(stamp->frameNumber, 50);
  EXPECT_EQ(stamp->contentState, opened.item->Describe().contentState);
  // The sun, opaque yellow, over the sky; the hidden black sketch isn't drawn.
  const std::vector<unsigned char> sun{51, 217, 255, 255};
  EXPECT_EQ(frame.Pixel(300, 60), sun);
  EXPECT_NE(frame.Pixel(10, 100), (std::vector<unsigned char>{0, 0, 0, 255}));
  // A still: the picture doesn't change over time.
  EXPECT_EQ(RenderAt(*opened.item, 0).Pixel(200, 150), frame.Pixel(200, 150));
}

TEST(EaselHandlerTest, NotesNameTheMissingPicturesAndFonts) {
  const Opened opened = Open(ExamplesDir() / "poster.esd");
  EXPECT_EQ(opened.notes.message, "1 file(s) missing: " + (ExamplesDir() / "pictures/meadow.png").string() +
                                      "; 1 font(s) missing: Easel Script Regular");
}

TEST(EaselHandlerTest, FileOfAnotherOwnerOrACorruptDocumentIsRefused) {
  const Opened marl = Open(ExamplesDir() / "simple.marlp");
  EXPECT_FALSE(marl.item);
  EXPECT_EQ(marl.status, tether::wire::kStatusNotSupported);
  EXPECT_NE(marl.reason.find("not a easel-document file"), std::string::npos) << marl.reason;
  TempDir dir;
  const Opened cut = Open(dir.Write("cut.esd", ReadExampleText("poster.esd").substr(0, 100)));
  EXPECT_EQ(cut.status, tether::wire::kStatusFailed);
  const Opened badKind = Open(dir.Write(
      "kind.esd", R"({"format":"easel-document","version":1,"id":"74F18EBE-4F24-4EC5-B499-4EE2EC86B1E0",)"
                  R"("name":"P","canvas":{"width":10,"height":10},"layers":[{"kind":"blur","color":[0,0,0]}]})"));
  EXPECT_NE(badKind.reason.find("$.layers[0].kind"), std::string::npos) << badKind.reason;
  const Opened huge = Open(dir.Write(
      "huge.esd", R"({"format":"easel-document","version":1,"id":"74F18EBE-4F24-4EC5-B499-4EE2EC86B1E0",)"
                  R"("name":"P","canvas":{"width":100000,"height":10},"layers":[]})"));
  EXPECT_NE(huge.reason.find("$.canvas.width is outside"), std::string::npos) << huge.reason;
}

}  // namespace
