#pragma once

#include "ScriptedObject.h"
#include "ScriptedServer.h"

#include <tether/GenericServer.h>

#include <memory>
#include <optional>
#include <string>

namespace tether::testing {

// A typed server of the double: `Base` is MarlServer, SprocketServer, ...
template <class Base>
class ScriptedTypedServer : public Base, protected ScriptedObject {
 public:
  ScriptedTypedServer(std::weak_ptr<ScriptedBackend> backend, std::string className)
      : ScriptedObject(std::move(backend), std::move(className)) {}

  void ConnectLinkedServer(GenericServer::LinkedServerCallback callback, ServerConnectionType type) override {
    Connect(std::move(callback), type);
  }
  void ConnectLinkedServer(GenericServer::LinkedServerCallback callback) override {
    Connect(std::move(callback), std::nullopt);
  }

 private:
  void Connect(GenericServer::LinkedServerCallback callback, std::optional<ServerConnectionType> type) {
    auto ticket = Begin(Operation::kConnectLinkedServer, Key(), ConnectLinkedServerArgs{type});
    std::shared_ptr<Server> server;
    if (ticket.backend) {
      auto scripted = std::make_shared<ScriptedServer>(Backend());
      ticket.backend->RegisterServer(scripted);
      server = scripted;
    }
    Finish(ticket, Operation::kConnectLinkedServer, Key(),
           [callback = std::move(callback), server](const Behaviour& behaviour) {
             callback(behaviour.status, Pick(behaviour, server));
           });
  }
};

}  // namespace tether::testing
