#include <kilnui/controls/UI_ControlChangedMessage.h>
#include <kilnui/controls/UI_OkCancelRow.h>
#include <kilnui/controls/UI_Popup.h>
#include <kilnui/ui/BindMessageFunction.h>
#include <kilnui/ui/UI_Dialog.h>

#include <kilncore/utility/RefCountedObjectWithWeakPtr.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace {

using kilnui::controls::UI_Button;
using kilnui::controls::UI_ControlChangedMessage;
using kilnui::controls::UI_OkCancelRow;
using kilnui::controls::UI_Popup;
using kilnui::ui::BindMessageFunction;
using kilnui::ui::UI_Dialog;

// A listener with a weak-referencing life of its own, as views are.
class Listener : public virtual kilncore::utility::RefCountedObjectWithWeakPtr {
 public:
  explicit Listener(std::vector<std::string>* log) : mLog(log) {}
  void OnChanged(const UI_ControlChangedMessage& message) {
    mLog->push_back(message.GetIdentifier() + "=" + std::to_string(message.GetValue()));
  }

 private:
  std::vector<std::string>* mLog;
};

boost::intrusive_ptr<UI_Popup> MakePopup() {
  boost::intrusive_ptr<UI_Popup> popup(new UI_Popup);
  popup->SetIdentifier("guides");
  popup->AddItem("Off");
  popup->AddItem("On");
  return popup;
}

TEST(ControlsTest, PopupValueIsTheChosenItemsIndex) {
  auto popup = MakePopup();
  EXPECT_EQ(popup->GetValue(), 0);
  popup->SetValue(1);
  EXPECT_EQ(popup->GetValue(), 1);
  EXPECT_THROW(popup->SetValue(2), std::out_of_range);
  EXPECT_THROW(popup->SetValue(-1), std::out_of_range);
  EXPECT_EQ(popup->GetValue(), 1);
}

TEST(ControlsTest, OnlyTheUsersChoiceNotifies) {
  auto popup = MakePopup();
  std::vector<int> values;
  popup->NotifyWhenChanged([&](const kilncore::messaging::Message& message) {
    values.push_back(kilncore::messaging::MessageCast<UI_ControlChangedMessage>(message)->GetValue());
  });
  popup->SetValue(1);
  popup->Choose(0);
  popup->Choose(1);
  EXPECT_EQ(values, (std::vector<int>{0, 1}));
}

TEST(ControlsTest, BoundHandlerReachesALivingObject) {
  std::vector<std::string> log;
  boost::intrusive_ptr<Listener> listener(new Listener(&log));
  auto popup = MakePopup();
  popup->NotifyWhenChanged(BindMessageFunction<UI_ControlChangedMessage>(
      kilncore::utility::WeakObjectPtr<Listener>(listener.get()), &Listener::OnChanged));
  popup->Choose(1);
  EXPECT_EQ(log, (std::vector<std::string>{"guides=1"}));
}

TEST(ControlsTest, MessageAfterTheObjectHasGoneDoesNothing) {
  std::vector<std::string> log;
  boost::intrusive_ptr<Listener> listener(new Listener(&log));
  kilncore::utility::WeakObjectPtr<Listener> weak(listener.get());
  auto popup = MakePopup();
  popup->NotifyWhenChanged(BindMessageFunction<UI_ControlChangedMessage>(weak, &Listener::OnChanged));
  listener = nullptr;
  EXPECT_TRUE(weak.Expired());
  popup->Choose(1);
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(popup->GetValue(), 1);
}

TEST(ControlsTest, OkCancelRowOffersBothButtonsByIdentifier) {
  boost::intrusive_ptr<UI_OkCancelRow> row(new UI_OkCancelRow);
  EXPECT_EQ(row->FindNode("okButton"), row->GetOkButton().get());
  EXPECT_EQ(row->FindNode("cancelButton"), row->GetCancelButton().get());
  EXPECT_EQ(row->GetOkButton()->GetText(), "$$$/kilnui/Button/OK=OK");
}

TEST(ControlsTest, DialogEndsByItsOkAndCancelButtons) {
  boost::intrusive_ptr<UI_Dialog> dialog(new UI_Dialog);
  boost::intrusive_ptr<UI_OkCancelRow> row(new UI_OkCancelRow);
  dialog->AddChild(row);
  dialog->SetOkButton(row->GetOkButton());
  dialog->SetCancelButton(row->GetCancelButton());
  EXPECT_TRUE(row->GetOkButton()->IsDefault());
  int ended = 0;
  dialog->SetEndedCallback([&] { ++ended; });

  row->GetOkButton()->Press();
  EXPECT_EQ(dialog->GetEndReason(), UI_Dialog::EndReason::kOk);
  row->GetCancelButton()->Press();  // too late: the first end stands
  EXPECT_EQ(dialog->GetEndReason(), UI_Dialog::EndReason::kOk);
  EXPECT_EQ(ended, 1);

  dialog->Reopen();
  row->GetCancelButton()->Press();
  EXPECT_EQ(dialog->GetEndReason(), UI_Dialog::EndReason::kCancel);
  dialog->Reopen();
  dialog->Close();
  EXPECT_EQ(dialog->GetEndReason(), UI_Dialog::EndReason::kClosed);
}

TEST(ControlsTest, ButtonPressedAfterItsDialogHasGoneIsHarmless) {
  boost::intrusive_ptr<UI_Button> ok(new UI_Button);
  {
    boost::intrusive_ptr<UI_Dialog> dialog(new UI_Dialog);
    dialog->AddChild(ok);
    dialog->SetOkButton(ok);
  }
  EXPECT_EQ(ok->GetParent(), nullptr);
  ok->Press();  // must not reach the destroyed dialog (AddressSanitizer would tell)
}

TEST(ControlsTest, WeakReferenceLocksOnlyWhileTheObjectLives) {
  std::vector<std::string> log;
  boost::intrusive_ptr<Listener> listener(new Listener(&log));
  kilncore::utility::WeakObjectPtr<Listener> weak(listener.get());
  EXPECT_EQ(listener->GetUseCount(), 1);
  {
    const auto strong = weak.Lock();
    EXPECT_EQ(strong.get(), listener.get());
    EXPECT_EQ(listener->GetUseCount(), 2);
  }
  EXPECT_EQ(listener->GetUseCount(), 1);
  listener = nullptr;
  EXPECT_EQ(weak.Lock(), nullptr);
  EXPECT_EQ(kilncore::utility::WeakObjectPtr<Listener>().Lock(), nullptr);
}

}  // namespace
