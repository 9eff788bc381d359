#pragma once

#include <kilnui/ui/UI_Node.h>

#include <kilncore/messaging/Broadcaster.h>
#include <kilncore/messaging/Message.h>

#include <functional>
#include <string>

namespace kilnui::controls {

// A control: a node with a user-visible text and listeners for its changes.
class UI_ControlView : public ui::UI_Node {
 public:
  using Handler = std::function<void(const kilncore::messaging::Message&)>;
  using HandlerID = kilncore::messaging::Broadcaster::ListenerID;

  // The text as the layout gave it: a localisation key with its default.
  const std::string& GetText() const { return mText; }
  void SetText(std::string text) { mText = std::move(text); }

  // Calls `handler` with a UI_ControlChangedMessage each time the user presses
  // or changes the control, after the control has taken its new value. Returns
  // an identifier for StopNotifying; 0 for an empty handler.
  HandlerID NotifyWhenChanged(Handler handler);
  bool StopNotifying(HandlerID id);

  // The control's value for UI_ControlChangedMessage.
  virtual int GetValue() const { return 0; }

 protected:
  explicit UI_ControlView(std::string kind) : UI_Node(std::move(kind)) {}

  // Tells the handlers that the user changed the control.
  void NotifyChanged();

 private:
  kilncore::messaging::Broadcaster mHandlers;
  std::string mText;
};

}  // namespace kilnui::controls
