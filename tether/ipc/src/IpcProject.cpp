#include "IpcProject.h"

#include "IpcSource.h"

#include <tether/wire/RecordCodec.h>

namespace tether::ipc {

using kilncore::utility::Guid;

std::shared_ptr<Project> IpcProject::FromReply(const std::shared_ptr<Connection>& connection, const Reply& reply) {
  const AnyObject& body = wire::AsObject(reply.body);
  return std::make_shared<IpcProject>(connection, HandleOf(reply), wire::FileFromTree(wire::Field(body, "file")),
                                      wire::MissingAssetsFromTree(wire::Field(body, "missingAssets")));
}

void IpcProject::GetSource(SourceCallback callback, const Guid& id) {
  auto connection = GetConnection();
  Request(
      "project.get-source", AnyObject{{"id", wire::ToTree(id)}},
      [callback, connection](Reply& reply) -> Connection::Completion {
        auto source = IpcSource::FromReply(connection, reply);
        return [callback, source] { callback(kConnectionStatusOK, source); };
      },
      FailWith(callback, std::shared_ptr<Source>()));
}

void IpcProject::GetContainer(ContainerCallback callback, const Guid& id) {
  Request(
      "project.get-container", AnyObject{{"id", wire::ToTree(id)}},
      [callback](Reply& reply) -> Connection::Completion {
        const AnyObject& body = wire::AsObject(reply.body);
        auto container = std::make_shared<IpcContainer>(wire::GuidFromTree(wire::Field(body, "id")),
                                                        wire::ItemsFromTree(wire::Field(body, "items")));
        return [callback, container] { callback(kConnectionStatusOK, container); };
      },
      FailWith(callback, std::shared_ptr<Container>()));
}

void IpcProject::GetItemsAsXML(XMLCallback callback, const std::vector<Guid>& ids) {
  AnyArray array;
  for (const auto& id : ids) {
    array.push_back(wire::ToTree(id));
  }
  Request(
      "project.get-items-as-xml", AnyObject{{"ids", MakeAny(std::move(array))}},
      [callback](Reply& reply) -> Connection::Completion {
        std::string xml = wire::AsString(wire::Field(wire::AsObject(reply.body), "xml"));
        return [callback, xml] { callback(kConnectionStatusOK, xml); };
      },
      FailWith(callback, std::string()));
}

void IpcProject::IsSourceLinked(BoolCallback callback, const Guid& id) {
  Request(
      "project.is-source-linked", AnyObject{{"id", wire::ToTree(id)}},
      [callback](Reply& reply) -> Connection::Completion {
        bool linked = wire::AsBool(wire::Field(wire::AsObject(reply.body), "value"));
        return [callback, linked] { callback(kConnectionStatusOK, linked); };
      },
      FailWith(callback, false));
}

void IpcProject::RuntimeFontChange(FontChangeCallback callback) {
  Request(
      "project.runtime-font-change", AnyObject{},
      [callback](Reply& reply) -> Connection::Completion {
        unsigned int value = wire::AsUint32(wire::Field(wire::AsObject(reply.body), "value"));
        return [callback, value] { callback(kConnectionStatusOK, value); };
      },
      FailWith(callback, 0u));
}

}  // namespace tether::ipc
