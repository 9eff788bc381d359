#include <FarsideCL/IFarsideCDataServer.h>

#include <mutex>
#include <utility>

namespace FarsideCL {
namespace {

std::mutex gLoggedInMutex;
kilncore::classref::InterfaceRef<IFarsideCDataServer> gLoggedInServer;

}  // namespace

IFarsideCDataServer::~IFarsideCDataServer() = default;

kilncore::classref::InterfaceRef<IFarsideCDataServer> IFarsideCDataServer::GetLoggedInServerRef() {
  const std::lock_guard lock(gLoggedInMutex);
  return gLoggedInServer;
}

void IFarsideCDataServer::SetLoggedInServer(kilncore::classref::InterfaceRef<IFarsideCDataServer> server) {
  // The previous server is released outside the lock: its destructor is the
  // host's code.
  {
    const std::lock_guard lock(gLoggedInMutex);
    gLoggedInServer.Swap(server);
  }
}

}  // namespace FarsideCL
