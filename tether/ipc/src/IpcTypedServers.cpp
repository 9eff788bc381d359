#include "IpcTypedServers.h"

#include "IpcServer.h"

namespace tether::ipc {

template <class Base>
void IpcTypedServer<Base>::ConnectLinkedServer(GenericServer::LinkedServerCallback callback,
                                               ServerConnectionType type) {
  auto connection = GetConnection();
  Request(
      "typed.connect-linked-server", AnyObject{{"connectionType", MakeAny(static_cast<uint32_t>(type))}},
      [callback, connection](Reply& reply) -> Connection::Completion {
        auto server = std::make_shared<IpcServer>(connection, HandleOf(reply));
        return [callback, server] { callback(kConnectionStatusOK, server); };
      },
      FailWith(callback, std::shared_ptr<Server>()));
}

template <class Base>
void IpcTypedServer<Base>::ConnectFileServerOf(
    std::function<void(ConnectionStatus, const std::shared_ptr<FileServer>&)> callback) {
  auto connection = GetConnection();
  Request(
      "typed.connect-file-server", AnyObject{},
      [callback, connection](Reply& reply) -> Connection::Completion {
        auto server = std::make_shared<IpcFileServer>(connection, HandleOf(reply));
        return [callback, server] { callback(kConnectionStatusOK, server); };
      },
      FailWith(callback, std::shared_ptr<FileServer>()));
}

template class IpcTypedServer<MarlServer>;
template class IpcTypedServer<SprocketServer>;
template class IpcTypedServer<TolmenServer>;
template class IpcTypedServer<EaselServer>;
template class IpcTypedServer<DarkslideServer>;

}  // namespace tether::ipc
