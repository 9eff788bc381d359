#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tether {

// A server's own words for a request it failed.
//
// Callbacks carry only a ConnectionStatus, so that a module tells "0" from "not
// 0" and nothing more. The reason the server gave (which member of a project
// file is wrong, why a frame can't be had) travels beside the status: a backend
// records it here and traces it on the channel "tether" at level 0, and a host
// that wants to show its user the cause reads it after a failed call.
struct ServerFailure {
  // The protocol operation that failed ("server.open-project", ...).
  std::string operation;
  int32_t status = 0;
  // The server's reason, one line of UTF-8; never empty.
  std::string message;
};

// Records the reason of a failed request (called by backends). A failure with
// an empty message is not recorded.
void RecordServerFailure(ServerFailure failure);

// The most recent failure recorded in this process since the last
// ClearLastServerFailure, if any. Thread-safe.
std::optional<ServerFailure> LastServerFailure();

// Forgets the recorded failure, so that a host can tell the reason of its next
// call from an older one.
void ClearLastServerFailure();

}  // namespace tether
