#pragma once

#include <tether/ConnectionStatus.h>

#include <kilncore/string/WideString.h>

#include <chrono>

namespace tether::testing {

// How the scripted backend hands an answer back.
enum class Delivery {
  // On one of the backend's worker threads, after the behaviour's delay.
  kAsync,
  // Inside the call, on the caller's thread, before the call returns.
  kSynchronous,
  // Never: the callback is destroyed inside the call without being called.
  kDrop,
  // Twice, on worker threads, with the same answer.
  kTwice,
  // Kept until the test releases it (ScriptedBackend::ReleaseHeld, RunHeldHere)
  // or drops it (DropHeld).
  kHold,
};

// The scripted answer to one call.
struct Behaviour {
  // The status given to the callback. For renderers it is the int status, for
  // SendRequest a non-zero status calls onError with it as the code.
  ConnectionStatus status = kConnectionStatusOK;
  // Give a null object (or the default value) even with status 0.
  bool nullResult = false;
  // Give the object even with a failing status (by default a failure gives null).
  bool keepResultOnFailure = false;
  // For asynchronous deliveries: how long after the call the answer comes.
  std::chrono::milliseconds delay{0};
  Delivery delivery = Delivery::kAsync;
  // The message of a failing SendRequest.
  kilncore::WideString errorMessage = u"scripted failure";

  static Behaviour Succeed() { return Behaviour{}; }
  static Behaviour Fail(ConnectionStatus status = kConnectionStatusFailed) {
    Behaviour behaviour;
    behaviour.status = status;
    return behaviour;
  }
  static Behaviour Fail(int status) { return Fail(static_cast<ConnectionStatus>(status)); }
  static Behaviour NullResult() {
    Behaviour behaviour;
    behaviour.nullResult = true;
    return behaviour;
  }

  Behaviour& With(Delivery mode) {
    delivery = mode;
    return *this;
  }
  Behaviour& After(std::chrono::milliseconds wait) {
    delay = wait;
    return *this;
  }
  Behaviour& KeepingResult() {
    keepResultOnFailure = true;
    return *this;
  }
};

}  // namespace tether::testing
