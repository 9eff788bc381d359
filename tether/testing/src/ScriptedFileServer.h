#pragma once

#include "ScriptedObject.h"

#include <tether/FileServer.h>

namespace tether::testing {

// The file server of the double: OpenFile gives the source registered under
// the file's path.
class ScriptedFileServer : public FileServer, protected ScriptedObject {
 public:
  explicit ScriptedFileServer(std::weak_ptr<ScriptedBackend> backend, std::string className);

  void OpenFile(OpenFileCallback callback, const File& file) override;
};

}  // namespace tether::testing
