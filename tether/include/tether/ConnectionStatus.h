#pragma once

#include <cstdint>

namespace tether {

// The outcome of every asynchronous answer of the client library.
//
// 0 means that the server answered. Every other value is a failure; callers are
// expected to tell only "0" from "not 0", so a backend may pass on any non-zero
// code it receives. The named failures are the ones this library produces
// itself.
enum ConnectionStatus : int32_t {
  kConnectionStatusOK = 0,
  // A general failure reported by a server or a backend.
  kConnectionStatusFailed = 1,
  // No backend was installed when the call was made (see InstallBackend).
  kConnectionStatusNoBackend = 2,
  // The server went away or could not be reached.
  kConnectionStatusServerUnavailable = 3,
  // The requested object does not exist on the server.
  kConnectionStatusNotFound = 4,
};

}  // namespace tether
