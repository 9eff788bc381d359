#include <KL/CaptionText.h>
#include <KL/CaptioningSource.h>

#include <kilncore/debug/Trace.h>
#include <kilncore/debug/TraceCapture.h>

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr char kTwoStreams[] =
    "TETHER-CAPTIONS 1\n"
    "format 1\n"
    "# a comment\n"
    "\n"
    "stream 1 English\n"
    "cue 0 254016000000 A title\n"
    "cue 254016000000 508032000000 Two lines:\\nthe second \\\\ one\n"
    "stream 7 Deutsch\r\n"
    "cue 0 10 Ein Titel\r\n";

std::string Reason(const std::string& text) {
  std::string reason;
  EXPECT_FALSE(KL::CaptionText::Parse(text, reason)) << text;
  return reason;
}

TEST(CaptioningSourceTest, ReadsStreamsCuesAndFormat) {
  auto source = KL::CreateCaptioningSource(kTwoStreams, nullptr);
  ASSERT_TRUE(source);
  EXPECT_EQ(source->GetStreamFormat(), 1u);
  ASSERT_EQ(source->GetStreamCount(), 2u);
  const KL::CaptionStream* first = source->GetStream(0);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->id, 1u);
  EXPECT_EQ(first->label, "English");
  ASSERT_EQ(first->cues.size(), 2u);
  EXPECT_EQ(first->cues[1].start, 254016000000);
  EXPECT_EQ(first->cues[1].text, "Two lines:\nthe second \\ one");
  EXPECT_EQ(source->GetStream(1)->label, "Deutsch");
  EXPECT_EQ(source->GetStream(1)->cues.at(0).text, "Ein Titel");
}

TEST(CaptioningSourceTest, StreamOutOfRangeIsNull) {
  auto source = KL::CreateCaptioningSource(kTwoStreams, nullptr);
  ASSERT_TRUE(source);
  EXPECT_EQ(source->GetStream(2), nullptr);
}

TEST(CaptioningSourceTest, WrittenTextReadsBackTheSame) {
  std::string reason;
  auto document = KL::CaptionText::Parse(kTwoStreams, reason);
  ASSERT_TRUE(document) << reason;
  auto again = KL::CaptionText::Parse(KL::CaptionText::Write(*document), reason);
  ASSERT_TRUE(again) << reason;
  EXPECT_EQ(*again, *document);
}

TEST(CaptioningSourceTest, FormatWithoutStreamsIsAnEmptySource) {
  auto source = KL::CreateCaptioningSource("TETHER-CAPTIONS 1\nformat 3\n", nullptr);
  ASSERT_TRUE(source);
  EXPECT_EQ(source->GetStreamFormat(), 3u);
  EXPECT_EQ(source->GetStreamCount(), 0u);
}

TEST(CaptioningSourceTest, MalformedTextGivesNullAndTracesTheReason) {
  kilncore::debug::TraceCapture trace;
  kilncore::debug::SetTraceLevel("Keel", 1);
  EXPECT_FALSE(KL::CreateCaptioningSource("WEBVTT\n", nullptr));
  EXPECT_TRUE(trace.Contains("Keel", "line 1"));
}

TEST(CaptioningSourceTest, MalformedTextsNameTheirLine) {
  EXPECT_EQ(Reason(""), "line 1: the first line is not \"TETHER-CAPTIONS 1\"");
  EXPECT_EQ(Reason("TETHER-CAPTIONS 1\n"), "the text has no format line");
  EXPECT_EQ(Reason("TETHER-CAPTIONS 1\nstream 1 a\n"), "line 2: a stream before the format line");
  EXPECT_EQ(Reason("TETHER-CAPTIONS 1\nformat 1\ncue 0 1 x\n"), "line 3: a cue before the first stream");
  EXPECT_EQ(Reason("TETHER-CAPTIONS 1\nformat 1\nformat 1\n"), "line 3: a second format line");
  EXPECT_EQ(Reason("TETHER-CAPTIONS 1\nformat x\n"), "line 2: the format is not a number from 0 to 4294967295");
  EXPECT_EQ(Reason("TETHER-CAPTIONS 1\nformat 1\nbogus\n"), "line 3: unknown keyword \"bogus\"");
}

TEST(CaptioningSourceTest, BadNumbersAndTimesAreRefused) {
  const std::string head = "TETHER-CAPTIONS 1\nformat 1\nstream 1 a\n";
  Reason(head + "cue -1 5 x\n");
  Reason(head + "cue 5 5 x\n");
  Reason(head + "cue 5 4 x\n");
  Reason(head + "cue 1 99999999999999999999 x\n");
  Reason(head + "cue 10 20 x\ncue 5 30 y\n");
  Reason("TETHER-CAPTIONS 1\nformat 1\nstream 1 a\nstream 1 b\n");
  Reason("TETHER-CAPTIONS 1\nformat 4294967296\n");
}

TEST(CaptioningSourceTest, BadEscapesControlsAndEncodingsAreRefused) {
  const std::string head = "TETHER-CAPTIONS 1\nformat 1\nstream 1 a\n";
  Reason(head + "cue 0 1 a\\qb\n");
  Reason(head + "cue 0 1 trailing\\\n");
  Reason(head + "cue 0 1 a\x01" "b\n");
  EXPECT_EQ(Reason(head + "cue 0 1 \xC3\x28\n"), "the text is not UTF-8");
  Reason(head + "cue 0 1 \xED\xA0\x80\n");
}

TEST(CaptioningSourceTest, UnicodeTextIsKept) {
  std::string reason;
  auto document = KL::CaptionText::Parse("TETHER-CAPTIONS 1\nformat 1\nstream 2 Fran\xC3\xA7" "ais\ncue 0 1 \xE2\x9C\x93\n", reason);
  ASSERT_TRUE(document) << reason;
  EXPECT_EQ(document->streams[0].label, "Fran\xC3\xA7" "ais");
  EXPECT_EQ(document->streams[0].cues[0].text, "\xE2\x9C\x93");
}

}  // namespace
