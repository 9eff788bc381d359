#pragma once

#include <kilnui/drawbot/SupplierInterface.h>

#include <memory>

namespace kilnworkspace::workspace {

// Draws dialogs as GTK 3 windows on the user's display. A modal showing runs
// GTK's loop on the calling thread, which must be the main thread, until the
// dialog ends; closing the window or pressing Escape ends it as closed. Texts
// are localised through kilncore::config::Localizer.
class GtkDrawSupplier : public kilnui::drawbot::SupplierInterface {
 public:
  // A supplier on the display GTK finds ($DISPLAY), or null if none can be
  // opened. Call on the main thread.
  static std::shared_ptr<GtkDrawSupplier> Open();

  std::string GetName() const override { return "gtk"; }
  void RunModal(kilnui::ui::UI_Dialog& dialog, kilnui::ui::UI_Node* parent) override;

 private:
  GtkDrawSupplier() = default;
};

}  // namespace kilnworkspace::workspace
