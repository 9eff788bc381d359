#pragma once

#include <tether/DeferredDelivery.h>
#include <tether/testing/ScriptedBackend.h>

#include <any>
#include <memory>
#include <string>
#include <utility>

namespace tether::testing {

// What every scripted object shares: a weak link to its backend (objects may
// outlive it) and the key under which its calls are recorded and scripted.
class ScriptedObject {
 protected:
  ScriptedObject(std::weak_ptr<ScriptedBackend> backend, std::string key)
      : mBackend(std::move(backend)), mKey(std::move(key)) {}

  // One call: the backend, if it still exists, and the behaviour it picked.
  struct Ticket {
    std::shared_ptr<ScriptedBackend> backend;
    Behaviour behaviour;
  };

  Ticket Begin(Operation operation, const std::string& key, std::any arguments = {}) const {
    Ticket ticket{mBackend.lock(), Behaviour::Fail(kConnectionStatusServerUnavailable)};
    if (ticket.backend) {
      ticket.behaviour = ticket.backend->RecordCall(operation, key, std::move(arguments));
    }
    return ticket;
  }

  // Hands the answer back; without a backend it fails, later, on the library's
  // fallback thread.
  static void Finish(const Ticket& ticket, Operation operation, const std::string& key,
                     ScriptedBackend::Answer answer) {
    if (ticket.backend) {
      ticket.backend->Deliver(operation, key, ticket.behaviour, std::move(answer));
      return;
    }
    DeliverLater([answer = std::move(answer), behaviour = ticket.behaviour] { answer(behaviour); });
  }

  // The object that a behaviour lets through: null for a null result, and for a
  // failure unless the behaviour keeps results.
  template <class T>
  static std::shared_ptr<T> Pick(const Behaviour& behaviour, const std::shared_ptr<T>& object) {
    if (behaviour.nullResult || (behaviour.status != 0 && !behaviour.keepResultOnFailure)) {
      return nullptr;
    }
    return object;
  }
  // The same for values: the default value stands for "null".
  template <class T>
  static T PickValue(const Behaviour& behaviour, const T& value) {
    if (behaviour.nullResult || (behaviour.status != 0 && !behaviour.keepResultOnFailure)) {
      return T{};
    }
    return value;
  }

  const std::weak_ptr<ScriptedBackend>& Backend() const { return mBackend; }
  const std::string& Key() const { return mKey; }

 private:
  std::weak_ptr<ScriptedBackend> mBackend;
  std::string mKey;
};

}  // namespace tether::testing
