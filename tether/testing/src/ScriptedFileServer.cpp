#include "ScriptedFileServer.h"

#include "ScriptedSource.h"
#include "TextConversion.h"

namespace tether::testing {

ScriptedFileServer::ScriptedFileServer(std::weak_ptr<ScriptedBackend> backend, std::string className)
    : ScriptedObject(std::move(backend), std::move(className)) {}

void ScriptedFileServer::OpenFile(OpenFileCallback callback, const File& file) {
  const std::string key = ToUTF8(file.FullPath());
  auto ticket = Begin(Operation::kOpenFile, key, OpenFileArgs{file});
  auto source = ScriptedSource::Make(ticket.backend, Backend(), key, std::nullopt);
  Finish(ticket, Operation::kOpenFile, key, [callback = std::move(callback), source](const Behaviour& behaviour) {
    callback(behaviour.status, Pick<Source>(behaviour, source), kilncore::WideString(),
             kilncore::WideString(), 0);
  });
}

}  // namespace tether::testing
