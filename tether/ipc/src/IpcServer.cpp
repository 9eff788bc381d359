#include "IpcServer.h"

#include "IpcProject.h"
#include "IpcSource.h"

#include <tether/wire/RecordCodec.h>

namespace tether::ipc {

IpcServer::IpcServer(std::shared_ptr<Connection> connection, uint64_t handle)
    : RemoteObject(std::move(connection), handle) {}

IpcServer::~IpcServer() {
  if (mSubscribed) {
    GetConnection()->Unsubscribe(Handle());
  }
}

void IpcServer::SetProgressCallback(ProgressCallback callback) {
  bool subscribe = false;
  {
    std::lock_guard lock(mMutex);
    mProgress = std::move(callback);
    subscribe = !std::exchange(mSubscribed, true);
  }
  if (subscribe) {
    std::weak_ptr<IpcServer> weak = weak_from_this();
    GetConnection()->Subscribe(Handle(), [weak](const std::string& op, const AnyValue& body) {
      if (auto self = weak.lock()) {
        self->OnNotice(op, body);
      }
    });
    GetConnection()->Notify("server.watch-progress", MakeAny(AnyObject{{"handle", MakeAny(Handle())}}));
  }
}

void IpcServer::OnNotice(const std::string& op, const AnyValue& body) {
  if (op != "progress") {
    return;
  }
  const AnyObject& object = wire::AsObject(body);
  std::string type = wire::AsString(wire::Field(object, "type"));
  double value = wire::AsDouble(wire::Field(object, "value"));
  std::vector<kilncore::WideString> arguments;
  for (const auto& argument : wire::AsArray(wire::Field(object, "arguments"))) {
    arguments.push_back(wire::WideFromTree(argument));
  }
  bool startDrain = false;
  {
    std::lock_guard lock(mMutex);
    if (!mProgress) {
      return;
    }
    mReports.push_back(Report{std::move(type), value, std::move(arguments)});
    startDrain = !std::exchange(mDraining, true);
  }
  if (startDrain) {
    std::weak_ptr<IpcServer> weak = weak_from_this();
    GetConnection()->Executor()->Post([weak] {
      if (auto self = weak.lock()) {
        self->DrainProgress();
      }
    });
  }
}

void IpcServer::DrainProgress() {
  for (;;) {
    Report report;
    ProgressCallback progress;
    {
      std::lock_guard lock(mMutex);
      if (mReports.empty()) {
        mDraining = false;
        return;
      }
      report = std::move(mReports.front());
      mReports.pop_front();
      progress = mProgress;
    }
    if (progress) {
      // A host callback that throws loses its report, not the ones after it.
      CallbackExecutor::RunGuarded([&] { progress(report.type, report.value, report.arguments); });
    }
  }
}

void IpcServer::Open(ProjectCallback callback, AnyObject arguments) {
  auto connection = GetConnection();
  Request(
      "server.open-project", std::move(arguments),
      [callback, connection](Reply& reply) -> Connection::Completion {
        auto project = IpcProject::FromReply(connection, reply);
        return [callback, project] { callback(kConnectionStatusOK, project); };
      },
      FailWith(callback, std::shared_ptr<Project>()));
}

void IpcServer::OpenProject(ProjectCallback callback, const File& file) {
  Open(std::move(callback), AnyObject{{"file", wire::ToTree(file)}});
}

void IpcServer::OpenProjectWithJSON(ProjectCallback callback, const File& file, const std::string& json) {
  Open(std::move(callback), AnyObject{{"file", wire::ToTree(file)}, {"json", MakeAny(json)}});
}

void IpcServer::OpenFarsideAsset(SourceCallback callback, const FarsideAssetRequestInfo& request) {
  auto connection = GetConnection();
  Request(
      "server.open-farside-asset", AnyObject{{"request", wire::ToTree(request)}},
      [callback, connection](Reply& reply) -> Connection::Completion {
        auto source = IpcSource::FromReply(connection, reply);
        return [callback, source] { callback(kConnectionStatusOK, source); };
      },
      FailWith(callback, std::shared_ptr<Source>()));
}

void IpcFileServer::OpenFile(OpenFileCallback callback, const File& file) {
  auto connection = GetConnection();
  Request(
      "file-server.open-file", AnyObject{{"file", wire::ToTree(file)}},
      [callback, connection](Reply& reply) -> Connection::Completion {
        const AnyObject& body = wire::AsObject(reply.body);
        auto kind = wire::WideFromTree(wire::Field(body, "kind"));
        auto message = wire::WideFromTree(wire::Field(body, "message"));
        int detail = wire::AsInt32(wire::Field(body, "detail"));
        auto source = IpcSource::FromReply(connection, reply);
        return [callback, source, kind, message, detail] {
          callback(kConnectionStatusOK, source, kind, message, detail);
        };
      },
      FailWith(callback, std::shared_ptr<Source>(), kilncore::WideString(), kilncore::WideString(), 0));
}

}  // namespace tether::ipc
