#pragma once

#include "RemoteObject.h"

#include <tether/DarkslideServer.h>
#include <tether/EaselServer.h>
#include <tether/MarlServer.h>
#include <tether/SprocketServer.h>
#include <tether/TolmenServer.h>

namespace tether::ipc {

// The typed servers: each is a server object of one owning application, from
// which the generic server and, for some, a file server are connected.
template <class Base>
class IpcTypedServer : public Base, protected RemoteObject {
 public:
  IpcTypedServer(std::shared_ptr<Connection> connection, uint64_t handle, ServerConnectionType type)
      : RemoteObject(std::move(connection), handle), mType(type) {}

  void ConnectLinkedServer(GenericServer::LinkedServerCallback callback, ServerConnectionType type) override;
  void ConnectLinkedServer(GenericServer::LinkedServerCallback callback) override {
    ConnectLinkedServer(std::move(callback), mType);
  }

 protected:
  void ConnectFileServerOf(std::function<void(ConnectionStatus, const std::shared_ptr<FileServer>&)> callback);

 private:
  ServerConnectionType mType;
};

using IpcMarlServer = IpcTypedServer<MarlServer>;
using IpcSprocketServer = IpcTypedServer<SprocketServer>;
using IpcDarkslideServer = IpcTypedServer<DarkslideServer>;

class IpcTolmenServer : public IpcTypedServer<TolmenServer> {
 public:
  using IpcTypedServer::IpcTypedServer;
  void CreateFileServerLink(FileServerCallback callback) override { ConnectFileServerOf(std::move(callback)); }
};

class IpcEaselServer : public IpcTypedServer<EaselServer> {
 public:
  using IpcTypedServer::IpcTypedServer;
  void ConnectFileServer(FileServerCallback callback) override { ConnectFileServerOf(std::move(callback)); }
};

}  // namespace tether::ipc
