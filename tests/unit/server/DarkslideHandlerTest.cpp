// Darkslide catalogues as the server opens and draws them: each photo an item.

#include "OwnerTestSupport.h"
#include "ServerTestSupport.h"

#include <FailureReason.h>
#include <server/darkslide/DarkslideHandler.h>
#include <server/darkslide/DarkslideRenderer.h>

#include <tether/wire/Protocol.h>

#include <kilncore/string/UTFConversion.h>

#include <gtest/gtest.h>

namespace {

using kilncore::utility::Guid;
using namespace servertest;
using tetherserver::DarkslideHandler;
using tetherserver::FailureReason;

const Guid kHarbour("5E3766FD-9E0E-4287-8592-1FC61F91EE41");
const Guid kMarket("0B9F7C44-6D2E-4E55-9A0B-3C1F2E8D7A61");

struct Opened {
  std::shared_ptr<const tetherserver::SessionProject> project;
  int32_t status = -1;
  std::string reason;
};

Opened Open(const std::filesystem::path& path) {
  Opened opened;
  FailureReason::Scope scope;
  opened.project = DarkslideHandler().OpenProject(tether::File(kilncore::string::UTF8to16(path.string()), false),
                                                  "", opened.status, nullptr);
  opened.reason = scope.Text();
  return opened;
}

TEST(DarkslideHandlerTest, EachPhotoIsAnItem) {
  const Opened opened = Open(ExamplesDir() / "holiday.dslcat");
  ASSERT_EQ(opened.status, 0) << opened.reason;
  const auto items = opened.project->GetContainedItems(Guid());
  ASSERT_TRUE(items);
  ASSERT_EQ(items->size(), 2u);
  EXPECT_EQ((*items)[0].id, kHarbour);
  EXPECT_EQ((*items)[1].name, u"Market");
  const tether::SourceInfo market = opened.project->GetItem(kMarket)->Describe();
  EXPECT_EQ(market.width, 320u);
  EXPECT_EQ(market.height, 480u);
  EXPECT_EQ(market.duration, tether::RatioTime(3));
}

TEST(DarkslideHandlerTest, DevelopSettingsShowInThePixels) {
  const Opened opened = Open(ExamplesDir() / "holiday.dslcat");
  // One stop brighter: the harbour's [0.2, 0.3, 0.4] doubles at the top row.
  const RenderedFrame harbour = RenderAt(*opened.project->GetItem(kHarbour), 0);
  ASSERT_EQ(harbour.status, 0);
  const auto top = harbour.Pixel(100, 0);
  EXPECT_NEAR(top[2], 0.4 * 255, 2);
  EXPECT_NEAR(top[1], 0.6 * 255, 2);
  EXPECT_NEAR(top[0], 0.8 * 255, 2);
  // The vignette darkens the bottom.
  EXPECT_LT(harbour.Pixel(100, 319)[0], top[0]);
  // Monochrome: the market is grey.
  const auto grey = RenderAt(*opened.project->GetItem(kMarket), 0).Pixel(100, 100);
  EXPECT_EQ(grey[0], grey[1]);
  EXPECT_EQ(grey[1], grey[2]);
  const auto stamp = harbour.Stamp();
  ASSERT_TRUE(stamp);
  EXPECT_EQ(stamp->contentState, opened.project->GetItem(kHarbour)->Describe().contentState);
}

TEST(DarkslideHandlerTest, ExposureIsClampedAtWhite) {
  const tetherserver::Rgba out =
      tetherserver::DarkslideRenderer::Developed({0.8f, 0.1f, 0.5f, 1.0f}, {2.0, false, 0.0});
  EXPECT_FLOAT_EQ(out.r, 1.0f);
  EXPECT_FLOAT_EQ(out.g, 0.4f);
  EXPECT_FLOAT_EQ(out.b, 1.0f);
}

TEST(DarkslideHandlerTest, MissingOriginalsAreReported) {
  const Opened opened = Open(ExamplesDir() / "holiday.dslcat");
  const tether::MissingAssets missing = opened.project->GetMissingAssets();
  ASSERT_EQ(missing.files.size(), 2u);
  EXPECT_EQ(kilncore::string::UTF16to8(missing.files[1]), (ExamplesDir() / "originals/market.dng").string());
  EXPECT_TRUE(missing.fonts.empty());
}

TEST(DarkslideHandlerTest, FileOfAnotherOwnerOrACorruptCatalogueIsRefused) {
  const Opened scene = Open(ExamplesDir() / "turntable.spkscene");
  EXPECT_EQ(scene.status, tether::wire::kStatusNotSupported);
  EXPECT_NE(scene.reason.find("(it is a sprocket-scene file)"), std::string::npos) << scene.reason;
  TempDir dir;
  const Opened binary = Open(dir.Write("bin.dslcat", std::string("\x00\xff\x10garbage", 10)));
  EXPECT_EQ(binary.status, tether::wire::kStatusFailed);
  const Opened exposure = Open(dir.Write(
      "exp.dslcat", R"({"format":"darkslide-catalogue","version":1,"name":"C","photos":[{"id":)"
                    R"("5E3766FD-9E0E-4287-8592-1FC61F91EE41","name":"P","file":"p","width":4,"height":4,)"
                    R"("color":[0,0,0],"develop":{"exposure":99}}]})"));
  EXPECT_NE(exposure.reason.find("$.photos[0].develop.exposure is outside"), std::string::npos) << exposure.reason;
  const Opened version = Open(dir.Write("v.dslcat", R"({"format":"darkslide-catalogue","version":2})"));
  EXPECT_NE(version.reason.find("$.version is outside"), std::string::npos) << version.reason;
}

}  // namespace
