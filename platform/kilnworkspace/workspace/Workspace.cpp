#include <kilnworkspace/workspace/Workspace.h>

namespace kilnworkspace::workspace {

Workspace::Workspace(std::shared_ptr<kilnui::drawbot::SupplierInterface> supplier)
    : mSupplier(std::move(supplier)) {}

std::shared_ptr<kilnui::drawbot::SupplierInterface> Workspace::GetDrawSupplier() const {
  std::lock_guard<std::mutex> lock(mMutex);
  return mSupplier;
}

void Workspace::SetDrawSupplier(std::shared_ptr<kilnui::drawbot::SupplierInterface> supplier) {
  std::lock_guard<std::mutex> lock(mMutex);
  mSupplier = std::move(supplier);
}

}  // namespace kilnworkspace::workspace
