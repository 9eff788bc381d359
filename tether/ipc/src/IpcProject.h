#pragma once

#include "RemoteObject.h"

#include <tether/Container.h>
#include <tether/Project.h>

namespace tether::ipc {

// A project opened on a server. Its file and missing assets come with the
// reply that opened it.
class IpcProject : public Project, protected RemoteObject {
 public:
  IpcProject(std::shared_ptr<Connection> connection, uint64_t handle, File file, MissingAssets missing)
      : RemoteObject(std::move(connection), handle), mFile(std::move(file)), mMissing(std::move(missing)) {}

  // The project of a reply of "server.open-project".
  static std::shared_ptr<Project> FromReply(const std::shared_ptr<Connection>& connection, const Reply& reply);

  void GetSource(SourceCallback callback, const kilncore::utility::Guid& id) override;
  void GetContainer(ContainerCallback callback, const kilncore::utility::Guid& id) override;
  void GetItemsAsXML(XMLCallback callback, const std::vector<kilncore::utility::Guid>& ids) override;
  void IsSourceLinked(BoolCallback callback, const kilncore::utility::Guid& id) override;
  void RuntimeFontChange(FontChangeCallback callback) override;
  MissingAssets GetMissingAssets() override { return mMissing; }
  File GetFile() override { return mFile; }

 private:
  File mFile;
  MissingAssets mMissing;
};

// A container as fetched: local data only.
class IpcContainer : public Container {
 public:
  IpcContainer(kilncore::utility::Guid id, std::vector<ItemInfo> items) : mId(id), mItems(std::move(items)) {}
  kilncore::utility::Guid GetID() const override { return mId; }
  std::vector<ItemInfo> GetContainedItems() const override { return mItems; }

 private:
  kilncore::utility::Guid mId;
  std::vector<ItemInfo> mItems;
};

}  // namespace tether::ipc
