#pragma once

#include <kilnui/drawbot/SupplierInterface.h>

#include <memory>
#include <mutex>

namespace kilnworkspace::workspace {

// The frame around the application's windows: among other things, what draws
// them. Thread-safe.
class Workspace {
 public:
  explicit Workspace(std::shared_ptr<kilnui::drawbot::SupplierInterface> supplier = nullptr);

  // What draws this workspace's windows and dialogs; may be null when there is
  // nothing to draw with.
  std::shared_ptr<kilnui::drawbot::SupplierInterface> GetDrawSupplier() const;
  void SetDrawSupplier(std::shared_ptr<kilnui::drawbot::SupplierInterface> supplier);

 private:
  mutable std::mutex mMutex;
  std::shared_ptr<kilnui::drawbot::SupplierInterface> mSupplier;
};

}  // namespace kilnworkspace::workspace
