#include "IpcSource.h"

#include "ConnectionBuffers.h"

#include <tether/wire/RecordCodec.h>
#include <tether/wire/WireError.h>

#include <kilncore/string/UTFConversion.h>

namespace tether::ipc {

using kilncore::utility::Guid;

IpcSource::IpcSource(std::shared_ptr<Connection> connection, uint64_t handle, SourceInfo info)
    : RemoteObject(std::move(connection), handle) {
  mInfos.push_back(std::make_unique<SourceInfo>(std::move(info)));
}

std::shared_ptr<Source> IpcSource::FromReply(const std::shared_ptr<Connection>& connection, const Reply& reply) {
  const AnyObject& body = wire::AsObject(reply.body);
  return std::make_shared<IpcSource>(connection, HandleOf(reply), wire::SourceInfoFromTree(wire::Field(body, "info")));
}

const SourceInfo& IpcSource::Info() const {
  std::lock_guard lock(mMutex);
  return *mInfos.back();
}

const SourceInfo& IpcSource::GetSourceInfo() const { return Info(); }

FrameRect IpcSource::GetFrameSize() const {
  const SourceInfo& info = Info();
  return FrameRect{0, 0, static_cast<int32_t>(info.width), static_cast<int32_t>(info.height)};
}

void IpcSource::Init(const SourceInfo& info, InitCallback callback) {
  {
    std::lock_guard lock(mMutex);
    mInfos.push_back(std::make_unique<SourceInfo>(info));
  }
  if (!callback) {
    callback = [](const Guid&) {};
  }
  Request(
      "source.init", AnyObject{{"info", wire::ToTree(info)}},
      [callback](Reply& reply) -> Connection::Completion {
        Guid id = wire::GuidFromTree(wire::Field(wire::AsObject(reply.body), "id"));
        return [callback, id] { callback(id); };
      },
      [callback](int32_t) -> Connection::Completion { return [callback] { callback(Guid()); }; });
}

void IpcSource::GetVideoRenderer(VideoRendererCallback callback, const VideoRenderOptions& options) {
  auto connection = GetConnection();
  Request(
      "source.get-video-renderer", AnyObject{{"options", wire::ToTree(options)}},
      [callback, connection](Reply& reply) -> Connection::Completion {
        auto renderer = std::make_shared<IpcVideoRenderer>(connection, HandleOf(reply));
        return [callback, renderer] { callback(kConnectionStatusOK, renderer); };
      },
      FailWith(callback, std::shared_ptr<VideoRenderer>()));
}

void IpcSource::GetAudioRenderer(AudioRendererCallback callback, const AudioRenderOptions& options,
                                 const RatioTime& position, uint32_t blockSamples) {
  auto connection = GetConnection();
  Request(
      "source.get-audio-renderer",
      AnyObject{{"options", wire::ToTree(options)},
                {"position", wire::RatioToTree(position)},
                {"blockSamples", MakeAny(blockSamples)}},
      [callback, connection](Reply& reply) -> Connection::Completion {
        auto renderer = std::make_shared<IpcAudioRenderer>(connection, HandleOf(reply));
        return [callback, renderer] { callback(kConnectionStatusOK, renderer); };
      },
      FailWith(callback, std::shared_ptr<AudioRenderer>()));
}

void IpcSource::SendRequest(const std::any& call, ReplyCallback onReply, ErrorCallback onError) {
  const int64_t number = mNextRequestNumber++;
  auto fail = [onError, number](int32_t status) -> Connection::Completion {
    return [onError, number, status] { onError(status, u"Tether request failed", number); };
  };
  Request(
      "source.send-request", AnyObject{{"call", std::make_shared<std::any>(call)}},
      [onReply, onError, number](Reply& reply) -> Connection::Completion {
        const AnyObject& body = wire::AsObject(reply.body);
        if (auto error = wire::OptionalField(body, "error")) {
          int code = wire::AsInt32(error);
          auto message = wire::WideFromTree(wire::Field(body, "message"));
          return [onError, code, message, number] { onError(code, message, number); };
        }
        AnyValue answer = wire::Field(body, "reply");
        return [onReply, answer, number] { onReply(answer, number); };
      },
      fail);
}

void IpcSource::RenderXMP(const RatioTime& start, const RatioTime& duration, XMPCallback callback) {
  Request(
      "source.render-xmp", AnyObject{{"start", wire::RatioToTree(start)}, {"duration", wire::RatioToTree(duration)}},
      [callback](Reply& reply) -> Connection::Completion {
        std::string packet = wire::AsString(wire::Field(wire::AsObject(reply.body), "packet"));
        return [callback, packet] { callback(kConnectionStatusOK, packet); };
      },
      FailWith(callback, std::string()));
}

void IpcSource::GetCaptionData(CaptionDataCallback callback) {
  Request(
      "source.get-caption-data", AnyObject{},
      [callback](Reply& reply) -> Connection::Completion {
        CaptionData data = wire::CaptionDataFromTree(wire::Field(wire::AsObject(reply.body), "captions"));
        return [callback, data] { callback(kConnectionStatusOK, data); };
      },
      FailWith(callback, CaptionData()));
}

void IpcSource::SetCaptionSelectionData(const CaptionSelectionData& selection, BoolCallback callback) {
  Request(
      "source.set-caption-selection", AnyObject{{"selection", wire::ToTree(selection)}},
      [callback](Reply& reply) -> Connection::Completion {
        bool value = wire::AsBool(wire::Field(wire::AsObject(reply.body), "value"));
        return [callback, value] { callback(kConnectionStatusOK, value); };
      },
      FailWith(callback, false));
}

void IpcSource::DoesSourceContainLink(BoolCallback callback) {
  Request(
      "source.contains-link", AnyObject{},
      [callback](Reply& reply) -> Connection::Completion {
        bool value = wire::AsBool(wire::Field(wire::AsObject(reply.body), "value"));
        return [callback, value] { callback(kConnectionStatusOK, value); };
      },
      FailWith(callback, false));
}

void IpcSource::GetRuntimeGuid(GuidCallback callback) {
  Request(
      "source.get-runtime-guid", AnyObject{},
      [callback](Reply& reply) -> Connection::Completion {
        Guid id = wire::GuidFromTree(wire::Field(wire::AsObject(reply.body), "id"));
        return [callback, id] { callback(kConnectionStatusOK, id); };
      },
      FailWith(callback, Guid()));
}

namespace {

// The completion of a render: the caller's block, or its failure.
template <class Callback>
Connection::Decoder BlockDecoder(Callback callback, Guid identifier, std::shared_ptr<Connection> connection) {
  return [callback, identifier, connection](Reply& reply) -> Connection::Completion {
    auto block = connection->Buffers().Adopt(reply.body, reply.fds);
    // The library lets go of the block as soon as the callback returns, so that
    // the buffer goes back to the server when the caller lets go of it.
    return [callback, identifier, block]() mutable {
      callback(identifier, block, kConnectionStatusOK);
      block.reset();
    };
  };
}

template <class Callback>
Connection::Failer BlockFailer(Callback callback, Guid identifier) {
  return [callback, identifier](int32_t status) -> Connection::Completion {
    return [callback, identifier, status] { callback(identifier, nullptr, status); };
  };
}

}  // namespace

// A render is cancelled by its renderer and job, so that names it.
std::string IpcVideoRenderer::CancelKey(const Guid& identifier) const {
  return std::to_string(Handle()) + "/" + identifier.AsUTF8String();
}

void IpcVideoRenderer::RenderVideo(RenderCallback callback, const Guid& identifier, const RatioTime& time) {
  Request("video-renderer.render", AnyObject{{"job", wire::ToTree(identifier)}, {"time", wire::RatioToTree(time)}},
          BlockDecoder(callback, identifier, GetConnection()), BlockFailer(callback, identifier),
          CancelKey(identifier));
}

void IpcVideoRenderer::CancelVideoRender(const Guid& identifier) {
  GetConnection()->NotifyCancel(
      "video-renderer.cancel", MakeAny(AnyObject{{"handle", MakeAny(Handle())}, {"job", wire::ToTree(identifier)}}),
      CancelKey(identifier));
}

void IpcAudioRenderer::RenderAudio(RenderCallback callback, const Guid& identifier) {
  Request("audio-renderer.render", AnyObject{{"job", wire::ToTree(identifier)}},
          BlockDecoder(callback, identifier, GetConnection()), BlockFailer(callback, identifier));
}

}  // namespace tether::ipc
