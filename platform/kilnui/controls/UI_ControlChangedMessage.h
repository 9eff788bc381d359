#pragma once

#include <kilncore/messaging/MessageImpl.h>

#include <string>

namespace kilnui::controls {

// Sent by a control when the user has pressed or changed it: which control
// (its identifier) and its value afterwards (an item index, or 0 for a button).
class UI_ControlChangedMessage : public kilncore::messaging::MessageImpl<UI_ControlChangedMessage> {
 public:
  UI_ControlChangedMessage(std::string identifier, int value)
      : mIdentifier(std::move(identifier)), mValue(value) {}

  const std::string& GetIdentifier() const { return mIdentifier; }
  int GetValue() const { return mValue; }

 private:
  std::string mIdentifier;
  int mValue;
};

}  // namespace kilnui::controls
