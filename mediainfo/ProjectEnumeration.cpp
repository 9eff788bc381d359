#include <TetherMedia/ProjectEnumeration.h>

#include <mediainfo/ServerConnectionWaits.h>
#include <requests/ServerWait.h>

#include <tether/Container.h>
#include <tether/File.h>
#include <tether/MarlServer.h>
#include <tether/Project.h>
#include <tether/Server.h>

#include <boost/bind/bind.hpp>

#include <memory>

namespace TetherMedia {
namespace {

using namespace boost::placeholders;
namespace Waits = ServerConnectionWaits;
using kilncore::async::Promise;

// Reaches the project at `file` through a Marl server of its own, in two
// waits: the typed server, then the generic server and the project opened on
// it as one chain. Null when either wait fails.
std::shared_ptr<tether::Project> OpenMarlProject(const tether::File& file) {
  auto typedServer = std::make_shared<std::shared_ptr<tether::MarlServer>>();
  auto connector = std::make_shared<Waits::LinkedServerConnector>();
  const int32_t serverResult = ServerWait::Block([&](const Promise<void>& promise) {
    tether::MarlServer::CreateTetherServer(
        boost::bind(&Waits::WaitForMarlServerConnection, promise, typedServer, connector, _1, _2),
        tether::kServerConnectionTypeDefault);
  });
  if (serverResult < 0) return nullptr;

  auto server = std::make_shared<std::shared_ptr<tether::Server>>();
  auto project = std::make_shared<std::shared_ptr<tether::Project>>();
  const int32_t projectResult = ServerWait::Block([&](const Promise<void>& promise) {
    (*connector)(boost::bind(&Waits::WaitForServer, promise, file, server, project, _1, _2));
  });
  if (projectResult < 0) return nullptr;
  return *project;
}

// Appends the leaf items of the container `id` to `out`, descending into each
// sub-container where it stands, so the list comes out depth first. A
// container that can't be had is left out with everything below it.
void CollectContainerItems(tether::Project& project, const kilncore::utility::Guid& id,
                           std::vector<tether::ItemInfo>& out) {
  auto container = std::make_shared<std::shared_ptr<tether::Container>>();
  const int32_t result = ServerWait::Block([&](const Promise<void>& promise) {
    project.GetContainer(boost::bind(&Waits::WaitForContainer, promise, container, _1, _2), id);
  });
  if (result < 0 || !*container) return;

  for (const tether::ItemInfo& item : (*container)->GetContainedItems()) {
    if (item.type == tether::ItemInfo::kTypeLeaf) {
      out.push_back(item);
    } else if (item.type == tether::ItemInfo::kTypeContainer) {
      CollectContainerItems(project, item.id, out);
    }
    // Other types come from newer servers and mean nothing here.
  }
}

}  // namespace

std::vector<tether::ItemInfo> GetCompsInfoForMarlp(const kilncore::WideString& path) {
  std::vector<tether::ItemInfo> result;
  const tether::File file(path);
  const std::shared_ptr<tether::Project> project = OpenMarlProject(file);
  if (!project) return result;
  CollectContainerItems(*project, kilncore::utility::Guid(), result);
  return result;
}

}  // namespace TetherMedia
