#pragma once

#include <tether/AnyTree.h>
#include <tether/Backend.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/CallRecord.h>
#include <tether/testing/Operation.h>
#include <tether/testing/ScriptedProjectSetup.h>
#include <tether/testing/ScriptedSourceSetup.h>

#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

#include <any>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tether::testing {

class WorkerPool;
class ScriptedServer;
class ScriptedSource;

// The answer of a scripted SendRequest: a reply tree, or a failure code (not 0)
// with its message.
struct RequestOutcome {
  AnyValue reply;
  int errorCode = 0;
  kilncore::WideString errorMessage;
};

// A callback that a kHold behaviour keeps.
struct HeldCallback {
  uint64_t id = 0;
  Operation operation{};
  std::string key;
};

// An exception that a callback threw on a thread of the backend.
struct CallbackException {
  Operation operation{};
  std::string key;
  std::string what;
};

// An in-process backend of the client library that unit tests script and
// observe.
//
// Answers come on the backend's own worker threads, never on the caller's,
// unless a behaviour says otherwise (Behaviour.h). Every call is recorded with
// its arguments. Every object it hands out is a scripted implementation of the
// library's abstract classes.
//
// Keys. Each call has a key, used to script behaviours for one object and
// recorded with the call:
// - CreateTetherServer and the typed servers' operations: the class name
//   ("MarlServer", "SprocketServer", "TolmenServer", "EaselServer",
//   "DarkslideServer");
// - Server::SetProgressCallback: "Server";
// - OpenProject, OpenProjectWithJSON, OpenFile: the file's path in UTF-8, and
//   the project's or file source's operations the same path;
// - OpenFarsideAsset: the request's asset, and that source's operations too;
// - GetSource: the id's text (Guid::AsUTF8String), and that source's operations
//   and its renderers' the same;
// - GetContainer and the container's operations: the id's text.
// Sources and projects are described by the setup registered under their key
// (SetSource, SetProject), or else by the default setup.
//
// Install it with ScopedBackend (ScopedBackend.h), which also shuts it down.
class ScriptedBackend : public Backend, public std::enable_shared_from_this<ScriptedBackend> {
 public:
  using Answer = std::function<void(const Behaviour&)>;
  using RequestResponder = std::function<RequestOutcome(const std::any& call)>;

  // The longest that the Wait... operations wait by default.
  static constexpr std::chrono::milliseconds kDefaultWait{10000};

  static std::shared_ptr<ScriptedBackend> Create(size_t workerThreads = 2);
  ~ScriptedBackend() override;

  // Stops the worker threads. Answers not delivered yet and held callbacks are
  // destroyed without being called. Later calls fail asynchronously with
  // kConnectionStatusServerUnavailable. Must not be called from a callback.
  void Shutdown();

  // Backend.
  void CreateMarlServer(MarlServer::CreateCallback callback, ServerConnectionType type) override;
  void CreateSprocketServer(SprocketServer::CreateCallback callback, ServerConnectionType type) override;
  void CreateTolmenServer(TolmenServer::CreateCallback callback, ServerConnectionType type) override;
  void CreateEaselServer(EaselServer::CreateCallback callback) override;
  void CreateDarkslideServer(DarkslideServer::CreateCallback callback) override;

  // --- Scripting. An empty key means every object. A call takes, in this
  // order, the first of: the next one-shot behaviour for its key, the standing
  // behaviour for its key, the next one-shot behaviour for every object, the
  // standing behaviour for every object, and success on a worker thread.

  // The standing behaviour of `operation` (on the objects of `key`).
  void Script(Operation operation, Behaviour behaviour, std::string key = {});
  // The behaviour of the next call only; several queue up in order.
  void ScriptNext(Operation operation, Behaviour behaviour, std::string key = {});
  void ClearScripts();

  // --- The world that the scripted objects describe.

  void SetDefaultSource(ScriptedSourceSetup setup);
  void SetSource(const std::string& key, ScriptedSourceSetup setup);
  void SetSource(const kilncore::utility::Guid& id, ScriptedSourceSetup setup);
  // Changes the setup of `key` (starting from the default if none is registered)
  // and that of every live source made under `key`.
  void UpdateSource(const std::string& key, const std::function<void(ScriptedSourceSetup&)>& change);
  void SetDefaultProject(ScriptedProjectSetup setup);
  void SetProject(const std::string& path, ScriptedProjectSetup setup);
  // Answers SendRequest; by default every request gets an empty object.
  void SetRequestResponder(RequestResponder responder);
  // Calls the progress callback of every live Server, on worker threads.
  void EmitProgress(const std::string& progressType, double progress,
                    const std::vector<kilncore::WideString>& arguments);

  // --- Observation.

  std::vector<CallRecord> Calls() const;
  std::vector<CallRecord> Calls(Operation operation) const;
  size_t CallCount(Operation operation) const;
  size_t CallCount(Operation operation, const std::string& key) const;
  // Waits until `count` calls of `operation` have been received.
  bool WaitForCalls(Operation operation, size_t count, std::chrono::milliseconds timeout = kDefaultWait);
  // Answers of `operation` delivered so far (each of a kTwice counts).
  size_t DeliveredCount(Operation operation) const;
  // Waits until no answer is queued, delayed or running. Held callbacks don't
  // count: they wait for the test.
  bool WaitForIdle(std::chrono::milliseconds timeout = kDefaultWait);

  std::vector<HeldCallback> Held() const;
  bool WaitForHeld(size_t count, std::chrono::milliseconds timeout = kDefaultWait);
  // Delivers a held callback on a worker thread.
  bool ReleaseHeld(uint64_t id);
  // Delivers a held callback here, on the calling thread, before returning.
  bool RunHeldHere(uint64_t id);
  // Destroys a held callback without calling it.
  bool DropHeld(uint64_t id);
  // Releases every held callback, in the order they were held.
  size_t ReleaseAllHeld();

  std::vector<CallbackException> CallbackExceptions() const;
  // Whether the calling thread is one of the backend's worker threads.
  bool IsWorkerThread() const;

  // --- For the scripted objects.

  // Records a call and picks its behaviour.
  Behaviour RecordCall(Operation operation, const std::string& key, std::any arguments);
  // Hands `answer` back as `behaviour` says.
  void Deliver(Operation operation, const std::string& key, const Behaviour& behaviour, Answer answer);
  ScriptedSourceSetup SourceSetupFor(const std::string& key) const;
  ScriptedProjectSetup ProjectSetupFor(const std::string& path) const;
  RequestOutcome Respond(const std::any& call) const;
  void RegisterSource(const std::string& key, const std::shared_ptr<ScriptedSource>& source);
  void RegisterServer(const std::shared_ptr<ScriptedServer>& server);

 private:
  struct ScriptSlot {
    std::deque<Behaviour> next;
    std::optional<Behaviour> standing;
  };
  struct HeldEntry {
    HeldCallback info;
    Behaviour behaviour;
    Answer answer;
  };

  explicit ScriptedBackend(size_t workerThreads);

  Behaviour ResolveLocked(Operation operation, const std::string& key);
  void RunAnswer(Operation operation, const std::string& key, const Behaviour& behaviour,
                 const Answer& answer);
  void Post(Operation operation, const std::string& key, const Behaviour& behaviour, Answer answer,
            std::chrono::milliseconds delay);
  std::optional<HeldEntry> TakeHeld(uint64_t id);
  template <class Predicate>
  bool WaitFor(std::chrono::milliseconds timeout, Predicate predicate);

  std::unique_ptr<WorkerPool> mPool;

  mutable std::mutex mMutex;
  std::condition_variable mChanged;
  std::vector<CallRecord> mCalls;
  std::map<Operation, size_t> mDelivered;
  std::map<std::pair<Operation, std::string>, ScriptSlot> mScripts;
  std::vector<HeldEntry> mHeld;
  uint64_t mNextHeldId = 1;
  std::vector<CallbackException> mExceptions;

  ScriptedSourceSetup mDefaultSource;
  std::map<std::string, ScriptedSourceSetup> mSources;
  std::map<std::string, std::vector<std::weak_ptr<ScriptedSource>>> mLiveSources;
  ScriptedProjectSetup mDefaultProject;
  std::map<std::string, ScriptedProjectSetup> mProjects;
  RequestResponder mResponder;
  std::vector<std::weak_ptr<ScriptedServer>> mServers;
};

}  // namespace tether::testing
