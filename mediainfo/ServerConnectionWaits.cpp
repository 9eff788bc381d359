#include <mediainfo/ServerConnectionWaits.h>

#include <kilncore/config/KilnException.h>

#include <exception>

namespace TetherMedia::ServerConnectionWaits {
namespace {

void Fail(const kilncore::async::Promise<void>& promise, const char* text) {
  promise.SetException(
      std::make_exception_ptr(kilncore::config::kiln_exception(text, kilncore::config::kGeneralFailure)));
}

// The connector keeps the typed server alive for as long as the caller keeps
// the connector, so that the generic server can still be reached later.
template <class TypedServer>
LinkedServerConnector MakeConnector(const std::shared_ptr<TypedServer>& typedServer) {
  return [typedServer](tether::GenericServer::LinkedServerCallback callback) {
    typedServer->ConnectLinkedServer(std::move(callback), tether::kServerConnectionTypeInherit);
  };
}

template <class TypedServer>
void StoreTypedServer(const kilncore::async::Promise<void>& promise,
                      const Holder<TypedServer>& server, const ConnectorHolder& connector,
                      tether::ConnectionStatus status, const std::shared_ptr<TypedServer>& result,
                      const char* failure) {
  if (status != tether::kConnectionStatusOK || !result) {
    Fail(promise, failure);
    return;
  }
  *server = result;
  *connector = MakeConnector(result);
  promise.SetSuccess();
}

}  // namespace

void WaitForMarlServerConnection(const kilncore::async::Promise<void>& promise,
                                 const Holder<tether::MarlServer>& server,
                                 const ConnectorHolder& connector, tether::ConnectionStatus status,
                                 const std::shared_ptr<tether::MarlServer>& result) {
  StoreTypedServer(promise, server, connector, status, result, kMarlServerConnectionFailed);
}

void WaitForTolmenServerConnection(const kilncore::async::Promise<void>& promise,
                                   const Holder<tether::TolmenServer>& server,
                                   const ConnectorHolder& connector,
                                   tether::ConnectionStatus status,
                                   const std::shared_ptr<tether::TolmenServer>& result) {
  StoreTypedServer(promise, server, connector, status, result, kTolmenServerConnectionFailed);
}

void WaitForServer(const kilncore::async::Promise<void>& promise, const tether::File& file,
                   const Holder<tether::Server>& server, const Holder<tether::Project>& project,
                   tether::ConnectionStatus status, const std::shared_ptr<tether::Server>& result) {
  if (status != tether::kConnectionStatusOK || !result) {
    Fail(promise, kServerFailed);
    return;
  }
  *server = result;
  result->OpenProject(
      [promise, project](tether::ConnectionStatus projectStatus,
                         const std::shared_ptr<tether::Project>& opened) {
        WaitForProjectOpened(promise, project, projectStatus, opened);
      },
      file);
}

void WaitForProjectOpened(const kilncore::async::Promise<void>& promise,
                          const Holder<tether::Project>& project, tether::ConnectionStatus status,
                          const std::shared_ptr<tether::Project>& result) {
  if (status != tether::kConnectionStatusOK || !result) {
    Fail(promise, kItemXMLFailed);
    return;
  }
  *project = result;
  promise.SetSuccess();
}

void WaitForItemXML(const kilncore::async::Promise<void>& promise,
                    const std::shared_ptr<std::string>& xml, tether::ConnectionStatus status,
                    const std::string& result) {
  if (status != tether::kConnectionStatusOK) {
    Fail(promise, kItemXMLFailed);
    return;
  }
  *xml = result;
  promise.SetSuccess();
}

void WaitForContainer(const kilncore::async::Promise<void>& promise,
                      const Holder<tether::Container>& container, tether::ConnectionStatus status,
                      const std::shared_ptr<tether::Container>& result) {
  if (status != tether::kConnectionStatusOK || !result) {
    Fail(promise, kContainerFailed);
    return;
  }
  *container = result;
  promise.SetSuccess();
}

void WaitForCaptionData(const kilncore::async::Promise<void>& promise,
                        const std::shared_ptr<tether::CaptionData>& data,
                        tether::ConnectionStatus status, const tether::CaptionData& result) {
  if (status != tether::kConnectionStatusOK) {
    Fail(promise, kCaptionDataFailed);
    return;
  }
  *data = result;
  promise.SetSuccess();
}

void WaitForCaptionSelectionData(const kilncore::async::Promise<void>& promise,
                                 const std::shared_ptr<bool>& accepted,
                                 tether::ConnectionStatus status, bool result) {
  if (status != tether::kConnectionStatusOK) {
    Fail(promise, kCaptionSelectionDataFailed);
    return;
  }
  *accepted = result;
  promise.SetSuccess();
}

}  // namespace TetherMedia::ServerConnectionWaits
