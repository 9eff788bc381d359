// A linked clip following its project over the real link: an edit on disk
// reaches the host as a changed message with a new content state, frame
// identity and pixels; a font installed into the machine's fonts reaches a
// Marl item with text, and not a host project's sequence; circles of links
// between projects are reported without hanging the server.
#include "ItemMessages.h"
#include "ModuleRoadTest.h"

#include <server/render/FontCatalog.h>

#include <KL/IFontSetWatcher.h>
#include <KL/IMediaFile.h>
#include <KL/MediaInfoChangedMessage.h>
#include <KL/MediaInfoDeletedMessage.h>
#include <TetherMedia/ITetherMediaInfo.h>
#include <kilncore/debug/Trace.h>
#include <kilncore/debug/TraceCapture.h>
#include <kilncore/messaging/Message.h>
#include <kilncore/messaging/StationRegistry.h>
#include <kilncore/messaging/UIThreadQueue.h>
#include <kilncore/string/UTFConversion.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace TetherMedia::integration {
namespace {

using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using kilnmediatypes::TickTime;

const Guid kTextComposition(u"7E000000-0000-4000-8000-000000000001");
const Guid kMainSequence(u"5E7A1C0D-0000-4000-8000-000000000011");
const Guid kCycleComposition(u"C1000000-0000-4000-8000-00000000000A");
const Guid kCycleSequence(u"5E000000-0000-4000-8000-000000000001");

std::string ReadText(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteText(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
}

using Messages = ItemMessages;

std::vector<uint8_t> Pixels(const HostClip& clip, TickTime time, const RL::FrameFormat& format) {
  KL::IVideoSource::Frame frame;
  EXPECT_EQ(GetFrameAsTheHostDoes(clip, time, format, frame), 0);
  if (!frame) return {};
  const auto* bytes = static_cast<const uint8_t*>(frame->GetData());
  return std::vector<uint8_t>(bytes, bytes + frame->GetDataSize());
}

Guid ContentState(const HostClip& clip) {
  Guid state;
  clip.Video()->GetContentState(state);
  return state;
}

int32_t Refresh(const HostClip& clip) {
  const InterfaceRef<KL::IMediaFile> file(clip.Item());
  return file->RefreshFile(file->GetFilePath());
}

class RefreshTest : public ModuleRoadTest {
 protected:
  std::filesystem::path ProjectPath() const { return kilncore::string::UTF16to8(mExample.path); }
};

TEST_P(RefreshTest, EditChangesTheContentStateTheFrameIdentityAndThePixels) {
  ASSERT_TRUE(ImportClip(kSimpleProject, kSimpleComposition));
  const RL::FrameFormat format = SettledBGRA();
  const Guid stateBefore = ContentState(*mClip);
  const Guid frameBefore = mClip->FrameIdentifier(TickTime(0), format);
  const std::vector<uint8_t> pixelsBefore = Pixels(*mClip, TickTime(0), format);
  Messages messages(*mClip->Item());

  std::string text = ReadText(ProjectPath());
  const std::string from = "\"color\": [0.1, 0.1, 0.12, 1.0]";
  ASSERT_NE(text.find(from), std::string::npos);
  text.replace(text.find(from), from.size(), "\"color\": [0.6, 0.1, 0.12, 1.0]");
  WriteText(ProjectPath(), text);
  EXPECT_EQ(Refresh(*mClip), 0);

  ASSERT_TRUE(messages.WaitFor(1, 0));
  EXPECT_NE(ContentState(*mClip), stateBefore);
  EXPECT_NE(mClip->FrameIdentifier(TickTime(0), format), frameBefore);
  EXPECT_NE(Pixels(*mClip, TickTime(0), format), pixelsBefore);
  EXPECT_EQ(messages.Deleted(), 0);
}

TEST_P(RefreshTest, RewriteOfTheSameContentSendsNoMessage) {
  ASSERT_TRUE(ImportClip(kSimpleProject, kSimpleComposition));
  const Guid stateBefore = ContentState(*mClip);
  Messages messages(*mClip->Item());
  kilncore::debug::TraceCapture capture;
  kilncore::debug::SetTraceLevel("TetherMediaInfo", 6);
  // Written again, with other white space: the same content.
  WriteText(ProjectPath(), ReadText(ProjectPath()) + "\n\n");
  EXPECT_EQ(Refresh(*mClip), 0);
  // The module says when the server's answer found nothing new.
  EXPECT_TRUE(WaitUntil([&] { return capture.Contains("TetherMediaInfo", "no changes detected"); }));
  kilncore::debug::SetTraceLevel("TetherMediaInfo", 0);
  kilncore::messaging::PumpUIThreadMessages();
  EXPECT_EQ(messages.Changed(), 0);
  EXPECT_EQ(messages.Deleted(), 0);
  EXPECT_EQ(ContentState(*mClip), stateBefore);
}

TEST_P(RefreshTest, DeletedProjectPostsTheDeletedMessageAndKeepsTheClipUsable) {
  ASSERT_TRUE(ImportClip(kSimpleProject, kSimpleComposition));
  const RL::FrameFormat format = SettledBGRA();
  Messages messages(*mClip->Item());
  std::filesystem::remove(ProjectPath());
  EXPECT_EQ(Refresh(*mClip), 0);
  ASSERT_TRUE(messages.WaitFor(0, 1));
  EXPECT_EQ(messages.Changed(), 0);
  // The server keeps serving what it read last.
  EXPECT_FALSE(Pixels(*mClip, TickTime(0), format).empty());
}

TEST_P(RefreshTest, HalfWrittenFileIsNoChangeUntilTheSaveEnds) {
  ASSERT_TRUE(ImportClip(kSimpleProject, kSimpleComposition));
  const Guid stateBefore = ContentState(*mClip);
  Messages messages(*mClip->Item());
  const std::string whole = ReadText(ProjectPath());
  kilncore::debug::TraceCapture capture;
  kilncore::debug::SetTraceLevel("TetherMediaInfo", 6);
  WriteText(ProjectPath(), whole.substr(0, whole.size() / 2));
  EXPECT_EQ(Refresh(*mClip), 0);
  EXPECT_TRUE(WaitUntil([&] { return capture.Contains("TetherMediaInfo", "no changes detected"); }));
  kilncore::debug::SetTraceLevel("TetherMediaInfo", 0);
  kilncore::messaging::PumpUIThreadMessages();
  EXPECT_EQ(messages.Changed(), 0);
  EXPECT_EQ(messages.Deleted(), 0);
  EXPECT_EQ(ContentState(*mClip), stateBefore);
}

// A fonts folder of the test's own, for the server in either mode: the child
// process reads FONTCONFIG_FILE when it starts, the in-process server is told.
class TestFonts {
 public:
  explicit TestFonts(const std::filesystem::path& root) : mRoot(root) {
    std::filesystem::create_directories(mRoot / "fonts");
    std::ofstream(mRoot / "fonts.conf") << "<?xml version=\"1.0\"?>\n<fontconfig><dir>" << (mRoot / "fonts").string()
                                        << "</dir><cachedir>" << (mRoot / "cache").string()
                                        << "</cachedir></fontconfig>\n";
    const auto dejaVu = tetherserver::FontCatalog::Instance().Resolve("DejaVu Sans", "");
    if (dejaVu) mDejaVu = dejaVu->file;
    ::setenv("FONTCONFIG_FILE", (mRoot / "fonts.conf").c_str(), 1);
    tetherserver::FontCatalog::Instance().UseConfigFile((mRoot / "fonts.conf").string());
  }
  ~TestFonts() {
    ::unsetenv("FONTCONFIG_FILE");
    tetherserver::FontCatalog::Instance().UseConfigFile("");
  }
  bool InstallDejaVu() {
    if (mDejaVu.empty()) return false;
    std::filesystem::copy_file(mDejaVu, mRoot / "fonts" / "DejaVuSans.ttf");
    return true;
  }

 private:
  std::filesystem::path mRoot;
  std::string mDejaVu;
};

class RefreshFontsTest : public ModuleRoadTest {
 protected:
  void SetUp() override {
    mFonts.emplace(mExamples.PathFor("machine-fonts"));
    ModuleRoadTest::SetUp();
  }
  void TearDown() override {
    ModuleRoadTest::TearDown();
    mFonts.reset();
  }
  // A Marl project with a line of text in DejaVu Sans.
  kilncore::WideString TextProject() {
    const std::filesystem::path path = mExamples.PathFor("text.marlp");
    WriteText(path, R"({"items":[{"type":"composition","id":")" + kTextComposition.AsUTF8String() +
                        R"(","name":"Text","width":320,"height":90,"frameRate":[25,1],"durationFrames":10,)"
                        R"("layers":[{"type":"solid","color":[0,0,0,1]},{"type":"text","text":"Tether",)"
                        R"("font":"DejaVu Sans","size":48,"position":[10,70],"color":[1,1,1,1]}]}]})");
    return kilncore::string::UTF8to16(path.string());
  }
  kilncore::WideString HostSample() {
    const std::filesystem::path folder = mExamples.PathFor("host");
    if (!std::filesystem::exists(folder)) {
      std::filesystem::copy(std::string(TETHER_TEST_EXAMPLES_FOLDER) + "/host", folder);
    }
    return kilncore::string::UTF8to16((folder / "edit.tlmproj").string());
  }

  std::optional<TestFonts> mFonts;
};

bool TellFontChange(const HostClip& clip) {
  return InterfaceRef<KL::IFontSetWatcher>(clip.Item())->OnFontSetChanged();
}

Guid RuntimeGuid(const HostClip& clip) {
  return InterfaceRef<TetherMedia::ITetherMediaInfo>(clip.Item())->GetRuntimeGuid();
}

TEST_P(RefreshFontsTest, InstalledFontChangesTheMarlTextAndNotTheHostSequence) {
  HostClip text(TextProject(), kTextComposition);
  ASSERT_EQ(text.ImportResult(), 0);
  HostClip sequence(HostSample(), kMainSequence);
  ASSERT_EQ(sequence.ImportResult(), 0);
  const RL::FrameFormat textFormat =
      text.Select(TickTime(0), WantedFormat(kilnmediatypes::kPixelFormat_BGRA_4444_8u));
  const RL::FrameFormat sequenceFormat =
      sequence.Select(TickTime(0), WantedFormat(kilnmediatypes::kPixelFormat_BGRA_4444_8u));
  const Guid runtimeBefore = RuntimeGuid(text);
  const Guid textFrameBefore = text.FrameIdentifier(TickTime(0), textFormat);
  const std::vector<uint8_t> textBefore = Pixels(text, TickTime(0), textFormat);
  const Guid sequenceFrameBefore = sequence.FrameIdentifier(TickTime(0), sequenceFormat);
  const std::vector<uint8_t> sequenceBefore = Pixels(sequence, TickTime(0), sequenceFormat);
  EXPECT_FALSE(runtimeBefore.IsNil());
  Messages messages(*text.Item());
  Messages sequenceMessages(*sequence.Item());

  ASSERT_TRUE(mFonts->InstallDejaVu()) << "the machine has no DejaVu Sans (fonts-dejavu-core)";
  // What the font manager does when its folders change.
  EXPECT_TRUE(TellFontChange(text));
  EXPECT_FALSE(TellFontChange(sequence));
  ASSERT_TRUE(messages.WaitFor(1, 0));

  EXPECT_NE(RuntimeGuid(text), runtimeBefore);
  EXPECT_NE(text.FrameIdentifier(TickTime(0), textFormat), textFrameBefore);
  EXPECT_NE(Pixels(text, TickTime(0), textFormat), textBefore);
  EXPECT_TRUE(RuntimeGuid(sequence).IsNil());
  EXPECT_EQ(sequence.FrameIdentifier(TickTime(0), sequenceFormat), sequenceFrameBefore);
  EXPECT_EQ(Pixels(sequence, TickTime(0), sequenceFormat), sequenceBefore);
  EXPECT_EQ(sequenceMessages.Changed(), 0);
  // Told again with nothing new: no reaction.
  EXPECT_FALSE(TellFontChange(text));
}

using RefreshLinksTest = ModuleRoadTest;

TEST_P(RefreshLinksTest, CircleOfLinksIsReportedAndTheServerGoesOn) {
  const std::filesystem::path marl = mExamples.PathFor("cycle.marlp");
  WriteText(mExamples.PathFor("cycle.tlmproj"),
            R"(<?xml version="1.0"?><tolmenProject><sequence name="S" id=")" + kCycleSequence.AsUTF8String() +
                R"(" node="1"><videoTrack><clip id="1" out="10" link="cycle.marlp" linkItem=")" +
                kCycleComposition.AsUTF8String() + R"("/></videoTrack></sequence></tolmenProject>)");
  WriteText(marl, R"({"items":[{"type":"composition","id":")" + kCycleComposition.AsUTF8String() +
                      R"(","name":"A","width":64,"height":36,"frameRate":[25,1],"durationFrames":10,)"
                      R"("layers":[{"type":"link","project":"cycle.tlmproj","item":")" +
                      kCycleSequence.AsUTF8String() + R"("}]}]})");
  HostClip clip(kilncore::string::UTF8to16(marl.string()), kCycleComposition);
  ASSERT_EQ(clip.ImportResult(), 0);
  const InterfaceRef<TetherMedia::ITetherMediaInfo> item(clip.Item());
  EXPECT_TRUE(item->HasNestedLink());
  EXPECT_TRUE(item->IsSourceLinkedTo(kCycleSequence));
  // The composition reaches itself through the host project: a circle.
  EXPECT_TRUE(item->IsSourceLinkedTo(kCycleComposition));
  EXPECT_TRUE(item->ContainsDependance(kCycleComposition));
  EXPECT_FALSE(item->IsSourceLinkedTo(Guid::CreateUnique()));
  // The server still answers.
  KL::IVideoSource::Frame frame;
  EXPECT_EQ(GetFrameAsTheHostDoes(clip, TickTime(0),
                                  clip.Select(TickTime(0), WantedFormat(kilnmediatypes::kPixelFormat_BGRA_4444_8u)),
                                  frame),
            0);
}

TETHER_INSTANTIATE_FOR_BOTH_SERVERS(RefreshTest);
TETHER_INSTANTIATE_FOR_BOTH_SERVERS(RefreshFontsTest);
TETHER_INSTANTIATE_FOR_BOTH_SERVERS(RefreshLinksTest);

}  // namespace
}  // namespace TetherMedia::integration
