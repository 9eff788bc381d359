#include "Session.h"

#include "FailureReason.h"

#include <tether/wire/MappedBuffer.h>
#include <tether/wire/Protocol.h>
#include <tether/wire/RecordCodec.h>
#include <tether/wire/TreeAccess.h>
#include <tether/wire/WireError.h>

#include <kilncore/logging/Log.h>
#include <kilncore/serialization/JSONBuild.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/HashValueMixerState.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>
#include <set>
#include <system_error>

namespace tetherserver {

using kilncore::utility::Guid;
using namespace tether::wire;
using tether::AnyValue;
using tether::MakeAny;

namespace {

// Status meaning "leave this request unanswered" (a hanging test item, or a
// reply already sent by other means).
constexpr int32_t kNoReply = -1;
constexpr char kRenderOp[] = "video-renderer.render";
constexpr char kRuntimeDomain[] = "TetherServerRuntime";
// A client that stops reading must not hold a worker forever.
constexpr int kSendTimeoutSeconds = 10;

// Requests that only look at the session's tables: answered by the reader.
// Everything that opens, renders or may take a while goes to the workers.
bool IsQuick(const std::string& op) {
  static const std::set<std::string> kQuick{
      "hello",          "server.create",           "typed.connect-linked-server", "typed.connect-file-server",
      "project.get-container", "project.is-source-linked", "project.runtime-font-change", "source.init",
      "source.get-caption-data", "source.set-caption-selection", "source.contains-link", "source.get-runtime-guid"};
  return kQuick.count(op) != 0;
}

// Every request the protocol defines (docs/protocol.md). Anything else is
// answered "not supported" before its arguments are looked at, so that a
// client tells an operation the server lacks from a bad handle.
bool IsKnownRequest(const std::string& op) {
  static const std::set<std::string> kKnown{
      "hello", "server.create", "typed.connect-linked-server", "typed.connect-file-server",
      "server.open-project", "server.open-farside-asset", "file-server.open-file", "project.get-source",
      "project.get-container", "project.get-items-as-xml", "project.is-source-linked",
      "project.runtime-font-change", "source.init", "source.get-video-renderer", "source.get-audio-renderer",
      "source.send-request", "source.render-xmp", "source.get-caption-data", "source.set-caption-selection",
      "source.contains-link", "source.get-runtime-guid", "video-renderer.render", "audio-renderer.render"};
  return kKnown.count(op) != 0;
}

// The body of a failed reply: the reason in words, for the client's log and
// its user.
AnyValue FailureBody(const std::string& message) {
  return message.empty() ? MakeAny(tether::AnyObject{})
                         : MakeAny(tether::AnyObject{{"message", MakeAny(message)}});
}

// An item's runtime identifier: its content state and the server's font
// generation, so that it changes when either does.
Guid RuntimeGuidOf(const Guid& contentState, uint32_t fontGeneration) {
  kilncore::utility::HashValueMixerState state;
  kilncore::utility::UpdateHashState(state, kRuntimeDomain, sizeof(kRuntimeDomain) - 1);
  uint8_t bytes[16];
  Guid::GuidToBytes(contentState, bytes);
  kilncore::utility::UpdateHashState(state, bytes, sizeof(bytes));
  const unsigned char generation[4] = {
      static_cast<unsigned char>(fontGeneration), static_cast<unsigned char>(fontGeneration >> 8),
      static_cast<unsigned char>(fontGeneration >> 16), static_cast<unsigned char>(fontGeneration >> 24)};
  kilncore::utility::UpdateHashState(state, generation, sizeof(generation));
  Guid result;
  kilncore::utility::GetHashResult(state, result);
  return result;
}

}  // namespace

struct Session::Object {
  enum class Kind { kTypedServer, kServer, kFileServer, kProject, kSource, kVideoRenderer, kAudioRenderer };
  Kind kind;
  std::string application;
  std::shared_ptr<const SessionProject> project;
  // Sources and renderers of a remote asset: the asset's openings, which
  // take the place of a project.
  std::shared_ptr<FarsideAssetFollower> asset;
  std::shared_ptr<const SessionItem> item;
  tether::SourceInfo info;
  tether::VideoRenderOptions video;
  tether::AudioRenderOptions audio;
  std::mutex audioMutex;
  int64_t nextSample = 0;
  uint32_t blockFrames = 0;
  // Servers: whether the client asked for progress reports.
  std::atomic<bool> watchingProgress{false};
  // Sources and renderers of a project's item: the project, and its content
  // generation when `item` was taken from it.
  std::mutex itemMutex;
  uint64_t generation = 0;
  // Sources: the caption stream the client selected, by index.
  std::mutex captionMutex;
  std::optional<size_t> selectedCaption;
  // Projects and sources: the server that opened them, whose client may
  // watch their progress (0 and null for none).
  uint64_t serverHandle = 0;
  std::weak_ptr<Object> server;
};

Session::Session(UniqueFd socket, std::shared_ptr<const SessionContent> content, Options options)
    : mChannel(std::move(socket)),
      mContent(std::move(content)),
      mOptions(WithFonts(std::move(options))),
      mPool(BufferPool::Options{mOptions.recycleBuffers}),
      mClientBufferLimit(MappedBuffer::kMaxCapacity) {
  timeval timeout{kSendTimeoutSeconds, 0};
  ::setsockopt(mChannel.Descriptor(), SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
  if (mOptions.idleTimeout.count() > 0) {
    // A peer that says nothing (no hello, half a frame, silence after hello)
    // is dropped: a live client pings far more often than this.
    auto limit = std::chrono::duration_cast<std::chrono::microseconds>(mOptions.idleTimeout);
    timeval idle{static_cast<time_t>(limit.count() / 1000000), static_cast<suseconds_t>(limit.count() % 1000000)};
    ::setsockopt(mChannel.Descriptor(), SOL_SOCKET, SO_RCVTIMEO, &idle, sizeof(idle));
  }
  try {
    for (size_t i = 0; i < std::max<size_t>(1, mOptions.workerThreads); ++i) {
      mWorkers.emplace_back([this] { WorkerLoop(); });
    }
  } catch (...) {
    // No more threads: those that started end before the failure goes on.
    Stop();
    for (auto& worker : mWorkers) {
      worker.join();
    }
    throw;
  }
}

Session::Options Session::WithFonts(Options options) {
  if (!options.fonts) {
    options.fonts = std::make_shared<FontSet>();
  }
  return options;
}

Session::~Session() {
  Stop();
  for (auto& worker : mWorkers) {
    worker.join();
  }
}

void Session::Stop() {
  {
    std::lock_guard lock(mQueueMutex);
    mStopping = true;
  }
  mQueueWake.notify_all();
  mChannel.Shutdown();
}

void Session::Run() {
  try {
    while (auto message = mChannel.Receive()) {
      Dispatch(std::move(*message));
    }
  } catch (const std::system_error& error) {
    if (error.code() == std::errc::resource_unavailable_try_again) {
      ReportFailure("connection", kStatusServerUnavailable, "nothing heard from the client; connection dropped");
    } else {
      kilncore::logging::LogException(std::current_exception(), "tetherserver::Session::Run");
    }
  } catch (const std::exception& error) {
    kilncore::logging::LogException(std::current_exception(), "tetherserver::Session::Run");
  }
  Stop();
}

void Session::Dispatch(Message message) {
  if (message.kind == MessageKind::kNotice) {
    HandleNotice(message);
    return;
  }
  if (message.kind != MessageKind::kRequest) {
    return;
  }
  if (!Admit(message)) {
    return;
  }
  {
    // Held from here until its reply has gone out: what each pong lists.
    std::lock_guard lock(mHeldMutex);
    mHeld.insert(message.id);
  }
  if (message.op == kRenderOp) {
    // Entered here, in the order of the stream, so that a cancel read after
    // the render always finds it.
    RegisterJob(message);
  }
  if (IsQuick(message.op)) {
    // Table lookups answer faster here than a hand-over to a worker would.
    HandleRequest(message);
    return;
  }
  {
    std::lock_guard lock(mQueueMutex);
    mQueue.push_back(std::move(message));
  }
  mQueueWake.notify_one();
}

bool Session::Admit(const Message& message) {
  if (!IsKnownRequest(message.op)) {
    Reply(message.id, kStatusNotSupported, FailureBody("unknown operation \"" + message.op + "\""));
    return false;
  }
  if (message.op == "hello") {
    Greet(message);
    return false;
  }
  if (!mGreeted) {
    // Nothing is served to a peer that hasn't said which protocol it speaks.
    Reply(message.id, kStatusBadMessage, FailureBody("\"" + message.op + "\" before \"hello\""));
    return false;
  }
  return true;
}

void Session::Greet(const Message& message) {
  tether::AnyObject reply{{"protocol", MakeAny(kProtocolVersion)}, {"server", MakeAny(std::string("tether-server"))}};
  try {
    const tether::AnyObject& args = AsObject(message.body);
    if (AsUint32(Field(args, "protocol")) != kProtocolVersion) {
      reply["message"] = MakeAny("this server speaks protocol " + std::to_string(kProtocolVersion));
      Reply(message.id, kStatusNotSupported, MakeAny(std::move(reply)));
      return;
    }
    // The largest buffer the client will map: a frame beyond it is refused
    // before anything is allocated for it.
    if (AnyValue limit = OptionalField(args, "maxBufferBytes")) {
      mClientBufferLimit = std::max<uint64_t>(1, AsUint64(limit));
    }
  } catch (const WireError& error) {
    Reply(message.id, kStatusBadMessage, FailureBody(error.what()));
    return;
  }
  mGreeted = true;
  Reply(message.id, kStatusOK, MakeAny(std::move(reply)));
}

void Session::WorkerLoop() {
  std::unique_lock lock(mQueueMutex);
  for (;;) {
    mQueueWake.wait(lock, [this] { return mStopping || !mQueue.empty(); });
    if (mStopping) {
      return;
    }
    Message message = std::move(mQueue.front());
    mQueue.pop_front();
    lock.unlock();
    HandleRequest(message);
    lock.lock();
  }
}

void Session::HandleNotice(const Message& message) {
  try {
    if (message.op == "ping") {
      mChannel.Send(Pong(message));
      return;
    }
    const tether::AnyObject& args = AsObject(message.body);
    if (message.op == "buffer.release") {
      mPool.Release(AsUint32(Field(args, "buffer")));
      auto forgotten = mPool.TakeForgotten();
      if (!forgotten.empty()) {
        tether::AnyArray ids;
        for (uint32_t id : forgotten) {
          ids.push_back(MakeAny(id));
        }
        Message forget;
        forget.op = "buffer.forget";
        forget.body = MakeAny(tether::AnyObject{{"buffers", MakeAny(std::move(ids))}});
        mChannel.Send(forget);
      }
    } else if (message.op == "release") {
      std::lock_guard lock(mObjectsMutex);
      mObjects.erase(AsUint64(Field(args, "handle")));
    } else if (message.op == "video-renderer.cancel") {
      CancelJobs(AsUint64(Field(args, "handle")), GuidFromTree(Field(args, "job")));
    } else if (message.op == "server.watch-progress") {
      auto server = Find(AsUint64(Field(args, "handle")));
      if (server && server->kind == Object::Kind::kServer) {
        server->watchingProgress = true;
      }
    }
  } catch (const std::exception&) {
    // A malformed notice has nobody to answer to; it is dropped.
  }
}

Message Session::Pong(const Message& ping) {
  Message pong;
  pong.op = "pong";
  tether::AnyObject body;
  const auto* args = ping.body ? std::any_cast<tether::AnyObject>(ping.body.get()) : nullptr;
  if (args && args->count("ping")) {
    // Everything the client sent before this ping has been read: the
    // requests not listed here are answered already or never arrived.
    body["ping"] = args->at("ping");
    std::lock_guard lock(mHeldMutex);
    if (mHeld.size() <= kMaxContainerElements) {
      tether::AnyArray held;
      for (uint64_t id : mHeld) {
        held.push_back(MakeAny(id));
      }
      body["held"] = MakeAny(std::move(held));
    }
  }
  pong.body = MakeAny(std::move(body));
  return pong;
}

void Session::HandleRequest(const Message& message) {
  Body reply;
  int32_t status = kStatusFailed;
  FailureReason::Scope reason;
  try {
    status = Handle(message.op, AsObject(message.body), message.id, reply);
  } catch (const WireError& error) {
    status = kStatusBadMessage;
    FailureReason::Set(error.what());
  } catch (const std::exception& error) {
    kilncore::logging::LogException(std::current_exception(), "tetherserver::Session request", message.op);
    status = kStatusFailed;
    FailureReason::Set(error.what());
  }
  if (status == kNoReply) {
    return;
  }
  if (message.op == kRenderOp && !ClaimJob(message.id)) {
    return;  // cancelled meanwhile: the cancel has answered
  }
  if (status != kStatusOK) {
    ReportFailure(message.op, status, reason.Text());
    Reply(message.id, status, FailureBody(reason.Text()));
    return;
  }
  Reply(message.id, status, MakeAny(std::move(reply)));
}

void Session::ReportFailure(const std::string& op, int32_t status, const std::string& reason) {
  if (mOptions.onFailure) {
    mOptions.onFailure(op, status, reason);
  }
}

void Session::RegisterJob(const Message& message) {
  Job job;
  try {
    const tether::AnyObject& args = AsObject(message.body);
    job.renderer = AsUint64(Field(args, "handle"));
    job.job = GuidFromTree(Field(args, "job"));
  } catch (const std::exception&) {
    // Entered all the same, so that the request's failure is answered; no
    // cancel can name it.
  }
  std::lock_guard lock(mJobsMutex);
  mJobs[message.id] = job;
}

bool Session::ClaimJob(uint64_t id) {
  std::lock_guard lock(mJobsMutex);
  return mJobs.erase(id) != 0;
}

bool Session::IsJobPending(uint64_t id) {
  std::lock_guard lock(mJobsMutex);
  return mJobs.count(id) != 0;
}

void Session::CancelJobs(uint64_t renderer, const Guid& job) {
  std::vector<uint64_t> cancelled;
  {
    std::lock_guard lock(mJobsMutex);
    for (auto it = mJobs.begin(); it != mJobs.end();) {
      if (it->second.renderer == renderer && it->second.job == job) {
        cancelled.push_back(it->first);
        it = mJobs.erase(it);
      } else {
        ++it;
      }
    }
  }
  // Taken out of the table, so no worker will answer them: the answer is ours.
  for (uint64_t id : cancelled) {
    Reply(id, kStatusRenderCancelled, MakeAny(tether::AnyObject{}));
  }
}

void Session::SendProgress(uint64_t server, const std::string& type, double value,
                           const std::vector<std::string>& arguments) {
  tether::AnyArray texts;
  for (const auto& argument : arguments) {
    texts.push_back(MakeAny(argument));
  }
  Message notice;
  notice.op = "progress";
  notice.body = MakeAny(tether::AnyObject{{"handle", MakeAny(server)},
                                          {"type", MakeAny(type)},
                                          {"value", MakeAny(value)},
                                          {"arguments", MakeAny(std::move(texts))}});
  try {
    mChannel.Send(notice);
  } catch (const std::exception&) {
    Stop();
  }
}

void Session::Reply(uint64_t id, int32_t status, AnyValue body, std::vector<UniqueFd> fds) {
  Message message;
  message.kind = MessageKind::kReply;
  message.id = id;
  message.status = status;
  message.body = std::move(body);
  message.fds = std::move(fds);
  try {
    mChannel.Send(message);
  } catch (const std::exception&) {
    Stop();
  }
  // Only once the reply is on the stream: a pong sent after this can't
  // overtake it, so the client never takes an answered request for lost.
  std::lock_guard lock(mHeldMutex);
  mHeld.erase(id);
}

uint64_t Session::Store(std::shared_ptr<Object> object) {
  std::lock_guard lock(mObjectsMutex);
  uint64_t handle = mNextHandle++;
  mObjects[handle] = std::move(object);
  return handle;
}

std::shared_ptr<Session::Object> Session::Find(uint64_t handle) {
  std::lock_guard lock(mObjectsMutex);
  auto it = mObjects.find(handle);
  return it == mObjects.end() ? nullptr : it->second;
}

int32_t Session::Handle(const std::string& op, const Body& args, uint64_t id, Body& reply) {
  using Kind = Object::Kind;
  if (op == "server.create") {
    auto object = std::make_shared<Object>();
    object->kind = Kind::kTypedServer;
    object->application = AsString(Field(args, "application"));
    if (!mContent->SupportsApplication(object->application)) {
      return kStatusNotSupported;
    }
    reply["handle"] = MakeAny(Store(object));
    return kStatusOK;
  }

  const uint64_t handle = AsUint64(Field(args, "handle"));
  auto target = Find(handle);
  if (!target) {
    return kStatusNotFound;
  }
  auto expect = [&](Kind kind) {
    if (target->kind != kind) {
      throw WireError("handle of another kind of object");
    }
  };
  // A new source object for `item`, described in the reply.
  auto storeSource = [&](std::shared_ptr<const SessionItem> item,
                         std::shared_ptr<const SessionProject> project = nullptr) {
    auto object = std::make_shared<Object>();
    object->kind = Kind::kSource;
    object->item = std::move(item);
    const bool fromProject = target->kind == Kind::kProject;
    object->serverHandle = fromProject ? target->serverHandle : handle;
    object->server = fromProject ? target->server : std::weak_ptr<Object>(target);
    object->info = object->item->Describe();
    object->project = std::move(project);
    if (object->project) object->generation = object->project->ContentGeneration();
    reply["handle"] = MakeAny(Store(object));
    reply["info"] = ToTree(object->info);
    return object;
  };

  if (op == "typed.connect-linked-server") {
    expect(Kind::kTypedServer);
    auto server = std::make_shared<Object>();
    server->kind = Kind::kServer;
    server->application = target->application;
    reply["handle"] = MakeAny(Store(server));
    return kStatusOK;
  }
  if (op == "typed.connect-file-server") {
    expect(Kind::kTypedServer);
    if (!mContent->ServesFiles(target->application)) {
      return kStatusNotSupported;
    }
    auto server = std::make_shared<Object>();
    server->kind = Kind::kFileServer;
    server->application = target->application;
    reply["handle"] = MakeAny(Store(server));
    return kStatusOK;
  }
  if (op == "file-server.open-file") {
    expect(Kind::kFileServer);
    FileNotes notes;
    int32_t status = kStatusFailed;
    auto item = mContent->OpenFile(target->application, FileFromTree(Field(args, "file")), notes, status);
    if (!item) {
      return status == kStatusOK ? kStatusFailed : status;
    }
    storeSource(std::move(item));
    reply["kind"] = MakeAny(notes.kind);
    reply["message"] = MakeAny(notes.message);
    reply["detail"] = MakeAny(notes.detail);
    return kStatusOK;
  }
  if (op == "server.open-farside-asset") {
    expect(Kind::kServer);
    int32_t status = kStatusFailed;
    const tether::FarsideAssetRequestInfo request = AssetRequestFromTree(Field(args, "request"));
    auto item = mContent->OpenFarsideAsset(target->application, request, status);
    if (!item) {
      return status == kStatusOK ? kStatusFailed : status;
    }
    const std::shared_ptr<FarsideAssetFollower> follower = FollowerOf(request);
    const uint64_t generation = follower->Update(item);
    const std::shared_ptr<Object> object = storeSource(std::move(item));
    object->asset = follower;
    object->generation = generation;
    return kStatusOK;
  }
  if (op == "server.open-project") {
    expect(Kind::kServer);
    return OpenProject(handle, *target, args, reply);
  }
  if (op == "project.get-source") {
    expect(Kind::kProject);
    const Guid id = GuidFromTree(Field(args, "id"));
    auto item = target->project->GetItem(id);
    if (!item) {
      FailureReason::Set("the project has no item " + id.AsUTF8String());
      return kStatusNotFound;
    }
    storeSource(std::move(item), target->project);
    return kStatusOK;
  }
  if (op == "project.get-container") {
    expect(Kind::kProject);
    Guid container = GuidFromTree(Field(args, "id"));
    auto items = target->project->GetContainedItems(container);
    if (!items) {
      return kStatusNotFound;
    }
    reply["id"] = ToTree(container);
    reply["items"] = ToTree(*items);
    return kStatusOK;
  }
  if (op == "project.get-items-as-xml") {
    expect(Kind::kProject);
    std::vector<Guid> ids;
    for (const auto& item : AsArray(Field(args, "ids"))) {
      ids.push_back(GuidFromTree(item));
    }
    auto xml = target->project->ItemsAsXML(ids);
    if (!xml) {
      return kStatusNotFound;
    }
    reply["xml"] = MakeAny(std::move(*xml));
    return kStatusOK;
  }
  if (op == "project.is-source-linked") {
    expect(Kind::kProject);
    reply["value"] = MakeAny(target->project->IsSourceLinked(GuidFromTree(Field(args, "id"))));
    return kStatusOK;
  }
  if (op == "project.runtime-font-change") {
    expect(Kind::kProject);
    reply["value"] = MakeAny(target->project->RuntimeFontChange().value_or(mOptions.fonts->Generation()));
    return kStatusOK;
  }
  if (op == kRenderOp) {
    expect(Kind::kVideoRenderer);
    return RenderVideo(*target, args, id);
  }
  if (op == "audio-renderer.render") {
    expect(Kind::kAudioRenderer);
    return RenderAudio(*target, id);
  }

  expect(Kind::kSource);
  return HandleSource(op, *target, args, reply);
}

int32_t Session::OpenProject(uint64_t serverHandle, Object& server, const Body& args, Body& reply) {
  tether::File file = FileFromTree(Field(args, "file"));
  AnyValue json = OptionalField(args, "json");
  ProgressSink progress;
  if (server.watchingProgress) {
    progress = [this, serverHandle](const std::string& type, double value, const std::vector<std::string>& arguments) {
      SendProgress(serverHandle, type, value, arguments);
    };
  }
  int32_t status = kStatusFailed;
  auto project =
      mContent->OpenProject(server.application, file, json ? AsString(json) : std::string(), status, progress);
  if (!project) {
    return status == kStatusOK ? kStatusFailed : status;
  }
  auto object = std::make_shared<Object>();
  object->kind = Object::Kind::kProject;
  object->project = project;
  object->serverHandle = serverHandle;
  object->server = Find(serverHandle);
  reply["handle"] = MakeAny(Store(object));
  reply["file"] = ToTree(file);
  reply["missingAssets"] = ToTree(project->GetMissingAssets());
  return kStatusOK;
}

int32_t Session::HandleSource(const std::string& op, Object& source, const Body& args, Body& reply) {
  using Kind = Object::Kind;
  if (op == "source.init") {
    tether::SourceInfo info = SourceInfoFromTree(Field(args, "info"));
    reply["id"] = ToTree(info.sourceID);
    return kStatusOK;
  }
  if (op == "source.get-video-renderer") {
    auto object = std::make_shared<Object>();
    object->kind = Kind::kVideoRenderer;
    object->item = source.item;
    FollowProject(*object, source);
    object->video = VideoRenderOptionsFromTree(Field(args, "options"));
    if (source.item->HangsRendererCreation(object->video)) {
      return kNoReply;
    }
    const size_t frameBytes = source.item->FrameBytes(object->video);
    if (frameBytes == 0) {
      return kStatusNotSupported;
    }
    if (!FitsClient(frameBytes)) {
      return kStatusTooLarge;
    }
    reply["handle"] = MakeAny(Store(object));
    return kStatusOK;
  }
  if (op == "source.get-audio-renderer") {
    auto object = std::make_shared<Object>();
    object->kind = Kind::kAudioRenderer;
    object->item = source.item;
    FollowProject(*object, source);
    object->audio = AudioRenderOptionsFromTree(Field(args, "options"));
    uint32_t rate = source.item->SampleRate(object->audio);
    size_t channels = object->audio.GetAudioChannelLayout().size();
    uint32_t blockSamples = AsUint32(Field(args, "blockSamples"));
    if (rate == 0 || channels == 0 || blockSamples == 0 || blockSamples > (1u << 24)) {
      return kStatusNotSupported;
    }
    tether::RatioTime position = RatioFromTree(Field(args, "position"));
    object->nextSample = boost::rational_cast<int64_t>(position * static_cast<int64_t>(rate));
    object->blockFrames = std::max<uint32_t>(1, static_cast<uint32_t>(blockSamples / channels));
    reply["handle"] = MakeAny(Store(object));
    return kStatusOK;
  }
  if (op == "source.send-request") {
    AnyValue call = Field(args, "call");
    std::string name;
    AnyValue arguments;
    if (kilncore::serialization::ReadCall(call, name, arguments)) {
      // A named call of the owning application: its item answers, or says why not.
      AnyValue answer;
      std::string message;
      const int32_t code = source.item->AnswerRequest(name, arguments, answer, message);
      if (code < 0) {
        reply["error"] = MakeAny(code);
        reply["message"] = MakeAny(message);
      } else {
        reply["reply"] = answer ? answer : MakeAny(tether::AnyObject{});
      }
      return kStatusOK;
    }
    if (call && std::any_cast<tether::AnyObject>(call.get()) && AsObject(call).count("fail")) {
      reply["error"] = MakeAny(7);
      reply["message"] = MakeAny(std::string("the request asked to fail"));
      return kStatusOK;
    }
    reply["reply"] = MakeAny(tether::AnyObject{{"echo", call}});
    return kStatusOK;
  }
  if (op == "source.render-xmp") {
    const tether::RatioTime start = RatioFromTree(Field(args, "start"));
    const tether::RatioTime duration = RatioFromTree(Field(args, "duration"));
    if (start < 0 || duration < 0) {
      FailureReason::Set("the span of an XMP packet can't start or last less than 0");
      return kStatusFailed;
    }
    // The client's progress view shows the packet being made: unknown
    // progress first, done at the end.
    const std::vector<std::string> name{kilncore::string::UTF16to8(source.info.name)};
    const auto server = source.server.lock();
    const bool watching = server && server->watchingProgress;
    if (watching) SendProgress(source.serverHandle, kRenderingXMPProgressType, -1.0, name);
    reply["packet"] = MakeAny(source.item->RenderXMP(start, duration));
    if (watching) SendProgress(source.serverHandle, kRenderingXMPProgressType, 1.0, name);
    return kStatusOK;
  }
  if (op == "source.get-caption-data") {
    tether::CaptionData captions = source.item->Captions();
    std::lock_guard lock(source.captionMutex);
    if (source.selectedCaption) {
      // The client's choice replaces the file's.
      for (size_t i = 0; i < captions.streams.size(); ++i) {
        captions.streams[i].selected = i == *source.selectedCaption;
      }
    }
    reply["captions"] = ToTree(captions);
    return kStatusOK;
  }
  if (op == "source.set-caption-selection") {
    tether::CaptionSelectionData selection = CaptionSelectionFromTree(Field(args, "selection"));
    const size_t streams = source.item->Captions().streams.size();
    const bool valid = selection.streamIndex >= 0 && static_cast<size_t>(selection.streamIndex) < streams;
    if (valid) {
      std::lock_guard lock(source.captionMutex);
      source.selectedCaption = static_cast<size_t>(selection.streamIndex);
    }
    reply["value"] = MakeAny(valid);
    return kStatusOK;
  }
  if (op == "source.contains-link") {
    reply["value"] = MakeAny(source.item->ContainsLink());
    return kStatusOK;
  }
  if (op == "source.get-runtime-guid") {
    const auto own = source.item->RuntimeGuid();
    reply["id"] = ToTree(own ? *own : RuntimeGuidOf(source.info.contentState, mOptions.fonts->Generation()));
    return kStatusOK;
  }
  return kStatusNotSupported;
}

int32_t Session::RenderVideo(Object& renderer, const Body& args, uint64_t id) {
  GuidFromTree(Field(args, "job"));
  tether::RatioTime time = RatioFromTree(Field(args, "time"));
  if (!IsJobPending(id)) {
    return kNoReply;  // cancelled while it waited for a worker: nothing to draw
  }
  const std::shared_ptr<const SessionItem> item = CurrentItem(renderer);
  if (item->HangsRenders()) {
    return kNoReply;  // stays in the job table, where only a cancel answers it
  }
  size_t size = item->FrameBytes(renderer.video);
  if (!FitsClient(size)) {
    return kStatusTooLarge;
  }
  auto lease = mPool.Acquire(size);
  // A cancel takes the job out of the table; a slow item stops drawing then.
  int32_t status = item->RenderFrameUnlessStopped(renderer.video, time, lease.buffer->Data(), size,
                                                  [this, id] { return !IsJobPending(id); });
  if (status != kStatusOK) {
    mPool.Abandon(lease);
    return status;
  }
  if (!ClaimJob(id)) {
    mPool.Abandon(lease);  // cancelled while drawing: the frame is dropped
    return kNoReply;
  }
  SendBlock(id, lease, size);
  return kNoReply;  // answered by SendBlock
}

int32_t Session::RenderAudio(Object& renderer, uint64_t id) {
  const std::shared_ptr<const SessionItem> item = CurrentItem(renderer);
  if (item->HangsRenders()) {
    return kNoReply;
  }
  std::lock_guard lock(renderer.audioMutex);
  size_t channels = renderer.audio.GetAudioChannelLayout().size();
  size_t size = size_t{renderer.blockFrames} * channels * sizeof(float);
  auto lease = mPool.Acquire(size);
  int32_t status = item->RenderAudio(renderer.audio, renderer.nextSample, renderer.blockFrames,
                                              reinterpret_cast<float*>(lease.buffer->Data()));
  if (status != kStatusOK) {
    mPool.Abandon(lease);
    return status;
  }
  renderer.nextSample += renderer.blockFrames;
  SendBlock(id, lease, size);
  return kNoReply;
}

void Session::FollowProject(Object& renderer, const Object& source) {
  renderer.project = source.project;
  renderer.asset = source.asset;
  renderer.info.sourceID = source.info.sourceID;
  renderer.generation = source.generation;
}

std::shared_ptr<const SessionItem> Session::CurrentItem(Object& renderer) {
  std::lock_guard lock(renderer.itemMutex);
  // A project read again since the item was taken: draw its new content, as
  // the owning application's renderer draws the project as it now is.
  if (renderer.project && renderer.project->ContentGeneration() != renderer.generation) {
    renderer.generation = renderer.project->ContentGeneration();
    if (auto fresh = renderer.project->CurrentItem(renderer.info.sourceID)) renderer.item = std::move(fresh);
  }
  // A remote asset opened again since: draw what the latest opening found.
  if (renderer.asset && renderer.asset->Generation() != renderer.generation) {
    renderer.generation = renderer.asset->Generation();
    if (auto fresh = renderer.asset->Item()) renderer.item = std::move(fresh);
  }
  return renderer.item;
}

std::shared_ptr<FarsideAssetFollower> Session::FollowerOf(const tether::FarsideAssetRequestInfo& request) {
  std::lock_guard lock(mAssetsMutex);
  std::shared_ptr<FarsideAssetFollower>& follower = mAssets[FarsideAssetFollower::KeyOf(request)];
  if (!follower) follower = std::make_shared<FarsideAssetFollower>();
  return follower;
}

bool Session::FitsClient(size_t bytes) const {
  const uint64_t limit = mClientBufferLimit;
  if (bytes <= limit) {
    return true;
  }
  constexpr double kMiB = 1024.0 * 1024.0;
  char text[160];
  std::snprintf(text, sizeof(text), "a frame of %.0f MiB is larger than the %.0f MiB the client maps",
                static_cast<double>(bytes) / kMiB, static_cast<double>(limit) / kMiB);
  FailureReason::Set(text);
  return false;
}

void Session::SendBlock(uint64_t id, const BufferPool::Lease& lease, size_t size) {
  std::vector<UniqueFd> fds;
  if (lease.sendDescriptor) {
    fds.emplace_back(::fcntl(lease.buffer->Descriptor(), F_DUPFD_CLOEXEC, 0));
  }
  Reply(id, kStatusOK,
        MakeAny(tether::AnyObject{{"buffer", MakeAny(lease.id)},
                                  {"capacity", MakeAny(static_cast<uint64_t>(lease.buffer->Capacity()))},
                                  {"size", MakeAny(static_cast<uint64_t>(size))},
                                  {"keep", MakeAny(mPool.Recycles())}}),
        std::move(fds));
}

}  // namespace tetherserver
