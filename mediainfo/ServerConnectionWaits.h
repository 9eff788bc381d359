#pragma once

#include <kilncore/async/Promise.h>
#include <tether/CaptionData.h>
#include <tether/ConnectionStatus.h>
#include <tether/Container.h>
#include <tether/File.h>
#include <tether/GenericServer.h>
#include <tether/MarlServer.h>
#include <tether/Project.h>
#include <tether/Server.h>
#include <tether/TolmenServer.h>

#include <functional>
#include <memory>
#include <string>

namespace TetherMedia {

// Continuations for connections that have no linked item behind them (listing
// the compositions of a project, loading items of a host project). Where an
// item's handlers store into its members, these store into shared holders
// that the waiting caller keeps, and end the wait by completing `promise`.
//
// Each is meant to be bound (boost::bind or a lambda) to its promise and
// holders, with the client library's status and result as the open arguments,
// in that order. A holder stays valid when the answer comes after the waiter
// has given up, since the bound function holds its own reference.
//
// Every failure fails `promise` with a kiln_exception of code 0xA00F0001 and a
// fixed text naming the step; a server, project or container that comes back
// null with status 0 counts as a failure too.
namespace ServerConnectionWaits {

// Connects the generic server of a typed server: called with the function
// that receives that server. Made by the typed-server continuations below.
using LinkedServerConnector = std::function<void(tether::GenericServer::LinkedServerCallback)>;

// Holders: one object each, shared between the waiting caller and the bound
// continuation.
template <class T>
using Holder = std::shared_ptr<std::shared_ptr<T>>;
using ConnectorHolder = std::shared_ptr<LinkedServerConnector>;

// The texts of the failures.
inline constexpr const char* kMarlServerConnectionFailed = "WaitForMarlServerConnection failed";
inline constexpr const char* kTolmenServerConnectionFailed = "WaitForTolmenServerConnection failed";
inline constexpr const char* kServerFailed = "WaitForServer failed";
// The project step and the XML step share one text on purpose: callers don't
// need to tell them apart.
inline constexpr const char* kItemXMLFailed = "WaitForItemXML failed";
inline constexpr const char* kContainerFailed = "WaitForContainer failed";
inline constexpr const char* kCaptionDataFailed = "WaitForCaptionData failed";
inline constexpr const char* kCaptionSelectionDataFailed = "WaitForCaptionSelectionData failed";

// Answer of MarlServer::CreateTetherServer. On success stores the server in
// `server`, stores in `connector` a function that calls its ConnectLinkedServer
// with the inherited connection type, and completes `promise`.
void WaitForMarlServerConnection(const kilncore::async::Promise<void>& promise,
                                 const Holder<tether::MarlServer>& server,
                                 const ConnectorHolder& connector, tether::ConnectionStatus status,
                                 const std::shared_ptr<tether::MarlServer>& result);

// The same for TolmenServer::CreateTetherServer.
void WaitForTolmenServerConnection(const kilncore::async::Promise<void>& promise,
                                   const Holder<tether::TolmenServer>& server,
                                   const ConnectorHolder& connector,
                                   tether::ConnectionStatus status,
                                   const std::shared_ptr<tether::TolmenServer>& result);

// Answer of ConnectLinkedServer. Doesn't complete `promise` on success: it
// stores the server in `server` and opens `file` on it, with
// WaitForProjectOpened as the answer, which ends the wait.
void WaitForServer(const kilncore::async::Promise<void>& promise, const tether::File& file,
                   const Holder<tether::Server>& server, const Holder<tether::Project>& project,
                   tether::ConnectionStatus status, const std::shared_ptr<tether::Server>& result);

// Answer of Server::OpenProject: stores the project and completes `promise`.
void WaitForProjectOpened(const kilncore::async::Promise<void>& promise,
                          const Holder<tether::Project>& project, tether::ConnectionStatus status,
                          const std::shared_ptr<tether::Project>& result);

// Answer of Project::GetItemsAsXML: stores the text and completes `promise`.
void WaitForItemXML(const kilncore::async::Promise<void>& promise,
                    const std::shared_ptr<std::string>& xml, tether::ConnectionStatus status,
                    const std::string& result);

// Answer of Project::GetContainer: stores the container and completes `promise`.
void WaitForContainer(const kilncore::async::Promise<void>& promise,
                      const Holder<tether::Container>& container, tether::ConnectionStatus status,
                      const std::shared_ptr<tether::Container>& result);

// Answer of Source::GetCaptionData: stores the data and completes `promise`.
void WaitForCaptionData(const kilncore::async::Promise<void>& promise,
                        const std::shared_ptr<tether::CaptionData>& data,
                        tether::ConnectionStatus status, const tether::CaptionData& result);

// Answer of Source::SetCaptionSelectionData: stores the server's flag and
// completes `promise`.
void WaitForCaptionSelectionData(const kilncore::async::Promise<void>& promise,
                                 const std::shared_ptr<bool>& accepted,
                                 tether::ConnectionStatus status, bool result);

}  // namespace ServerConnectionWaits
}  // namespace TetherMedia
