#include "ScriptedServer.h"

#include "ScriptedProject.h"
#include "ScriptedSource.h"
#include "TextConversion.h"

namespace tether::testing {

ScriptedServer::ScriptedServer(std::weak_ptr<ScriptedBackend> backend)
    : ScriptedObject(std::move(backend), "Server") {}

void ScriptedServer::SetProgressCallback(ProgressCallback callback) {
  Begin(Operation::kSetProgressCallback, Key());
  std::lock_guard lock(mMutex);
  mProgress = std::move(callback);
}

Server::ProgressCallback ScriptedServer::GetProgressCallback() const {
  std::lock_guard lock(mMutex);
  return mProgress;
}

void ScriptedServer::OpenProject(ProjectCallback callback, const File& file) {
  Open(Operation::kOpenProject, std::move(callback), file, OpenProjectArgs{file});
}

void ScriptedServer::OpenProjectWithJSON(ProjectCallback callback, const File& file, const std::string& json) {
  Open(Operation::kOpenProjectWithJSON, std::move(callback), file, OpenProjectWithJSONArgs{file, json});
}

void ScriptedServer::Open(Operation operation, ProjectCallback callback, const File& file, std::any arguments) {
  const std::string key = ToUTF8(file.FullPath());
  auto ticket = Begin(operation, key, std::move(arguments));
  std::shared_ptr<Project> project;
  if (ticket.backend) {
    project = std::make_shared<ScriptedProject>(Backend(), key, file, ticket.backend->ProjectSetupFor(key));
  }
  Finish(ticket, operation, key, [callback = std::move(callback), project](const Behaviour& behaviour) {
    callback(behaviour.status, Pick(behaviour, project));
  });
}

void ScriptedServer::OpenFarsideAsset(SourceCallback callback, const FarsideAssetRequestInfo& request) {
  const std::string& key = request.asset;
  auto ticket = Begin(Operation::kOpenFarsideAsset, key, OpenFarsideAssetArgs{request});
  auto source = ScriptedSource::Make(ticket.backend, Backend(), key, std::nullopt);
  Finish(ticket, Operation::kOpenFarsideAsset, key,
         [callback = std::move(callback), source](const Behaviour& behaviour) {
           callback(behaviour.status, Pick<Source>(behaviour, source));
         });
}

}  // namespace tether::testing
