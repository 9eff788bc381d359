#pragma once

#include <stdexcept>
#include <string>

namespace tether::wire {

// A message or frame that breaks the protocol: malformed bytes, a value of the
// wrong type, a size or count out of bounds. Whoever decodes catches it and
// fails the request (or the connection) instead of crashing.
class WireError : public std::runtime_error {
 public:
  explicit WireError(const std::string& what) : std::runtime_error(what) {}
};

}  // namespace tether::wire
