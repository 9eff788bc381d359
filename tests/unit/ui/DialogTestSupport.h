#pragma once

#include <kilnloomfactory/LoomEngine.h>
#include <kilnui/drawbot/ScriptedSupplier.h>
#include <kilnworkspace/workspace/WorkspaceUtils.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace TetherMedia::testing {

using kilnui::drawbot::ScriptedSupplier;

// For the life of a test: a main window whose dialogs a scripted headless user
// works, and the layout engine in the given flavour. Everything is put back
// afterwards.
class ScriptedDialogs {
 public:
  explicit ScriptedDialogs(std::vector<ScriptedSupplier::Step> script = {},
                           kilnloomfactory::loom::LoomFlavour flavour = kilnloomfactory::loom::LoomFlavour::kKiln)
      : supplier(std::make_shared<ScriptedSupplier>(std::move(script))) {
    kilnloomfactory::LoomEngine::SetFlavour(flavour);
    kilnworkspace::workspace::WorkspaceUtils::SetMainTopLevelWindow(
        std::make_shared<kilnworkspace::workspace::TopLevelWindow>(
            "Main", std::make_shared<kilnworkspace::workspace::Workspace>(supplier)));
  }
  ~ScriptedDialogs() {
    kilnworkspace::workspace::WorkspaceUtils::SetMainTopLevelWindow(nullptr);
    kilnloomfactory::LoomEngine::SetResourceManager(nullptr);
    kilnloomfactory::LoomEngine::SetFlavour(kilnloomfactory::loom::LoomFlavour::kKiln);
  }
  ScriptedDialogs(const ScriptedDialogs&) = delete;
  ScriptedDialogs& operator=(const ScriptedDialogs&) = delete;

  size_t ShownCount() const { return supplier->GetShownDialogs().size(); }
  const ScriptedSupplier::ShownDialog& Shown(size_t index = 0) const { return supplier->GetShownDialogs().at(index); }

  std::shared_ptr<ScriptedSupplier> supplier;
};

// Layouts kept in memory by resource name, in place of the module's own.
class ReplacedLayouts : public kilnui::loomcontracts::UI_LoomResourceManager {
 public:
  std::map<std::string, std::string> layouts;

  // Installs these layouts for every view made from now on.
  static std::shared_ptr<ReplacedLayouts> Install(std::map<std::string, std::string> layouts) {
    auto replaced = std::make_shared<ReplacedLayouts>();
    replaced->layouts = std::move(layouts);
    kilnloomfactory::LoomEngine::SetResourceManager(replaced);
    return replaced;
  }

  std::optional<std::string> FindResource(kilnui::loomcontracts::ModuleHandle, std::string_view type,
                                          std::string_view name) const override {
    const auto found = layouts.find(std::string(name));
    if (type != "LOOM" || found == layouts.end()) return std::nullopt;
    return found->second;
  }
};

}  // namespace TetherMedia::testing
