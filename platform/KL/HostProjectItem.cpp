#include <KL/HostProjectItem.h>

#include <KL/HostMasterClip.h>

#include <kilncore/classref/QueryMapEntries.h>
#include <kilncore/string/UTFConversion.h>

#include <memory>
#include <utility>

namespace KL {

using kilncore::classref::InterfaceRef;
using kilncore::utility::ImmutableString;
using Kind = ProjectXML::Item::Kind;

InterfaceRef<HostProjectItem> HostProjectItem::Create(const ProjectXML::Item& record, const std::shared_ptr<kilncore::messaging::ManagedStation>& station) {
  auto item = std::make_shared<HostProjectItem>(record, station);
  for (const ProjectXML::Item& child : record.children) item->mChildren.emplace_back(Create(child, station));
  return item;
}

InterfaceRef<HostProjectItem> HostProjectItem::CreateRoot(const std::vector<ProjectXML::Item>& items,
                                                          const std::shared_ptr<kilncore::messaging::ManagedStation>& station) {
  ProjectXML::Item root;
  root.kind = Kind::kBin;
  root.name = "Root";
  root.children = items;
  return Create(root, station);
}

HostProjectItem::HostProjectItem(const ProjectXML::Item& record,
                                 std::shared_ptr<kilncore::messaging::ManagedStation> station)
    : StationedProperties(record.properties, std::move(station)),
      mKind(record.kind),
      mName(kilncore::string::UTF8to16(record.name)),
      mNodeID(record.nodeID),
      mID(record.id) {
  if (mKind == Kind::kSequence) mMasterClip = std::make_shared<HostMasterClip>(mName, record.id);
  if (mKind == Kind::kMasterClip) {
    mMasterClip = std::make_shared<HostMasterClip>(mName, kilncore::string::UTF8to16(record.media));
  }
}

HostProjectItem::~HostProjectItem() = default;

uint64_t HostProjectItem::GetNodeID() const { return mNodeID; }

kilncore::utility::Guid HostProjectItem::GetUniqueID() const {
  std::lock_guard lock(mMutex);
  return mID;
}

void HostProjectItem::SetUniqueID(const kilncore::utility::Guid& id) {
  std::lock_guard lock(mMutex);
  mID = id;
}

IProjectItemContainer::ContainedItemMap HostProjectItem::GetContainedItemMap() {
  ContainedItemMap map;
  for (size_t i = 0; i < mChildren.size(); ++i) map.emplace(static_cast<uint32_t>(i), mChildren[i]);
  return map;
}

InterfaceRef<IMasterClip> HostProjectItem::GetMasterClip() { return mMasterClip; }

void* HostProjectItem::QueryMap(const std::string_view& name) {
  using kilncore::classref::AnswerQuery;
  if (void* common = AnswerQuery<HostProjectItem, IProjectItem, IProperties, INode, IUniqueSerializeable>(this, name)) {
    return common;
  }
  if (mKind == Kind::kBin) return AnswerQuery<IProjectItemContainer>(this, name);
  return AnswerQuery<IClipProjectItem>(this, name);
}

}  // namespace KL
