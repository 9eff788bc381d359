#pragma once

#include "ScriptedObject.h"

#include <tether/Project.h>
#include <tether/testing/ScriptedProjectSetup.h>

#include <mutex>

namespace tether::testing {

// A project of the double, answering from its setup (a copy taken when it was
// opened).
class ScriptedProject : public Project, protected ScriptedObject {
 public:
  ScriptedProject(std::weak_ptr<ScriptedBackend> backend, std::string key, File file, ScriptedProjectSetup setup);

  void GetSource(SourceCallback callback, const kilncore::utility::Guid& id) override;
  void GetContainer(ContainerCallback callback, const kilncore::utility::Guid& id) override;
  void GetItemsAsXML(XMLCallback callback, const std::vector<kilncore::utility::Guid>& ids) override;
  void IsSourceLinked(BoolCallback callback, const kilncore::utility::Guid& id) override;
  void RuntimeFontChange(FontChangeCallback callback) override;
  MissingAssets GetMissingAssets() override;
  File GetFile() override;

 private:
  const File mFile;
  const ScriptedProjectSetup mSetup;
  std::mutex mMutex;
  size_t mFontChanges = 0;
};

}  // namespace tether::testing
