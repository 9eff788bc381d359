// The machine's fonts: fontconfig finds them, FreeType draws text layers with
// them, and a project's missing fonts, font value and runtime identifier
// follow a change of the font set.

#include "ServerTestSupport.h"

#include <server/project/Project.h>
#include <server/render/FontCatalog.h>
#include <server/render/FrameRenderer.h>
#include <server/render/RenderSettings.h>
#include <server/render/TextRasterizer.h>

#include <kilnmediatypes/PixelFormat.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using kilncore::utility::Guid;
using tetherserver::FontCatalog;
using tetherserver::Project;
using tetherserver::TextRasterizer;

const Guid kTitle("7E000000-0000-4000-8000-000000000001");
const Guid kPlain("7E000000-0000-4000-8000-000000000002");

std::string FontFileOf(const std::string& family) {
  const auto font = FontCatalog::Instance().Resolve(family, "");
  return font ? font->file : std::string();
}

// A font set of the test's own: fontconfig reads fonts only from a folder that
// the test fills, so installing a font is copying a file there.
class FontFolder {
 public:
  FontFolder() : mDejaVu(FontFileOf("DejaVu Sans")) {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    mRoot = std::filesystem::temp_directory_path() /
            ("tether-fonts-" + std::string(info->name()) + "-" + std::to_string(::getpid()));
    std::filesystem::create_directories(mRoot / "fonts");
    std::ofstream(mRoot / "fonts.conf") << "<?xml version=\"1.0\"?>\n<fontconfig><dir>" << (mRoot / "fonts").string()
                                        << "</dir><cachedir>" << (mRoot / "cache").string()
                                        << "</cachedir></fontconfig>\n";
    EXPECT_TRUE(FontCatalog::Instance().UseConfigFile((mRoot / "fonts.conf").string()));
  }
  ~FontFolder() {
    FontCatalog::Instance().UseConfigFile("");
    std::error_code ignored;
    std::filesystem::remove_all(mRoot, ignored);
  }
  // Copies the machine's DejaVu Sans into the folder.
  void InstallDejaVu() {
    ASSERT_FALSE(mDejaVu.empty()) << "the machine has no DejaVu Sans (fonts-dejavu-core)";
    std::filesystem::copy_file(mDejaVu, mRoot / "fonts" / "DejaVuSans.ttf");
  }
  void Remove() { std::filesystem::remove(mRoot / "fonts" / "DejaVuSans.ttf"); }

 private:
  std::string mDejaVu;
  std::filesystem::path mRoot;
};

// A project with a text layer in DejaVu Sans and a composition without text.
std::shared_ptr<const Project> TextProject(const std::string& fonts = "") {
  const std::string title = servertest::CompositionJSON(
      kTitle.AsUTF8String(), R"("width":200,"height":60,"layers":[{"type":"solid","color":[0,0,0,1]},)"
                             R"({"type":"text","text":"Tether","font":"DejaVu Sans","size":40,)"
                             R"("position":[10,45],"color":[1,1,1,1]}])");
  const std::string plain = servertest::CompositionJSON(kPlain.AsUTF8String());
  std::string text = servertest::ProjectJSON(title + "," + plain);
  if (!fonts.empty()) text = "{" + fonts + "," + text.substr(1);
  auto parsed = Project::Parse(text, "/fonts/p.marlp");
  EXPECT_TRUE(parsed.ok()) << parsed.error.message;
  return parsed.ok() ? *parsed : nullptr;
}

std::vector<uint8_t> RenderFrame(const Project& project, const Guid& id) {
  const tetherserver::Composition* comp = project.FindComposition(id);
  tether::VideoRenderOptions options;
  const tether::PixelFormat bgra{kilnmediatypes::kPixelFormat_BGRA_4444_8u.fourcc, 0};
  options.SetPixelFormats({bgra});
  auto settings = tetherserver::RenderSettings::Resolve(*comp, options);
  EXPECT_TRUE(settings.ok());
  std::vector<uint8_t> bytes(settings->FrameBytes());
  tetherserver::FrameRenderer::Render(*comp, tether::RatioTime(0), *settings, settings->MakeBuffer(bytes.data()));
  return bytes;
}

// Pixels (BGRA) whose blue channel is above half: the text's, on black.
long BrightPixels(const std::vector<uint8_t>& bgra) {
  long count = 0;
  for (size_t i = 0; i + 3 < bgra.size(); i += 4) count += bgra[i] > 128 ? 1 : 0;
  return count;
}

TEST(FontsTest, MachineFontsResolveAndUnknownFamiliesAreMissing) {
  const auto dejaVu = FontCatalog::Instance().Resolve("dejavu sans", "");
  ASSERT_TRUE(dejaVu);
  EXPECT_TRUE(std::filesystem::exists(dejaVu->file));
  EXPECT_EQ(dejaVu->family, "DejaVu Sans");
  EXPECT_GT(dejaVu->fileSize, 0u);
  // fontconfig would fall back to some other family; that isn't the font.
  EXPECT_FALSE(FontCatalog::Instance().Resolve("Veldmoor Sans", "Bold"));
  EXPECT_FALSE(FontCatalog::Instance().Resolve("", ""));
}

TEST(FontsTest, FontCopiedIntoTheFolderIsFoundAtTheNextRescan) {
  FontFolder folder;
  EXPECT_FALSE(FontCatalog::Instance().Resolve("DejaVu Sans", ""));
  const uint64_t before = FontCatalog::Instance().Generation();
  EXPECT_FALSE(FontCatalog::Instance().Rescan());
  folder.InstallDejaVu();
  EXPECT_TRUE(FontCatalog::Instance().Rescan());
  EXPECT_GT(FontCatalog::Instance().Generation(), before);
  EXPECT_TRUE(FontCatalog::Instance().Resolve("DejaVu Sans", ""));
  folder.Remove();
  EXPECT_TRUE(FontCatalog::Instance().Rescan());
  EXPECT_FALSE(FontCatalog::Instance().Resolve("DejaVu Sans", ""));
}

TEST(FontsTest, MissingFontsAreWhatFontconfigCantMatch) {
  FontFolder folder;
  auto project = TextProject(R"("fonts":[{"family":"Veldmoor Sans","style":"Bold","available":true}])");
  ASSERT_TRUE(project);
  auto missing = project->GetMissingFonts();
  // The declared font first, then the one a text layer names.
  ASSERT_EQ(missing.size(), 2u);
  EXPECT_EQ(missing[0].identityA, "Veldmoor Sans");
  EXPECT_EQ(missing[1].identityA, "DejaVu Sans");
  folder.InstallDejaVu();
  FontCatalog::Instance().Rescan();
  missing = project->GetMissingFonts();
  ASSERT_EQ(missing.size(), 1u);
  EXPECT_EQ(missing[0].identityA, "Veldmoor Sans");
}

TEST(FontsTest, InstallingTheTextFontChangesTheTextPixelsAndTheRuntimeState) {
  FontFolder folder;
  auto project = TextProject();
  ASSERT_TRUE(project);
  const auto withoutFont = RenderFrame(*project, kTitle);
  const Guid runtimeBefore = project->GetRuntimeFontState(kTitle);
  const Guid projectBefore = project->GetResolvedFontsState();
  const auto plainBefore = RenderFrame(*project, kPlain);
  EXPECT_FALSE(runtimeBefore.IsNil());

  folder.InstallDejaVu();
  FontCatalog::Instance().Rescan();
  const auto withFont = RenderFrame(*project, kTitle);
  EXPECT_NE(withFont, withoutFont);
  // White text on black: many more bright pixels once the font is there.
  EXPECT_GT(BrightPixels(withFont), BrightPixels(withoutFont) + 200);
  EXPECT_NE(project->GetRuntimeFontState(kTitle), runtimeBefore);
  EXPECT_NE(project->GetResolvedFontsState(), projectBefore);
  // A composition without text owes nothing to fonts.
  EXPECT_TRUE(project->GetRuntimeFontState(kPlain).IsNil());
  EXPECT_EQ(RenderFrame(*project, kPlain), plainBefore);
}

TEST(FontsTest, RuntimeStateIsStableWhileNothingChanges) {
  auto first = TextProject();
  auto second = TextProject();
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->GetRuntimeFontState(kTitle), second->GetRuntimeFontState(kTitle));
  EXPECT_EQ(first->GetResolvedFontsState(), second->GetResolvedFontsState());
  EXPECT_EQ(RenderFrame(*first, kTitle), RenderFrame(*second, kTitle));
}

TEST(FontsTest, TextLayerNeedsTextFontSizeAndPosition) {
  for (const char* layer : {R"({"type":"text","font":"F","size":10,"position":[0,0],"color":[1,1,1]})",
                            R"({"type":"text","text":"a","size":10,"position":[0,0],"color":[1,1,1]})",
                            R"({"type":"text","text":"a","font":"","size":10,"position":[0,0],"color":[1,1,1]})",
                            R"({"type":"text","text":"a","font":"F","size":0,"position":[0,0],"color":[1,1,1]})",
                            R"({"type":"text","text":"a","font":"F","size":5000,"position":[0,0],"color":[1,1,1]})",
                            R"({"type":"text","text":"a","font":"F","size":10,"color":[1,1,1]})"}) {
    auto parsed = Project::Parse(servertest::ProjectJSON(servertest::CompositionJSON(
                                     kTitle.AsUTF8String(), std::string(R"("layers":[)") + layer + "]")),
                                 "p.marlp");
    EXPECT_FALSE(parsed.ok()) << layer;
  }
}

TEST(FontsTest, MalformedUtf8BecomesReplacementCharacters) {
  EXPECT_EQ(TextRasterizer::DecodeUtf8("A\xC3\xA9"), (std::vector<char32_t>{U'A', U'\u00E9'}));
  EXPECT_EQ(TextRasterizer::DecodeUtf8("\xFF\xC3"), (std::vector<char32_t>{U'\uFFFD', U'\uFFFD'}));
  EXPECT_EQ(TextRasterizer::DecodeUtf8("\xED\xA0\x80"), (std::vector<char32_t>{U'\uFFFD', U'\uFFFD', U'\uFFFD'}));
}

TEST(FontsTest, UnreadableFontOrSizeDrawsNothing) {
  tetherserver::ResolvedFont bogus;
  bogus.file = "/nonexistent/font.ttf";
  EXPECT_TRUE(TextRasterizer::Draw(bogus, "text", 20, 0, 0)->Empty());
  const auto dejaVu = FontCatalog::Instance().Resolve("DejaVu Sans", "");
  ASSERT_TRUE(dejaVu);
  EXPECT_TRUE(TextRasterizer::Draw(*dejaVu, "text", 0, 0, 0)->Empty());
  EXPECT_TRUE(TextRasterizer::Draw(*dejaVu, "text", 1e9, 0, 0)->Empty());
  const auto drawn = TextRasterizer::Draw(*dejaVu, "Tg", 30, 5, 40);
  ASSERT_FALSE(drawn->Empty());
  // Above the baseline and below it (the descender of g).
  EXPECT_LT(drawn->top, 40);
  EXPECT_GT(drawn->top + static_cast<int32_t>(drawn->height), 40);
}

}  // namespace

#include <server/tolmen/MediaCache.h>
#include <server/tolmen/SequenceItem.h>

#include <ProjectXML/ProjectXMLReader.h>

#include <kilncore/string/UTFConversion.h>

namespace {

// Frame 0 of a 640x360 sequence whose one clip's media is missing: the
// offline slate.
std::vector<uint8_t> SlateFrame() {
  const auto document = ProjectXML::ProjectXMLReader::Read(
      R"(<tolmenProject><sequence name="S" id="5E000000-0000-4000-8000-000000000001" node="1" width="640" )"
      R"(height="360"><videoTrack><clip id="1" name="Lost shot" media="/nowhere/lost.mov" out="10"/>)"
      R"(</videoTrack></sequence></tolmenProject>)");
  tetherserver::SequenceItem item(document.items.at(0), tether::File(u"/projects/p.tlmproj", false),
                                  std::make_shared<tetherserver::MediaCache>());
  tether::VideoRenderOptions options;
  options.SetPixelFormats({{kilnmediatypes::kPixelFormat_BGRA_4444_8u.fourcc, 0}});
  std::vector<uint8_t> bytes(item.FrameBytes(options));
  EXPECT_EQ(item.RenderFrame(options, tether::RatioTime(0), bytes.data(), bytes.size()), 0);
  return bytes;
}

// Bright pixels in rows [top, bottom) of a 640-wide BGRA frame.
long BrightRows(const std::vector<uint8_t>& bgra, size_t top, size_t bottom) {
  long count = 0;
  for (size_t y = top; y < bottom; ++y) {
    for (size_t x = 0; x < 640; ++x) count += bgra[(y * 640 + x) * 4 + 1] > 128 ? 1 : 0;
  }
  return count;
}

TEST(FontsTest, OfflineSlateWritesTheClipsNameAndPathWithTheMachinesFont) {
  const auto withFont = SlateFrame();
  // The name and the path below the middle, in white on the slate's red.
  EXPECT_GT(BrightRows(withFont, 230, 300), 100);
  FontFolder empty;  // a font set without DejaVu Sans
  const auto withoutFont = SlateFrame();
  EXPECT_EQ(BrightRows(withoutFont, 230, 300), 0);
  EXPECT_NE(withFont, withoutFont);
}

}  // namespace
