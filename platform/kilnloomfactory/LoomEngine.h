#pragma once

#include <kilnloomfactory/loom/LoomFlavour.h>

#include <kilnui/loomcontracts/UI_LoomResourceManager.h>

#include <memory>

namespace kilnloomfactory {

// The layout engine's settings for the process: the flavour of layouts it
// reads, and where views find their resources unless told otherwise. Views
// take both when they are made. Thread-safe.
class LoomEngine {
 public:
  // kKiln unless set.
  static loom::LoomFlavour GetFlavour();
  static void SetFlavour(loom::LoomFlavour flavour);

  // ModuleResources unless set; null sets it back to ModuleResources. Hosts
  // and tests that keep layouts elsewhere install their own.
  static std::shared_ptr<const kilnui::loomcontracts::UI_LoomResourceManager> GetResourceManager();
  static void SetResourceManager(std::shared_ptr<const kilnui::loomcontracts::UI_LoomResourceManager> manager);
};

}  // namespace kilnloomfactory
