#include <TetherMedia/ProjectEnumeration.h>

#include <mediainfo/ServerConnectionWaits.h>
#include <requests/ServerWait.h>

#include <tether/Container.h>
#include <tether/File.h>
#include <tether/MarlServer.h>
#include <tether/Project.h>
#include <tether/Server.h>
#include <tether/TolmenServer.h>

#include <KL/INode.h>
#include <KL/IProperties.h>
#include <KL/IProjectItemContainer.h>
#include <KL/IUniqueSerializeable.h>
#include <KL/Keel.h>
#include <KL/OverrideReadOnlyPropertyWarningMessage.h>
#include <KL/SerializeableValue.h>
#include <WF/ProjectLoadStatus.h>
#include <WF/ProjectLoadSupport.h>

#include <kilncore/config/KilnException.h>
#include <kilncore/messaging/UIThreadQueue.h>
#include <kilncore/string/UTFConversion.h>

#include <boost/bind/bind.hpp>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>

namespace TetherMedia {
namespace {

using namespace boost::placeholders;
namespace Waits = ServerConnectionWaits;
using kilncore::async::Promise;

// Reaches the project at `file` through a typed server of its own, in two
// waits: the typed server, then the generic server and the project opened on
// it as one chain. The result of the first wait that failed, or 0 with the
// project in `outProject`.
template <class TypedServer, class Answer>
int32_t OpenProject(const tether::File& file, Answer answer, std::shared_ptr<tether::Project>& outProject) {
  auto typedServer = std::make_shared<std::shared_ptr<TypedServer>>();
  auto connector = std::make_shared<Waits::LinkedServerConnector>();
  const int32_t serverResult = ServerWait::Block([&](const Promise<void>& promise) {
    TypedServer::CreateTetherServer(boost::bind(answer, promise, typedServer, connector, _1, _2),
                                    tether::kServerConnectionTypeDefault);
  });
  if (serverResult < 0) return serverResult;

  auto server = std::make_shared<std::shared_ptr<tether::Server>>();
  auto project = std::make_shared<std::shared_ptr<tether::Project>>();
  const int32_t projectResult = ServerWait::Block([&](const Promise<void>& promise) {
    (*connector)(boost::bind(&Waits::WaitForServer, promise, file, server, project, _1, _2));
  });
  if (projectResult < 0) return projectResult;
  outProject = *project;
  return 0;
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

using kilncore::classref::InterfaceRef;
using ItemList = std::vector<InterfaceRef<KL::IProjectItem>>;

constexpr int32_t kGeneralFailure = static_cast<int32_t>(0xA00F0001u);

// The items `ids` of `project` as a project XML text; the wait's result.
int32_t GetItemsXML(tether::Project& project, const std::vector<kilncore::utility::Guid>& ids, std::string& outXML) {
  auto xml = std::make_shared<std::string>();
  const int32_t result = ServerWait::Block([&](const Promise<void>& promise) {
    project.GetItemsAsXML(boost::bind(&Waits::WaitForItemXML, promise, xml, _1, _2), ids);
  });
  if (result >= 0) outXML = std::move(*xml);
  return result;
}

// The host's project library parses the text; `out` stays null if it
// doesn't parse.
void ParseProjectFromXML(const std::string& xml, InterfaceRef<KL::IProject>& out) {
  KL::IKeel* keel = KL::GetKeel();
  if (keel == nullptr) kilncore::config::DoThrowNullPtrException("KL::IKeel");
  keel->ParseProjectXML(xml, nullptr, u"Project", out);
}

void LoadProject(const InterfaceRef<KL::IProject>& project) {
  const InterfaceRef<KL::IProjectLoadStatus> status = WF::ProjectLoadStatus::Create();
  const InterfaceRef<KL::IProjectLoadSupport> support =
      WF::ProjectLoadSupport::Create(project, WF::ProjectLoadSupport::kLoadForImport, status);
  project->RunProjectLoad(support, nullptr);
}

// The node identifiers that the project marks for import. Read as a stream
// reads them, the list always ends with the 0 of the read that failed; a
// project without properties marks nothing.
std::vector<uint64_t> ReadMarkedNodeIDs(const InterfaceRef<KL::IProject>& project) {
  std::vector<uint64_t> marked;
  const InterfaceRef<KL::IProperties> properties(project);
  if (!properties) return marked;
  properties->FlushProperties();
  KL::SerializeableValue<std::string> text;
  properties->ReadProperty(KL::kProjectItemMarkedForImportPropertyKey, text);
  std::istringstream stream(text.Get());
  do {
    uint64_t id = 0;
    stream >> id;
    marked.push_back(id);
  } while (!stream.fail());
  return marked;
}

// Writes `value` unless `key` is read-only, in which case the item's owner is
// warned instead.
void WriteItemProperty(KL::IProperties& properties, const kilncore::utility::ImmutableString& key,
                       const KL::SerializeableValueBase& value) {
  if (properties.IsPropertyReadOnly(key)) {
    kilncore::messaging::AsyncBroadcastMessage(properties.GetPropertyStationID(),
                                               KL::OverrideReadOnlyPropertyWarningMessage(key));
    return;
  }
  properties.WriteProperty(key, value, false);
}

void MarkItem(const InterfaceRef<KL::IProjectItem>& item, const std::vector<uint64_t>& marked,
              const kilncore::WideString& path) {
  const InterfaceRef<KL::INode> node(item);
  const InterfaceRef<KL::IProperties> properties(item);
  if (!properties) return;
  if (!node) kilncore::config::DoThrowNullPtrException("KL::INode");
  if (std::find(marked.begin(), marked.end(), node->GetNodeID()) == marked.end()) {
    WriteItemProperty(*properties, KL::kProjectItemMarkedForNotImportPropertyKey, KL::SerializeableValue<bool>(true));
    return;
  }
  // The imported copy is a new item of the importing project; its origin is
  // kept so that it can be traced back.
  if (const InterfaceRef<KL::IUniqueSerializeable> unique(item); unique) {
    WriteItemProperty(*properties, KL::kOriginalProjectItemGuid,
                      KL::SerializeableValue<std::string>(unique->GetUniqueID().AsUTF8String()));
    unique->SetUniqueID(kilncore::utility::Guid::CreateUnique());
  }
  WriteItemProperty(*properties, KL::kOriginalProjectItemProjectPath,
                    KL::SerializeableValue<std::string>(kilncore::string::UTF16to8(path)));
}

int32_t LoadProjectItems(const kilncore::WideString& path, const std::vector<kilncore::utility::Guid>& ids,
                         ItemList& items) {
  const tether::File file(path);
  std::shared_ptr<tether::Project> project;
  const int32_t opened = OpenProject<tether::TolmenServer>(file, &Waits::WaitForTolmenServerConnection, project);
  if (opened < 0) return opened;
  if (!project) return kGeneralFailure;

  std::string xml;
  const int32_t fetched = GetItemsXML(*project, ids, xml);
  if (fetched < 0) return fetched;
  if (xml.empty()) return kGeneralFailure;

  InterfaceRef<KL::IProject> loaded;
  ParseProjectFromXML(xml, loaded);
  if (!loaded) return 0;
  LoadProject(loaded);
  const std::vector<uint64_t> marked = ReadMarkedNodeIDs(loaded);

  const InterfaceRef<KL::IProjectItemContainer> root(loaded->GetRootItem());
  if (!root) kilncore::config::DoThrowNullPtrException("KL::IProjectItemContainer");
  const KL::IProjectItemContainer::ContainedItemMap contained = root->GetContainedItemMap();
  items.clear();
  items.reserve(contained.size());
  for (const auto& [position, item] : contained) items.push_back(item);
  for (const auto& item : items) MarkItem(item, marked, path);
  return 0;
}

}  // namespace

int32_t GetProjectItemsFromProject(const kilncore::WideString& path, const std::vector<kilncore::utility::Guid>& ids,
                                   ItemList& items) {
  try {
    return LoadProjectItems(path, ids, items);
  } catch (...) {
    // A host library that failed (a null reference, a property of the wrong
    // type) ends the import with its code; the caller gets no exception.
    return kilncore::config::ExtractResultFromException(std::current_exception());
  }
}

std::vector<tether::ItemInfo> GetCompsInfoForMarlp(const kilncore::WideString& path) {
  std::vector<tether::ItemInfo> result;
  const tether::File file(path);
  std::shared_ptr<tether::Project> project;
  if (OpenProject<tether::MarlServer>(file, &Waits::WaitForMarlServerConnection, project) < 0 || !project) {
    return result;
  }
  CollectContainerItems(*project, kilncore::utility::Guid(), result);
  return result;
}

}  // namespace TetherMedia
