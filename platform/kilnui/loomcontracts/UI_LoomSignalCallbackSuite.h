#pragma once

#include <functional>

namespace kilnui::loomcontracts {

// The signals a Loom view gives its owner: for now, that its window has closed.
class UI_LoomSignalCallbackSuite {
 public:
  virtual ~UI_LoomSignalCallbackSuite();

  // `callback` runs once each time the view's window has closed, before the
  // view lets go of its controls.
  void SetPostCloseCallback(std::function<void()> callback) { mPostClose = std::move(callback); }

 protected:
  void SignalClosed() const {
    if (mPostClose) mPostClose();
  }

 private:
  std::function<void()> mPostClose;
};

}  // namespace kilnui::loomcontracts
