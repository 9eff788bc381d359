#include <kilnloomfactory/LoomEngine.h>

#include <kilnloomfactory/ModuleResources.h>

#include <mutex>

namespace kilnloomfactory {
namespace {

struct Settings {
  std::mutex mutex;
  loom::LoomFlavour flavour = loom::LoomFlavour::kKiln;
  std::shared_ptr<const kilnui::loomcontracts::UI_LoomResourceManager> manager;
};

Settings& GetSettings() {
  static Settings* settings = new Settings;
  return *settings;
}

}  // namespace

loom::LoomFlavour LoomEngine::GetFlavour() {
  std::lock_guard<std::mutex> lock(GetSettings().mutex);
  return GetSettings().flavour;
}

void LoomEngine::SetFlavour(loom::LoomFlavour flavour) {
  std::lock_guard<std::mutex> lock(GetSettings().mutex);
  GetSettings().flavour = flavour;
}

std::shared_ptr<const kilnui::loomcontracts::UI_LoomResourceManager> LoomEngine::GetResourceManager() {
  std::lock_guard<std::mutex> lock(GetSettings().mutex);
  if (!GetSettings().manager) GetSettings().manager = std::make_shared<ModuleResources>();
  return GetSettings().manager;
}

void LoomEngine::SetResourceManager(std::shared_ptr<const kilnui::loomcontracts::UI_LoomResourceManager> manager) {
  std::lock_guard<std::mutex> lock(GetSettings().mutex);
  GetSettings().manager = std::move(manager);
}

}  // namespace kilnloomfactory
