#pragma once

#include <tether/ConnectionStatus.h>
#include <tether/FarsideAssetRequestInfo.h>
#include <tether/File.h>

#include <kilncore/string/WideString.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tether {

class Project;
class Source;

// The generic server of an application: opens its projects and remote assets.
//
// Every operation with a callback is asynchronous: the callback is called once,
// later, on a thread of the library, with the status and the result (null on
// failure).
class Server {
 public:
  using ProjectCallback = std::function<void(ConnectionStatus, const std::shared_ptr<Project>&)>;
  using SourceCallback = std::function<void(ConnectionStatus, const std::shared_ptr<Source>&)>;
  // Progress reports: the server's progress key (UTF-8), its value (negative
  // for unknown), and the arguments of the key.
  using ProgressCallback = std::function<void(const std::string& progressType, const double& progress,
                                              const std::vector<kilncore::WideString>& arguments)>;

  virtual ~Server() = default;

  // Installs the function that receives this server's progress reports,
  // replacing any earlier one. It is kept and called repeatedly, on threads of
  // the library.
  virtual void SetProgressCallback(ProgressCallback callback) = 0;

  virtual void OpenProject(ProjectCallback callback, const File& file) = 0;
  // Opens a project with the owning application's options, JSON in UTF-8.
  virtual void OpenProjectWithJSON(ProjectCallback callback, const File& file,
                                   const std::string& json) = 0;
  // Opens a remote asset; there is no project on this road.
  virtual void OpenFarsideAsset(SourceCallback callback, const FarsideAssetRequestInfo& request) = 0;
};

}  // namespace tether
