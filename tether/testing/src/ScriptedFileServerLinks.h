#pragma once

#include "ScriptedFileServer.h"
#include "ScriptedTypedServer.h"

#include <tether/EaselServer.h>
#include <tether/TolmenServer.h>

namespace tether::testing {

// The typed servers that also reach a file server.

class ScriptedTolmenServer : public ScriptedTypedServer<TolmenServer> {
 public:
  explicit ScriptedTolmenServer(std::weak_ptr<ScriptedBackend> backend)
      : ScriptedTypedServer(std::move(backend), "TolmenServer") {}

  void CreateFileServerLink(FileServerCallback callback) override {
    ConnectFiles(Operation::kCreateFileServerLink, std::move(callback));
  }

 protected:
  template <class Callback>
  void ConnectFiles(Operation operation, Callback callback) {
    auto ticket = Begin(operation, Key());
    std::shared_ptr<FileServer> server;
    if (ticket.backend) {
      server = std::make_shared<ScriptedFileServer>(Backend(), "FileServer");
    }
    Finish(ticket, operation, Key(), [callback = std::move(callback), server](const Behaviour& behaviour) {
      callback(behaviour.status, Pick(behaviour, server));
    });
  }
};

class ScriptedEaselServer : public ScriptedTypedServer<EaselServer> {
 public:
  explicit ScriptedEaselServer(std::weak_ptr<ScriptedBackend> backend)
      : ScriptedTypedServer(std::move(backend), "EaselServer") {}

  void ConnectFileServer(FileServerCallback callback) override {
    auto ticket = Begin(Operation::kConnectFileServer, Key());
    std::shared_ptr<FileServer> server;
    if (ticket.backend) {
      server = std::make_shared<ScriptedFileServer>(Backend(), "FileServer");
    }
    Finish(ticket, Operation::kConnectFileServer, Key(),
           [callback = std::move(callback), server](const Behaviour& behaviour) {
             callback(behaviour.status, Pick(behaviour, server));
           });
  }
};

}  // namespace tether::testing
