#pragma once

#include <KL/IClipProjectItem.h>
#include <KL/INode.h>
#include <KL/IProjectItem.h>
#include <KL/IProjectItemContainer.h>
#include <KL/StationedProperties.h>
#include <KL/IUniqueSerializeable.h>

#include <ProjectXML/ProjectDocument.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/messaging/ManagedStation.h>
#include <kilncore/utility/Guid.h>
#include <kilncore/utility/ImmutableString.h>

#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace KL {

// An item of a loaded host project: a bin (which answers for
// KL::IProjectItemContainer), or a clip of a sequence or of a media file
// (which answers for KL::IClipProjectItem). Every item answers for
// KL::IProjectItem, KL::IProperties, KL::INode and KL::IUniqueSerializeable.
// Its properties share the project's station. Thread-safe.
class HostProjectItem final : public IProjectItem,
                              public StationedProperties,
                              public INode,
                              public IUniqueSerializeable,
                              public IProjectItemContainer,
                              public IClipProjectItem {
 public:
  // Makes the item of `record` and, for a bin, its items; `station` is the
  // project's property station, which the items keep for as long as they live.
  static kilncore::classref::InterfaceRef<HostProjectItem> Create(const ProjectXML::Item& record,
                                                                  const std::shared_ptr<kilncore::messaging::ManagedStation>& station);
  // The root of a project: a bin of `items`.
  static kilncore::classref::InterfaceRef<HostProjectItem> CreateRoot(
      const std::vector<ProjectXML::Item>& items, const std::shared_ptr<kilncore::messaging::ManagedStation>& station);

  HostProjectItem(const ProjectXML::Item& record, std::shared_ptr<kilncore::messaging::ManagedStation> station);
  ~HostProjectItem() override;

  ProjectXML::Item::Kind GetKind() const { return mKind; }
  const kilncore::WideString& GetName() const { return mName; }

  // KL::INode
  uint64_t GetNodeID() const override;

  // KL::IUniqueSerializeable
  kilncore::utility::Guid GetUniqueID() const override;
  void SetUniqueID(const kilncore::utility::Guid& id) override;

  // KL::IProjectItemContainer
  ContainedItemMap GetContainedItemMap() override;

  // KL::IClipProjectItem
  kilncore::classref::InterfaceRef<IMasterClip> GetMasterClip() override;

 protected:
  void* QueryMap(const std::string_view& name) override;

 private:
  const ProjectXML::Item::Kind mKind;
  const kilncore::WideString mName;
  const uint64_t mNodeID;
  mutable std::mutex mMutex;
  kilncore::utility::Guid mID;  // guarded by mMutex
  std::vector<kilncore::classref::InterfaceRef<IProjectItem>> mChildren;
  kilncore::classref::InterfaceRef<IMasterClip> mMasterClip;
};

}  // namespace KL
