#pragma once

#include "RemoteObject.h"

#include <tether/FileServer.h>
#include <tether/Server.h>

#include <deque>
#include <mutex>

namespace tether::ipc {

// The generic server of an application.
class IpcServer : public Server, protected RemoteObject, public std::enable_shared_from_this<IpcServer> {
 public:
  IpcServer(std::shared_ptr<Connection> connection, uint64_t handle);
  ~IpcServer() override;

  void SetProgressCallback(ProgressCallback callback) override;
  void OpenProject(ProjectCallback callback, const File& file) override;
  void OpenProjectWithJSON(ProjectCallback callback, const File& file, const std::string& json) override;
  void OpenFarsideAsset(SourceCallback callback, const FarsideAssetRequestInfo& request) override;

 private:
  void Open(ProjectCallback callback, AnyObject arguments);
  void OnNotice(const std::string& op, const AnyValue& body);
  void DrainProgress();

  // A progress report as it came from the server.
  struct Report {
    std::string type;
    double value = 0.0;
    std::vector<kilncore::WideString> arguments;
  };

  std::mutex mMutex;
  ProgressCallback mProgress;
  bool mSubscribed = false;
  // Reports run one at a time and in the server's order, whichever library
  // thread takes them: a host's progress bar must not step backwards.
  std::deque<Report> mReports;
  bool mDraining = false;
};

// The server of an application that opens plain files.
class IpcFileServer : public FileServer, protected RemoteObject {
 public:
  using RemoteObject::RemoteObject;
  void OpenFile(OpenFileCallback callback, const File& file) override;
};

}  // namespace tether::ipc
