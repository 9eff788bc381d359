#include <kilnui/controls/UI_ControlView.h>

#include <kilnui/controls/UI_ControlChangedMessage.h>

namespace kilnui::controls {

UI_ControlView::HandlerID UI_ControlView::NotifyWhenChanged(Handler handler) {
  return mHandlers.AddListener(std::move(handler));
}

bool UI_ControlView::StopNotifying(HandlerID id) { return mHandlers.RemoveListener(id); }

void UI_ControlView::NotifyChanged() {
  // The handlers may release the last other reference to this control (a
  // dialog closing, say); it stays alive until they are done.
  const boost::intrusive_ptr<UI_ControlView> keepAlive(this);
  mHandlers.BroadcastMessage(UI_ControlChangedMessage(GetIdentifier(), GetValue()));
}

}  // namespace kilnui::controls
