#include <kilnui/controls/UI_Group.h>
#include <kilnui/controls/UI_OkCancelRow.h>
#include <kilnui/controls/UI_Popup.h>
#include <kilnui/drawbot/ScriptedSupplier.h>
#include <kilnui/ui/UI_Dialog.h>

#include <kilncore/config/Localizer.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using kilnui::drawbot::ScriptedSupplier;
using kilnui::ui::UI_Dialog;

struct TestDialog {
  boost::intrusive_ptr<UI_Dialog> dialog{new UI_Dialog};
  boost::intrusive_ptr<kilnui::controls::UI_Popup> popup{new kilnui::controls::UI_Popup};
  boost::intrusive_ptr<kilnui::controls::UI_OkCancelRow> row{new kilnui::controls::UI_OkCancelRow};

  TestDialog() {
    dialog->SetText("$$$/Test/Title=Choose");
    popup->SetIdentifier("choice");
    popup->SetText("$$$/Test/Label=Choice: ");
    popup->AddItem("$$$/Test/A=A");
    popup->AddItem("$$$/Test/B=B");
    boost::intrusive_ptr<kilnui::controls::UI_Group> column(new kilnui::controls::UI_Group(false));
    column->AddChild(popup);
    column->AddChild(row);
    dialog->AddChild(column);
    dialog->SetOkButton(row->GetOkButton());
    dialog->SetCancelButton(row->GetCancelButton());
  }
};

TEST(ScriptedSupplierTest, RecordsWhatTheDialogShowedLocalised) {
  kilncore::config::Localizer::Get().LoadTranslation("$$$/Test/B", u"Bee");
  TestDialog test;
  test.popup->SetValue(1);
  ScriptedSupplier supplier({ScriptedSupplier::Press("okButton")});
  supplier.RunModal(*test.dialog, nullptr);
  kilncore::config::Localizer::Get().ClearTranslations();

  ASSERT_EQ(supplier.GetShownDialogs().size(), 1u);
  const auto& shown = supplier.GetShownDialogs()[0];
  EXPECT_EQ(shown.title, "Choose");
  EXPECT_FALSE(shown.hasParent);
  EXPECT_EQ(shown.Control("choice").text, "Choice: ");
  EXPECT_EQ(shown.Control("choice").items, (std::vector<std::string>{"A", "Bee"}));
  EXPECT_EQ(shown.Control("choice").value, 1);
  EXPECT_TRUE(shown.Control("okButton").isDefault);
  EXPECT_EQ(shown.Control("cancelButton").text, "Cancel");
  EXPECT_EQ(test.dialog->GetEndReason(), UI_Dialog::EndReason::kOk);
}

TEST(ScriptedSupplierTest, StepsRunInOrderUntilTheDialogEnds) {
  TestDialog test;
  ScriptedSupplier supplier({ScriptedSupplier::Choose("choice", 1), ScriptedSupplier::Press("cancelButton"),
                             ScriptedSupplier::Press("okButton")});
  supplier.RunModal(*test.dialog, test.row.get());
  EXPECT_EQ(test.popup->GetValue(), 1);
  EXPECT_EQ(test.dialog->GetEndReason(), UI_Dialog::EndReason::kCancel);
  EXPECT_EQ(supplier.GetRemainingSteps(), 1u);
  EXPECT_TRUE(supplier.GetShownDialogs()[0].hasParent);
  EXPECT_EQ(supplier.GetLastDialog(), test.dialog);

  // The next showing takes the rest of the script.
  supplier.RunModal(*test.dialog, nullptr);
  EXPECT_EQ(test.dialog->GetEndReason(), UI_Dialog::EndReason::kOk);
}

TEST(ScriptedSupplierTest, ScriptThatRunsOutClosesTheDialog) {
  TestDialog test;
  ScriptedSupplier supplier;
  supplier.RunModal(*test.dialog, nullptr);
  EXPECT_EQ(test.dialog->GetEndReason(), UI_Dialog::EndReason::kClosed);
  ScriptedSupplier closing({ScriptedSupplier::Close(), ScriptedSupplier::Press("okButton")});
  closing.RunModal(*test.dialog, nullptr);
  EXPECT_EQ(test.dialog->GetEndReason(), UI_Dialog::EndReason::kClosed);
}

TEST(ScriptedSupplierTest, StepForAControlTheDialogLacksIsRefused) {
  TestDialog test;
  ScriptedSupplier missing({ScriptedSupplier::Press("applyButton")});
  EXPECT_THROW(missing.RunModal(*test.dialog, nullptr), std::logic_error);
  ScriptedSupplier wrongKind({ScriptedSupplier::Choose("okButton", 0)});
  EXPECT_THROW(wrongKind.RunModal(*test.dialog, nullptr), std::logic_error);
}

}  // namespace
