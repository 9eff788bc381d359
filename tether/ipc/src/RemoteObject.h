#pragma once

#include "Connection.h"

#include <tether/ConnectionStatus.h>
#include <tether/wire/TreeAccess.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

namespace tether::ipc {

// What every client object of a server object shares: the connection and the
// server's handle. The server object is released when the client object goes.
class RemoteObject {
 public:
  RemoteObject(std::shared_ptr<Connection> connection, uint64_t handle)
      : mConnection(std::move(connection)), mHandle(handle) {}

 protected:
  ~RemoteObject() { mConnection->Notify("release", MakeAny(AnyObject{{"handle", MakeAny(mHandle)}})); }
  RemoteObject(const RemoteObject&) = delete;
  RemoteObject& operator=(const RemoteObject&) = delete;

  // A request about this object: `arguments` plus the object's handle.
  void Request(const std::string& op, AnyObject arguments, Connection::Decoder decode, Connection::Failer fail,
               std::string cancelKey = {}) const {
    arguments["handle"] = MakeAny(mHandle);
    mConnection->Call(op, MakeAny(std::move(arguments)), std::move(decode), std::move(fail), std::move(cancelKey));
  }

  const std::shared_ptr<Connection>& GetConnection() const { return mConnection; }
  uint64_t Handle() const { return mHandle; }

 private:
  std::shared_ptr<Connection> mConnection;
  uint64_t mHandle;
};

// The failure completion of a callback shaped (ConnectionStatus, results...):
// the status with the results' empty values.
template <class Callback, class... Empty>
Connection::Failer FailWith(Callback callback, Empty... empty) {
  return [callback = std::move(callback), empty...](int32_t status) -> Connection::Completion {
    return [callback, status, empty...] { callback(static_cast<ConnectionStatus>(status), empty...); };
  };
}

// The handle that a reply gives for a new server object.
inline uint64_t HandleOf(const Reply& reply) {
  return wire::AsUint64(wire::Field(wire::AsObject(reply.body), "handle"));
}

}  // namespace tether::ipc
