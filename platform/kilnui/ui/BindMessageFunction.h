#pragma once

#include <kilnui/controls/UI_ControlView.h>

#include <kilncore/messaging/Message.h>
#include <kilncore/utility/RefCountedObjectWithWeakPtr.h>

namespace kilnui::ui {

// A handler for NotifyWhenChanged that calls `method` of an object with the
// message as class MessageT, through a weak reference: a message that arrives
// after the object has gone, or a message of another class, does nothing.
//
//   popup->NotifyWhenChanged(BindMessageFunction<controls::UI_ControlChangedMessage>(
//       kilncore::utility::WeakObjectPtr<MyView>(this), &MyView::OnPopupChanged));
template <class MessageT, class Object>
controls::UI_ControlView::Handler BindMessageFunction(kilncore::utility::WeakObjectPtr<Object> object,
                                                      void (Object::*method)(const MessageT&)) {
  return [object = std::move(object), method](const kilncore::messaging::Message& message) {
    const MessageT* typed = kilncore::messaging::MessageCast<MessageT>(message);
    if (!typed) return;
    if (const auto strong = object.Lock()) ((*strong).*method)(*typed);
  };
}

}  // namespace kilnui::ui
