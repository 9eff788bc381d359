#include <tether/testing/ScriptedBackend.h>

#include "ScriptedFileServerLinks.h"
#include "ScriptedServer.h"
#include "ScriptedSource.h"
#include "ScriptedTypedServer.h"
#include "WorkerPool.h"

#include <tether/DarkslideServer.h>
#include <tether/DeferredDelivery.h>
#include <tether/MarlServer.h>
#include <tether/SprocketServer.h>

#include <algorithm>
#include <exception>

namespace tether::testing {
namespace {

// Every typed server is made the same way; only the class differs.
template <class Scripted, class Callback>
void CreateTypedServer(ScriptedBackend& backend, Operation operation, const char* className,
                       Callback callback, std::optional<ServerConnectionType> type) {
  Behaviour behaviour = backend.RecordCall(operation, className, CreateServerArgs{type});
  auto server = std::make_shared<Scripted>(backend.weak_from_this(), className);
  backend.Deliver(operation, className, behaviour,
                  [callback = std::move(callback), server](const Behaviour& answer) {
                    const bool give = !answer.nullResult && (answer.status == 0 || answer.keepResultOnFailure);
                    callback(answer.status, give ? server : nullptr);
                  });
}

// The Tolmen and Easel servers take only the backend.
template <class Scripted>
struct NamedOnly : Scripted {
  NamedOnly(std::weak_ptr<ScriptedBackend> backend, const char*) : Scripted(std::move(backend)) {}
};

}  // namespace

std::shared_ptr<ScriptedBackend> ScriptedBackend::Create(size_t workerThreads) {
  return std::shared_ptr<ScriptedBackend>(new ScriptedBackend(workerThreads));
}

ScriptedBackend::ScriptedBackend(size_t workerThreads)
    : mPool(std::make_unique<WorkerPool>(workerThreads)), mDefaultSource(ScriptedSourceSetup::Typical()) {}

ScriptedBackend::~ScriptedBackend() {
  if (mPool && mPool->IsWorkerThread()) {
    // Released from one of its own answers: the thread can't join itself, so the
    // pool is left to end with the process.
    mPool->Stop();
    (void)mPool.release();
    return;
  }
  Shutdown();
}

void ScriptedBackend::Shutdown() {
  mPool->Stop();
  std::vector<HeldEntry> held;
  {
    std::lock_guard lock(mMutex);
    held.swap(mHeld);
  }
  held.clear();
  mChanged.notify_all();
}

void ScriptedBackend::CreateMarlServer(MarlServer::CreateCallback callback, ServerConnectionType type) {
  CreateTypedServer<ScriptedTypedServer<MarlServer>>(*this, Operation::kCreateMarlServer, "MarlServer",
                                                     std::move(callback), type);
}

void ScriptedBackend::CreateSprocketServer(SprocketServer::CreateCallback callback, ServerConnectionType type) {
  CreateTypedServer<ScriptedTypedServer<SprocketServer>>(*this, Operation::kCreateSprocketServer,
                                                         "SprocketServer", std::move(callback), type);
}

void ScriptedBackend::CreateTolmenServer(TolmenServer::CreateCallback callback, ServerConnectionType type) {
  CreateTypedServer<NamedOnly<ScriptedTolmenServer>>(*this, Operation::kCreateTolmenServer, "TolmenServer",
                                                     std::move(callback), type);
}

void ScriptedBackend::CreateEaselServer(EaselServer::CreateCallback callback) {
  CreateTypedServer<NamedOnly<ScriptedEaselServer>>(*this, Operation::kCreateEaselServer, "EaselServer",
                                                    std::move(callback), std::nullopt);
}

void ScriptedBackend::CreateDarkslideServer(DarkslideServer::CreateCallback callback) {
  CreateTypedServer<ScriptedTypedServer<DarkslideServer>>(*this, Operation::kCreateDarkslideServer,
                                                          "DarkslideServer", std::move(callback), std::nullopt);
}

// --- Scripting.

void ScriptedBackend::Script(Operation operation, Behaviour behaviour, std::string key) {
  std::lock_guard lock(mMutex);
  mScripts[{operation, std::move(key)}].standing = std::move(behaviour);
}

void ScriptedBackend::ScriptNext(Operation operation, Behaviour behaviour, std::string key) {
  std::lock_guard lock(mMutex);
  mScripts[{operation, std::move(key)}].next.push_back(std::move(behaviour));
}

void ScriptedBackend::ClearScripts() {
  std::lock_guard lock(mMutex);
  mScripts.clear();
}

Behaviour ScriptedBackend::ResolveLocked(Operation operation, const std::string& key) {
  auto take = [&](const std::string& slotKey) -> std::optional<Behaviour> {
    auto found = mScripts.find({operation, slotKey});
    if (found == mScripts.end()) {
      return std::nullopt;
    }
    ScriptSlot& slot = found->second;
    if (!slot.next.empty()) {
      Behaviour behaviour = std::move(slot.next.front());
      slot.next.pop_front();
      return behaviour;
    }
    return slot.standing;
  };
  if (!key.empty()) {
    if (auto behaviour = take(key)) {
      return *behaviour;
    }
  }
  return take(std::string()).value_or(Behaviour{});
}

// --- The world.

void ScriptedBackend::SetDefaultSource(ScriptedSourceSetup setup) {
  std::lock_guard lock(mMutex);
  mDefaultSource = std::move(setup);
}

void ScriptedBackend::SetSource(const std::string& key, ScriptedSourceSetup setup) {
  std::lock_guard lock(mMutex);
  mSources[key] = std::move(setup);
}

void ScriptedBackend::SetSource(const kilncore::utility::Guid& id, ScriptedSourceSetup setup) {
  if (setup.info.sourceID.IsNil()) {
    setup.info.sourceID = id;
  }
  SetSource(id.AsUTF8String(), std::move(setup));
}

void ScriptedBackend::UpdateSource(const std::string& key, const std::function<void(ScriptedSourceSetup&)>& change) {
  std::vector<std::shared_ptr<ScriptedSource>> live;
  {
    std::lock_guard lock(mMutex);
    auto found = mSources.find(key);
    if (found == mSources.end()) {
      found = mSources.emplace(key, mDefaultSource).first;
    }
    change(found->second);
    for (const auto& weak : mLiveSources[key]) {
      if (auto source = weak.lock()) {
        live.push_back(std::move(source));
      }
    }
  }
  for (const auto& source : live) {
    source->Update(change);
  }
}

void ScriptedBackend::SetDefaultProject(ScriptedProjectSetup setup) {
  std::lock_guard lock(mMutex);
  mDefaultProject = std::move(setup);
}

void ScriptedBackend::SetProject(const std::string& path, ScriptedProjectSetup setup) {
  std::lock_guard lock(mMutex);
  mProjects[path] = std::move(setup);
}

void ScriptedBackend::SetRequestResponder(RequestResponder responder) {
  std::lock_guard lock(mMutex);
  mResponder = std::move(responder);
}

void ScriptedBackend::EmitProgress(const std::string& progressType, double progress,
                                   const std::vector<kilncore::WideString>& arguments) {
  std::vector<std::shared_ptr<ScriptedServer>> servers;
  {
    std::lock_guard lock(mMutex);
    for (const auto& weak : mServers) {
      if (auto server = weak.lock()) {
        servers.push_back(std::move(server));
      }
    }
  }
  for (const auto& server : servers) {
    if (auto report = server->GetProgressCallback()) {
      Post(Operation::kSetProgressCallback, "Server", Behaviour{},
           [report, progressType, progress, arguments](const Behaviour&) { report(progressType, progress, arguments); },
           std::chrono::milliseconds(0));
    }
  }
}

ScriptedSourceSetup ScriptedBackend::SourceSetupFor(const std::string& key) const {
  std::lock_guard lock(mMutex);
  auto found = mSources.find(key);
  return found != mSources.end() ? found->second : mDefaultSource;
}

ScriptedProjectSetup ScriptedBackend::ProjectSetupFor(const std::string& path) const {
  std::lock_guard lock(mMutex);
  auto found = mProjects.find(path);
  return found != mProjects.end() ? found->second : mDefaultProject;
}

RequestOutcome ScriptedBackend::Respond(const std::any& call) const {
  RequestResponder responder;
  {
    std::lock_guard lock(mMutex);
    responder = mResponder;
  }
  if (responder) {
    return responder(call);
  }
  return RequestOutcome{MakeAny(AnyObject{}), 0, {}};
}

void ScriptedBackend::RegisterSource(const std::string& key, const std::shared_ptr<ScriptedSource>& source) {
  std::lock_guard lock(mMutex);
  auto& live = mLiveSources[key];
  std::erase_if(live, [](const auto& weak) { return weak.expired(); });
  live.push_back(source);
}

void ScriptedBackend::RegisterServer(const std::shared_ptr<ScriptedServer>& server) {
  std::lock_guard lock(mMutex);
  std::erase_if(mServers, [](const auto& weak) { return weak.expired(); });
  mServers.push_back(server);
}

// --- Recording and delivery.

Behaviour ScriptedBackend::RecordCall(Operation operation, const std::string& key, std::any arguments) {
  Behaviour behaviour;
  {
    std::lock_guard lock(mMutex);
    mCalls.push_back(CallRecord{mCalls.size(), operation, key, std::move(arguments)});
    behaviour = ResolveLocked(operation, key);
  }
  mChanged.notify_all();
  return behaviour;
}

void ScriptedBackend::Deliver(Operation operation, const std::string& key, const Behaviour& behaviour,
                              Answer answer) {
  switch (behaviour.delivery) {
    case Delivery::kSynchronous:
      RunAnswer(operation, key, behaviour, answer);
      return;
    case Delivery::kDrop:
      // `answer` and the caller's callback in it end here, uncalled.
      return;
    case Delivery::kHold: {
      {
        std::lock_guard lock(mMutex);
        mHeld.push_back(HeldEntry{HeldCallback{mNextHeldId++, operation, key}, behaviour, std::move(answer)});
      }
      mChanged.notify_all();
      return;
    }
    case Delivery::kTwice:
      Post(operation, key, behaviour, answer, behaviour.delay);
      Post(operation, key, behaviour, std::move(answer), behaviour.delay);
      return;
    case Delivery::kAsync:
      Post(operation, key, behaviour, std::move(answer), behaviour.delay);
      return;
  }
}

void ScriptedBackend::Post(Operation operation, const std::string& key, const Behaviour& behaviour, Answer answer,
                           std::chrono::milliseconds delay) {
  WorkerPool::Task task = [this, operation, key, behaviour, answer] { RunAnswer(operation, key, behaviour, answer); };
  if (mPool->Post(task, WorkerPool::Clock::now() + delay)) {
    return;
  }
  // Shut down: the caller still gets an answer, a failure, on another thread.
  DeliverLater([answer = std::move(answer)] { answer(Behaviour::Fail(kConnectionStatusServerUnavailable)); });
}

void ScriptedBackend::RunAnswer(Operation operation, const std::string& key, const Behaviour& behaviour,
                                const Answer& answer) {
  std::optional<CallbackException> failure;
  try {
    answer(behaviour);
  } catch (const std::exception& exception) {
    failure = CallbackException{operation, key, exception.what()};
  } catch (...) {
    failure = CallbackException{operation, key, "unknown exception"};
  }
  {
    std::lock_guard lock(mMutex);
    ++mDelivered[operation];
    if (failure) {
      mExceptions.push_back(std::move(*failure));
    }
  }
  mChanged.notify_all();
}

// --- Observation.

template <class Predicate>
bool ScriptedBackend::WaitFor(std::chrono::milliseconds timeout, Predicate predicate) {
  std::unique_lock lock(mMutex);
  return mChanged.wait_for(lock, timeout, predicate);
}

std::vector<CallRecord> ScriptedBackend::Calls() const {
  std::lock_guard lock(mMutex);
  return mCalls;
}

std::vector<CallRecord> ScriptedBackend::Calls(Operation operation) const {
  std::lock_guard lock(mMutex);
  std::vector<CallRecord> result;
  std::copy_if(mCalls.begin(), mCalls.end(), std::back_inserter(result),
               [operation](const CallRecord& call) { return call.operation == operation; });
  return result;
}

size_t ScriptedBackend::CallCount(Operation operation) const {
  std::lock_guard lock(mMutex);
  return std::count_if(mCalls.begin(), mCalls.end(),
                       [operation](const CallRecord& call) { return call.operation == operation; });
}

size_t ScriptedBackend::CallCount(Operation operation, const std::string& key) const {
  std::lock_guard lock(mMutex);
  return std::count_if(mCalls.begin(), mCalls.end(), [&](const CallRecord& call) {
    return call.operation == operation && call.key == key;
  });
}

bool ScriptedBackend::WaitForCalls(Operation operation, size_t count, std::chrono::milliseconds timeout) {
  return WaitFor(timeout, [&] {
    return static_cast<size_t>(std::count_if(mCalls.begin(), mCalls.end(), [operation](const CallRecord& call) {
             return call.operation == operation;
           })) >= count;
  });
}

size_t ScriptedBackend::DeliveredCount(Operation operation) const {
  std::lock_guard lock(mMutex);
  auto found = mDelivered.find(operation);
  return found == mDelivered.end() ? 0 : found->second;
}

bool ScriptedBackend::WaitForIdle(std::chrono::milliseconds timeout) { return mPool->WaitForIdle(timeout); }

std::vector<HeldCallback> ScriptedBackend::Held() const {
  std::lock_guard lock(mMutex);
  std::vector<HeldCallback> result;
  for (const auto& entry : mHeld) {
    result.push_back(entry.info);
  }
  return result;
}

bool ScriptedBackend::WaitForHeld(size_t count, std::chrono::milliseconds timeout) {
  return WaitFor(timeout, [&] { return mHeld.size() >= count; });
}

std::optional<ScriptedBackend::HeldEntry> ScriptedBackend::TakeHeld(uint64_t id) {
  std::lock_guard lock(mMutex);
  auto found = std::find_if(mHeld.begin(), mHeld.end(), [id](const HeldEntry& entry) { return entry.info.id == id; });
  if (found == mHeld.end()) {
    return std::nullopt;
  }
  HeldEntry entry = std::move(*found);
  mHeld.erase(found);
  return entry;
}

bool ScriptedBackend::ReleaseHeld(uint64_t id) {
  auto entry = TakeHeld(id);
  if (!entry) {
    return false;
  }
  Post(entry->info.operation, entry->info.key, entry->behaviour, std::move(entry->answer),
       std::chrono::milliseconds(0));
  return true;
}

bool ScriptedBackend::RunHeldHere(uint64_t id) {
  auto entry = TakeHeld(id);
  if (!entry) {
    return false;
  }
  RunAnswer(entry->info.operation, entry->info.key, entry->behaviour, entry->answer);
  return true;
}

bool ScriptedBackend::DropHeld(uint64_t id) {
  auto entry = TakeHeld(id);
  return entry.has_value();
}

size_t ScriptedBackend::ReleaseAllHeld() {
  size_t released = 0;
  for (const auto& held : Held()) {
    released += ReleaseHeld(held.id) ? 1 : 0;
  }
  return released;
}

std::vector<CallbackException> ScriptedBackend::CallbackExceptions() const {
  std::lock_guard lock(mMutex);
  return mExceptions;
}

bool ScriptedBackend::IsWorkerThread() const { return mPool->IsWorkerThread(); }

}  // namespace tether::testing
