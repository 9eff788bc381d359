#include "Session.h"

#include <tether/wire/Protocol.h>
#include <tether/wire/RecordCodec.h>
#include <tether/wire/TreeAccess.h>
#include <tether/wire/WireError.h>

#include <kilncore/logging/Log.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cmath>
#include <cstring>
#include <set>

namespace tetherserver {

using kilncore::utility::Guid;
using namespace tether::wire;
using tether::AnyValue;
using tether::MakeAny;

namespace {

// Status meaning "leave this request unanswered" (a hanging test item).
constexpr int32_t kNoReply = -1;
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

}  // namespace

struct Session::Object {
  enum class Kind { kTypedServer, kServer, kProject, kSource, kVideoRenderer, kAudioRenderer };
  Kind kind;
  std::string application;
  std::shared_ptr<const SessionProject> project;
  std::shared_ptr<const SessionItem> item;
  tether::SourceInfo info;
  tether::VideoRenderOptions video;
  tether::AudioRenderOptions audio;
  std::mutex audioMutex;
  int64_t nextSample = 0;
  uint32_t blockFrames = 0;
};

Session::Session(UniqueFd socket, std::shared_ptr<const SessionContent> content, Options options)
    : mChannel(std::move(socket)),
      mContent(std::move(content)),
      mOptions(options),
      mPool(BufferPool::Options{options.recycleBuffers}) {
  timeval timeout{kSendTimeoutSeconds, 0};
  ::setsockopt(mChannel.Descriptor(), SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
  for (size_t i = 0; i < std::max<size_t>(1, mOptions.workerThreads); ++i) {
    mWorkers.emplace_back([this] { WorkerLoop(); });
  }
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
      Message pong;
      pong.op = "pong";
      mChannel.Send(pong);
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
    }
    // "video-renderer.cancel" and "server.watch-progress" need nothing here:
    // the synthetic renders are immediate and report no progress.
  } catch (const std::exception&) {
    // A malformed notice has nobody to answer to; it is dropped.
  }
}

void Session::HandleRequest(const Message& message) {
  Body reply;
  int32_t status = kStatusFailed;
  try {
    status = Handle(message.op, AsObject(message.body), message.id, reply);
  } catch (const WireError&) {
    status = kStatusBadMessage;
  } catch (const std::exception&) {
    kilncore::logging::LogException(std::current_exception(), "tetherserver::Session request", message.op);
    status = kStatusFailed;
  }
  if (status != kNoReply) {
    Reply(message.id, status, MakeAny(std::move(reply)));
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
  if (op == "hello") {
    reply["protocol"] = MakeAny(kProtocolVersion);
    reply["server"] = MakeAny(std::string("tether-server"));
    return AsUint32(Field(args, "protocol")) == kProtocolVersion ? kStatusOK : kStatusNotSupported;
  }
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

  auto target = Find(AsUint64(Field(args, "handle")));
  if (!target) {
    return kStatusNotFound;
  }
  auto expect = [&](Kind kind) {
    if (target->kind != kind) {
      throw WireError("handle of another kind of object");
    }
  };

  if (op == "typed.connect-linked-server") {
    expect(Kind::kTypedServer);
    auto server = std::make_shared<Object>();
    server->kind = Kind::kServer;
    server->application = target->application;
    reply["handle"] = MakeAny(Store(server));
    return kStatusOK;
  }
  if (op == "typed.connect-file-server" || op == "server.open-farside-asset" || op == "file-server.open-file") {
    return kStatusNotSupported;
  }
  if (op == "server.open-project") {
    expect(Kind::kServer);
    tether::File file = FileFromTree(Field(args, "file"));
    AnyValue json = OptionalField(args, "json");
    int32_t status = kStatusFailed;
    auto project = mContent->OpenProject(target->application, file, json ? AsString(json) : std::string(), status);
    if (!project) {
      return status == kStatusOK ? kStatusFailed : status;
    }
    auto object = std::make_shared<Object>();
    object->kind = Kind::kProject;
    object->project = project;
    reply["handle"] = MakeAny(Store(object));
    reply["file"] = ToTree(file);
    reply["missingAssets"] = ToTree(project->GetMissingAssets());
    return kStatusOK;
  }
  if (op == "project.get-source") {
    expect(Kind::kProject);
    auto item = target->project->GetItem(GuidFromTree(Field(args, "id")));
    if (!item) {
      return kStatusNotFound;
    }
    auto object = std::make_shared<Object>();
    object->kind = Kind::kSource;
    object->item = item;
    object->info = item->Describe();
    reply["handle"] = MakeAny(Store(object));
    reply["info"] = ToTree(object->info);
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
    std::string xml = "<items>";
    for (const auto& item : AsArray(Field(args, "ids"))) {
      xml += "<item id=\"" + GuidFromTree(item).AsUTF8String() + "\"/>";
    }
    reply["xml"] = MakeAny(xml + "</items>");
    return kStatusOK;
  }
  if (op == "project.is-source-linked") {
    expect(Kind::kProject);
    reply["value"] = MakeAny(target->project->GetItem(GuidFromTree(Field(args, "id"))) != nullptr);
    return kStatusOK;
  }
  if (op == "project.runtime-font-change") {
    expect(Kind::kProject);
    reply["value"] = MakeAny(0u);
    return kStatusOK;
  }
  if (op == "video-renderer.render") {
    expect(Kind::kVideoRenderer);
    return RenderVideo(*target, args, id);
  }
  if (op == "audio-renderer.render") {
    expect(Kind::kAudioRenderer);
    return RenderAudio(*target, id);
  }

  expect(Kind::kSource);
  if (op == "source.init") {
    tether::SourceInfo info = SourceInfoFromTree(Field(args, "info"));
    reply["id"] = ToTree(info.sourceID);
    return kStatusOK;
  }
  if (op == "source.get-video-renderer") {
    auto object = std::make_shared<Object>();
    object->kind = Kind::kVideoRenderer;
    object->item = target->item;
    object->video = VideoRenderOptionsFromTree(Field(args, "options"));
    if (target->item->HangsRendererCreation(object->video)) {
      return kNoReply;
    }
    if (target->item->FrameBytes(object->video) == 0) {
      return kStatusNotSupported;
    }
    reply["handle"] = MakeAny(Store(object));
    return kStatusOK;
  }
  if (op == "source.get-audio-renderer") {
    auto object = std::make_shared<Object>();
    object->kind = Kind::kAudioRenderer;
    object->item = target->item;
    object->audio = AudioRenderOptionsFromTree(Field(args, "options"));
    uint32_t rate = target->item->SampleRate(object->audio);
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
    if (call && std::any_cast<tether::AnyObject>(call.get()) && AsObject(call).count("fail")) {
      reply["error"] = MakeAny(7);
      reply["message"] = MakeAny(std::string("the request asked to fail"));
      return kStatusOK;
    }
    reply["reply"] = MakeAny(tether::AnyObject{{"echo", call}});
    return kStatusOK;
  }
  if (op == "source.render-xmp") {
    RatioFromTree(Field(args, "start"));
    RatioFromTree(Field(args, "duration"));
    reply["packet"] = MakeAny(std::string());
    return kStatusOK;
  }
  if (op == "source.get-caption-data") {
    reply["captions"] = ToTree(tether::CaptionData{});
    return kStatusOK;
  }
  if (op == "source.set-caption-selection") {
    CaptionSelectionFromTree(Field(args, "selection"));
    reply["value"] = MakeAny(true);
    return kStatusOK;
  }
  if (op == "source.contains-link") {
    reply["value"] = MakeAny(false);
    return kStatusOK;
  }
  if (op == "source.get-runtime-guid") {
    reply["id"] = ToTree(target->info.contentState);
    return kStatusOK;
  }
  return kStatusNotSupported;
}

int32_t Session::RenderVideo(Object& renderer, const Body& args, uint64_t id) {
  GuidFromTree(Field(args, "job"));
  tether::RatioTime time = RatioFromTree(Field(args, "time"));
  if (renderer.item->HangsRenders()) {
    return kNoReply;
  }
  size_t size = renderer.item->FrameBytes(renderer.video);
  auto lease = mPool.Acquire(size);
  int32_t status = renderer.item->RenderFrame(renderer.video, time, lease.buffer->Data(), size);
  if (status != kStatusOK) {
    mPool.Release(lease.id);
    return status;
  }
  SendBlock(id, lease, size);
  return kNoReply;  // answered by SendBlock
}

int32_t Session::RenderAudio(Object& renderer, uint64_t id) {
  if (renderer.item->HangsRenders()) {
    return kNoReply;
  }
  std::lock_guard lock(renderer.audioMutex);
  size_t channels = renderer.audio.GetAudioChannelLayout().size();
  size_t size = size_t{renderer.blockFrames} * channels * sizeof(float);
  auto lease = mPool.Acquire(size);
  int32_t status = renderer.item->RenderAudio(renderer.audio, renderer.nextSample, renderer.blockFrames,
                                              reinterpret_cast<float*>(lease.buffer->Data()));
  if (status != kStatusOK) {
    mPool.Release(lease.id);
    return status;
  }
  renderer.nextSample += renderer.blockFrames;
  SendBlock(id, lease, size);
  return kNoReply;
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
