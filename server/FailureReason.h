#pragma once

#include <string>

namespace tetherserver {

// The reason, in words, why the request being handled on this thread fails.
// Whatever handles a request (the session, a project reader, a renderer) sets
// it where it knows the cause; the session sends it beside the failure status
// so that the client's user reads the server's own reason, not just a code.
//
//   FailureReason::Set("$.items[1].layers[1].color: must be an array");
//   return kStatusFailed;
class FailureReason {
 public:
  // Records `text` for the current request of this thread; the last one wins.
  static void Set(std::string text);

  // Clears the reason for one request and keeps what was set during it.
  class Scope {
   public:
    Scope();
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    const std::string& Text() const;
  };
};

}  // namespace tetherserver
