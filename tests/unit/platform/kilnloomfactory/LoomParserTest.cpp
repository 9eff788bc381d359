#include "LoomTestSupport.h"

#include <kilnloomfactory/loom/LoomParser.h>
#include <kilnloomfactory/loom/LoomSyntaxError.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using kilnloomfactory::loom::LoomAlignment;
using kilnloomfactory::loom::LoomElementKind;
using kilnloomfactory::loom::LoomFlavour;
using kilnloomfactory::loom::LoomLayout;
using kilnloomfactory::loom::LoomNode;
using kilnloomfactory::loom::LoomSyntaxError;
using kilnloomfactory::loom::ParseLoom;

const std::string kTitle =
    "$$$/Tether/TetherMedia/TetherSource/MarlRenderSettingsDialog/DialogTitle=Marl Composition Render Settings";
const std::string kLabel =
    "$$$/Tether/TetherMedia/TetherSource/MarlRenderSettingsDialog/RenderGuideLayers/PopupLabel=Guide Layers: ";
const std::string kOff =
    "$$$/Tether/TetherMedia/TetherSource/MarlRenderSettingsDialog/RenderGuideLayers/PopupItemOff=Off";
const std::string kOn = "$$$/Tether/TetherMedia/TetherSource/MarlRenderSettingsDialog/RenderGuideLayers/PopupItemOn=On";

// The error that reading `text` gives; fails the test if it reads.
LoomSyntaxError ErrorOf(const std::string& text, LoomFlavour flavour = LoomFlavour::kKiln) {
  try {
    ParseLoom(text, flavour);
  } catch (const LoomSyntaxError& error) {
    return error;
  }
  ADD_FAILURE() << "read without error:\n" << text;
  return LoomSyntaxError(0, 0, "none");
}

void ExpectDialogTree(const LoomLayout& layout) {
  EXPECT_EQ(layout.name, "MarlRenderSettingsDialog");
  const LoomNode& dialog = *layout.root;
  EXPECT_EQ(dialog.kind, LoomElementKind::kDialog);
  EXPECT_EQ(dialog.identifier, "MarlRenderSettingsDialog");
  EXPECT_EQ(dialog.text, kTitle);
  ASSERT_EQ(dialog.children.size(), 1u);
  const LoomNode& column = *dialog.children[0];
  EXPECT_EQ(column.kind, LoomElementKind::kColumn);
  EXPECT_EQ(column.spacing, 20);
  EXPECT_EQ(column.horizontal, LoomAlignment::kFill);
  ASSERT_EQ(column.children.size(), 2u);
  const LoomNode& popup = *column.children[0];
  EXPECT_EQ(popup.kind, LoomElementKind::kPopup);
  EXPECT_EQ(popup.identifier, "RenderGuideLayersPopup");
  EXPECT_EQ(popup.text, kLabel);
  EXPECT_EQ(popup.width, 200);
  EXPECT_EQ(popup.horizontal, LoomAlignment::kLeft);
  ASSERT_EQ(popup.children.size(), 2u);
  EXPECT_EQ(popup.children[0]->kind, LoomElementKind::kPopupItem);
  EXPECT_EQ(popup.children[0]->text, kOff);
  EXPECT_EQ(popup.children[1]->text, kOn);
  EXPECT_EQ(column.children[1]->kind, LoomElementKind::kOkCancelRow);
  EXPECT_EQ(dialog.Find("RenderGuideLayersPopup"), &popup);
}

TEST(LoomParserTest, KilnResourceReadsIntoTheDialogTree) {
  const LoomLayout layout = ParseLoom(LoomTest::KilnDialogLayout(), LoomFlavour::kKiln);
  EXPECT_EQ(layout.root->elementName, "kiln_dialog");
  EXPECT_EQ(layout.root->line, 3);
  EXPECT_EQ(layout.root->column, 7);
  ExpectDialogTree(layout);
}

TEST(LoomParserTest, ShedResourceReadsIntoTheSameTree) {
  const LoomLayout layout = ParseLoom(LoomTest::ShedDialogLayout(), LoomFlavour::kShed);
  EXPECT_EQ(layout.root->elementName, "dialog");
  ExpectDialogTree(layout);
}

TEST(LoomParserTest, ShippedResourcesEndTheirLinesWithCRLF) {
  for (const std::string& text : {LoomTest::KilnDialogLayout(), LoomTest::ShedDialogLayout()}) {
    ASSERT_FALSE(text.empty());
    size_t lineFeeds = 0;
    for (size_t i = 0; i < text.size(); ++i) {
      if (text[i] != '\n') continue;
      ++lineFeeds;
      EXPECT_TRUE(i > 0 && text[i - 1] == '\r') << "bare LF at byte " << i;
    }
    EXPECT_EQ(lineFeeds, 15u);
  }
}

TEST(LoomParserTest, EachFlavourRefusesTheOtherFlavoursElements) {
  const LoomSyntaxError shedAsKiln = ErrorOf(LoomTest::ShedDialogLayout(), LoomFlavour::kKiln);
  EXPECT_EQ(shedAsKiln.GetLine(), 3);
  EXPECT_EQ(shedAsKiln.GetColumn(), 7);
  EXPECT_EQ(shedAsKiln.GetReason(), "unknown element 'dialog' (a shed element; this layout is read as kiln)");
  const LoomSyntaxError kilnAsShed = ErrorOf(LoomTest::KilnDialogLayout(), LoomFlavour::kShed);
  EXPECT_EQ(kilnAsShed.GetReason(), "unknown element 'kiln_dialog' (a kiln element; this layout is read as shed)");
}

TEST(LoomParserTest, LineFeedAndCRLFFilesCountLinesAlike) {
  const std::string lf = "layout L\n{\n  view kiln_dialog(name: 't')\n  {\n    kiln_nothing()\n  }\n}\n";
  std::string crlf;
  for (char c : lf) crlf += c == '\n' ? std::string("\r\n") : std::string(1, c);
  for (const std::string& text : {lf, crlf}) {
    const LoomSyntaxError error = ErrorOf(text);
    EXPECT_EQ(error.GetLine(), 5);
    EXPECT_EQ(error.GetColumn(), 5);
  }
}

TEST(LoomParserTest, UnclosedParenthesisIsReportedWhereTheLayoutGoesOn) {
  const LoomSyntaxError error = ErrorOf("layout L {\n view kiln_dialog(name: 't'\n { }\n}");
  EXPECT_EQ(error.GetLine(), 3);
  EXPECT_EQ(error.GetColumn(), 2);
  EXPECT_EQ(error.GetReason(), "expected ',' or ')' in the arguments of 'kiln_dialog', found '{'");
  EXPECT_STREQ(error.what(), "line 3, column 2: expected ',' or ')' in the arguments of 'kiln_dialog', found '{'");
}

TEST(LoomParserTest, UnclosedBraceIsReportedAtTheEnd) {
  const LoomSyntaxError error = ErrorOf("layout L {\n view kiln_dialog() {\n  column()\n");
  EXPECT_EQ(error.GetLine(), 4);
  EXPECT_EQ(error.GetColumn(), 1);
  EXPECT_EQ(error.GetReason(), "'{' of 'kiln_dialog' not closed");
}

TEST(LoomParserTest, UnknownElementIsNamed) {
  const LoomSyntaxError error = ErrorOf("layout L { view kiln_dialog() { kiln_slider() } }");
  EXPECT_EQ(error.GetLine(), 1);
  EXPECT_EQ(error.GetColumn(), 33);
  EXPECT_EQ(error.GetReason(), "unknown element 'kiln_slider'");
}

TEST(LoomParserTest, UnknownConstantIsABadConstant) {
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() { column(horizontal: align_middle) } }").GetReason(),
            "bad constant 'align_middle'");
  EXPECT_EQ(ErrorOf("layout L { view dialog() { column(horizontal: @align_middle) } }", LoomFlavour::kShed).GetReason(),
            "bad constant '@align_middle'");
}

TEST(LoomParserTest, ConstantsAreWrittenAsTheFlavourWritesThem) {
  const LoomSyntaxError bare = ErrorOf("layout L { view dialog() { column(horizontal: align_fill) } }", LoomFlavour::kShed);
  EXPECT_EQ(bare.GetColumn(), 47);
  EXPECT_EQ(bare.GetReason(), "bad constant 'align_fill': in a shed layout it is written @align_fill");
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() { column(horizontal: @align_fill) } }").GetReason(),
            "bad constant '@align_fill': in a kiln layout it is written align_fill");
}

TEST(LoomParserTest, AtSignWithoutANameIsRefused) {
  const LoomSyntaxError error = ErrorOf("layout L { view dialog() { column(horizontal: @ ) } }", LoomFlavour::kShed);
  EXPECT_EQ(error.GetColumn(), 47);
  EXPECT_EQ(error.GetReason(), "'@' must be followed by a constant's name");
}

TEST(LoomParserTest, TextNotClosedOnItsLineIsRefused) {
  const LoomSyntaxError error = ErrorOf("layout L {\r\n view kiln_dialog(name: 'Title\r\n) }");
  EXPECT_EQ(error.GetLine(), 2);
  EXPECT_EQ(error.GetColumn(), 25);
  EXPECT_EQ(error.GetReason(), "text not closed on its line");
}

TEST(LoomParserTest, QuotedTextsTakeEitherQuoteAndEscapes) {
  const LoomLayout layout = ParseLoom("layout L { view kiln_dialog(name: \"It's \\\"here\\\"\") }", LoomFlavour::kKiln);
  EXPECT_EQ(layout.root->text, "It's \"here\"");
  EXPECT_EQ(ParseLoom("layout L { view kiln_dialog(name: 'a\\'b\\\\c') }", LoomFlavour::kKiln).root->text, "a'b\\c");
}

TEST(LoomParserTest, CommentsAreSkipped) {
  const LoomLayout layout = ParseLoom(
      "// the dialog\nlayout L /* named L */ {\n view kiln_dialog(/* none */) // end\n}\n", LoomFlavour::kKiln);
  EXPECT_EQ(layout.root->line, 3);
  EXPECT_EQ(ErrorOf("layout L { /* never closed\n view kiln_dialog() }").GetReason(), "comment not closed");
}

TEST(LoomParserTest, UnexpectedCharactersAreNamed) {
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog(); }").GetReason(), "unexpected character ';'");
  const LoomSyntaxError byte = ErrorOf("layout L { view kiln_dialog() \xC3\xA9 }");
  EXPECT_EQ(byte.GetColumn(), 31);
  EXPECT_EQ(byte.GetReason(), "unexpected byte 0xC3");
}

TEST(LoomParserTest, ArgumentsAreCheckedForTheirElement) {
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog(colour: 'red') }").GetReason(),
            "'kiln_dialog' takes no argument 'colour'");
  // The kiln popup's label is 'label', the shed popup's is 'name'.
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() { kiln_popup(name: 'x') } }").GetReason(),
            "'kiln_popup' takes no argument 'name'");
  EXPECT_EQ(ErrorOf("layout L { view dialog() { popup(minWidth: 3) } }", LoomFlavour::kShed).GetReason(),
            "'popup' takes no argument 'minWidth'");
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog(name: 'a', name: 'b') }").GetReason(), "argument 'name' given twice");
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog(name 'a') }").GetReason(), "expected ':' after 'name', found a quoted text");
}

TEST(LoomParserTest, ArgumentValuesMustHaveTheirType) {
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog(name: 20) }").GetReason(), "'name' takes a quoted text, found a number '20'");
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() { column(spacing: 'wide') } }").GetReason(),
            "'spacing' takes a whole number of pixels from 0 to 10000, found a quoted text");
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() { column(spacing: -4) } }").GetReason(),
            "'spacing' takes a whole number of pixels from 0 to 10000, found a number '-4'");
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() { column(spacing: 2.5) } }").GetReason(),
            "'spacing' takes a whole number of pixels from 0 to 10000, found a number '2.5'");
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() { column(spacing: 99999999999999) } }").GetColumn(), 49);
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() { column(horizontal: 'left') } }").GetReason(),
            "'horizontal' takes a constant such as align_fill, found a quoted text");
}

TEST(LoomParserTest, IdentifiersAreUniqueAndNotEmpty) {
  const LoomSyntaxError twice =
      ErrorOf("layout L { view kiln_dialog(identifier: 'a') { kiln_button(identifier: 'a') } }");
  EXPECT_EQ(twice.GetReason(), "identifier 'a' used twice");
  EXPECT_EQ(twice.GetColumn(), 72);
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog(identifier: '') }").GetReason(), "an identifier must not be empty");
}

TEST(LoomParserTest, ElementsHoldOnlyWhatTheyCanHold) {
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() { kiln_popup() { kiln_button() } } }").GetReason(),
            "'kiln_popup' can't hold 'kiln_button'");
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() { kiln_popup_item(name: 'x') } }").GetReason(),
            "'kiln_dialog' can't hold 'kiln_popup_item'");
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() { kiln_button() { } } }").GetReason(), "'kiln_button' holds no elements");
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() { kiln_dialog() } }").GetReason(), "'kiln_dialog' can't hold 'kiln_dialog'");
}

TEST(LoomParserTest, ALayoutHasOneViewAndItIsADialog) {
  EXPECT_EQ(ErrorOf("layout L { view column() }").GetReason(), "the view of a layout must be a kiln_dialog");
  EXPECT_EQ(ErrorOf("layout L { kiln_dialog() }").GetReason(), "expected 'view', found a name 'kiln_dialog'");
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() view kiln_dialog() }").GetReason(),
            "expected '}' to close the layout (a layout has one view), found a name 'view'");
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() { view column() } }").GetReason(),
            "only the layout's first element is a view");
  EXPECT_EQ(ErrorOf("layout L { view kiln_dialog() } trailing").GetReason(), "expected nothing after the layout, found a name 'trailing'");
  EXPECT_EQ(ErrorOf("").GetReason(), "expected 'layout', found the end of the layout");
}

TEST(LoomParserTest, NestingBeyondTheLimitIsRefused) {
  std::string text = "layout L { view kiln_dialog() ";
  for (int i = 0; i < 40; ++i) text += "{ column() ";
  for (int i = 0; i < 40; ++i) text += "} ";
  text += "}";
  EXPECT_EQ(ErrorOf(text).GetReason(), "elements nest too deeply");
}

TEST(LoomParserTest, OtherLayoutsOfTheSameKindsRead) {
  const LoomLayout layout = ParseLoom(
      "layout Export {\n"
      "  view dialog(name: 'Export', spacing: 8) {\n"
      "    row(spacing: 4, vertical: @align_center) {\n"
      "      static_text(name: 'Format')\n"
      "      popup(name: 'Codec', identifier: 'codec', width: 120) { popup_item(name: 'A') popup_item(name: 'B') popup_item(name: 'C') }\n"
      "    }\n"
      "    popup(name: 'Size', identifier: 'size') { popup_item(name: 'Full') }\n"
      "    button(name: 'Reset', identifier: 'reset', horizontal: @align_right)\n"
      "    ok_cancel_row()\n"
      "  }\n"
      "}\n",
      LoomFlavour::kShed);
  EXPECT_EQ(layout.name, "Export");
  EXPECT_EQ(layout.root->spacing, 8);
  ASSERT_EQ(layout.root->children.size(), 4u);
  EXPECT_EQ(layout.root->children[0]->kind, LoomElementKind::kRow);
  EXPECT_EQ(layout.root->children[0]->vertical, LoomAlignment::kCenter);
  EXPECT_EQ(layout.root->Find("codec")->children.size(), 3u);
  EXPECT_EQ(layout.root->Find("codec")->width, 120);
  EXPECT_EQ(layout.root->Find("reset")->kind, LoomElementKind::kButton);
  EXPECT_EQ(layout.root->Find("missing"), nullptr);
}

}  // namespace
