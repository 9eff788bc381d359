#pragma once

#include <tether/DarkslideServer.h>
#include <tether/EaselServer.h>
#include <tether/MarlServer.h>
#include <tether/ServerConnectionType.h>
#include <tether/SprocketServer.h>
#include <tether/TolmenServer.h>

#include <memory>

namespace tether {

// What carries the client library's calls to servers: an in-process double in
// unit tests, a connection to server processes in the product.
//
// The static entry points of the typed servers reach the installed backend;
// everything after them is a call on an object that the backend made, so a
// backend implements the abstract classes of this library (GenericServer and
// the typed servers, Server, FileServer, Project, Container, Source,
// VideoRenderer, AudioRenderer) and callers never know which backend they talk
// to. Each operation calls its callback once, later, on a thread of the
// backend's own.
class Backend {
 public:
  virtual ~Backend() = default;

  virtual void CreateMarlServer(MarlServer::CreateCallback callback, ServerConnectionType type) = 0;
  virtual void CreateSprocketServer(SprocketServer::CreateCallback callback, ServerConnectionType type) = 0;
  virtual void CreateTolmenServer(TolmenServer::CreateCallback callback, ServerConnectionType type) = 0;
  virtual void CreateEaselServer(EaselServer::CreateCallback callback) = 0;
  virtual void CreateDarkslideServer(DarkslideServer::CreateCallback callback) = 0;
};

// Installs the process's backend, replacing any earlier one; null uninstalls.
// Calls already made stay with the backend that received them.
void InstallBackend(std::shared_ptr<Backend> backend);

// The installed backend, or null.
std::shared_ptr<Backend> GetBackend();

}  // namespace tether
