#pragma once

#include "ScriptedObject.h"

#include <tether/Server.h>

#include <mutex>

namespace tether::testing {

// The generic server of the double.
class ScriptedServer : public Server, protected ScriptedObject {
 public:
  explicit ScriptedServer(std::weak_ptr<ScriptedBackend> backend);

  void SetProgressCallback(ProgressCallback callback) override;
  void OpenProject(ProjectCallback callback, const File& file) override;
  void OpenProjectWithJSON(ProjectCallback callback, const File& file, const std::string& json) override;
  void OpenFarsideAsset(SourceCallback callback, const FarsideAssetRequestInfo& request) override;

  // The installed progress function, or an empty one.
  ProgressCallback GetProgressCallback() const;

 private:
  void Open(Operation operation, ProjectCallback callback, const File& file, std::any arguments);

  mutable std::mutex mMutex;
  ProgressCallback mProgress;
};

}  // namespace tether::testing
