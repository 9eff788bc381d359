#include "ScriptedProject.h"

#include "ScriptedContainer.h"
#include "ScriptedSource.h"

namespace tether::testing {

ScriptedProject::ScriptedProject(std::weak_ptr<ScriptedBackend> backend, std::string key, File file,
                                 ScriptedProjectSetup setup)
    : ScriptedObject(std::move(backend), std::move(key)), mFile(std::move(file)), mSetup(std::move(setup)) {}

void ScriptedProject::GetSource(SourceCallback callback, const kilncore::utility::Guid& id) {
  const std::string key = id.AsUTF8String();
  auto ticket = Begin(Operation::kGetSource, key, IdArgs{id});
  auto source = ScriptedSource::Make(ticket.backend, Backend(), key, id);
  Finish(ticket, Operation::kGetSource, key, [callback = std::move(callback), source](const Behaviour& behaviour) {
    callback(behaviour.status, Pick<Source>(behaviour, source));
  });
}

void ScriptedProject::GetContainer(ContainerCallback callback, const kilncore::utility::Guid& id) {
  const std::string key = id.AsUTF8String();
  auto ticket = Begin(Operation::kGetContainer, key, IdArgs{id});
  std::shared_ptr<Container> container;
  auto found = mSetup.containers.find(id);
  if (found != mSetup.containers.end()) {
    container = std::make_shared<ScriptedContainer>(Backend(), id, found->second);
  } else if (id.IsNil()) {
    container = std::make_shared<ScriptedContainer>(Backend(), id, std::vector<ItemInfo>{});
  } else if (ticket.behaviour.status == 0) {
    ticket.behaviour.status = kConnectionStatusNotFound;
  }
  Finish(ticket, Operation::kGetContainer, key,
         [callback = std::move(callback), container](const Behaviour& behaviour) {
           callback(behaviour.status, Pick(behaviour, container));
         });
}

void ScriptedProject::GetItemsAsXML(XMLCallback callback, const std::vector<kilncore::utility::Guid>& ids) {
  auto ticket = Begin(Operation::kGetItemsAsXML, Key(), GetItemsAsXMLArgs{ids});
  Finish(ticket, Operation::kGetItemsAsXML, Key(),
         [callback = std::move(callback), xml = mSetup.itemsXML](const Behaviour& behaviour) {
           callback(behaviour.status, PickValue(behaviour, xml));
         });
}

void ScriptedProject::IsSourceLinked(BoolCallback callback, const kilncore::utility::Guid& id) {
  auto ticket = Begin(Operation::kIsSourceLinked, Key(), IdArgs{id});
  const bool linked = mSetup.linkedSources.count(id) != 0;
  Finish(ticket, Operation::kIsSourceLinked, Key(), [callback = std::move(callback), linked](const Behaviour& behaviour) {
    callback(behaviour.status, PickValue(behaviour, linked));
  });
}

void ScriptedProject::RuntimeFontChange(FontChangeCallback callback) {
  auto ticket = Begin(Operation::kRuntimeFontChange, Key());
  unsigned int value = 1;
  {
    std::lock_guard lock(mMutex);
    if (!mSetup.fontChangeValues.empty()) {
      value = mSetup.fontChangeValues[std::min(mFontChanges, mSetup.fontChangeValues.size() - 1)];
    }
    ++mFontChanges;
  }
  Finish(ticket, Operation::kRuntimeFontChange, Key(), [callback = std::move(callback), value](const Behaviour& behaviour) {
    callback(behaviour.status, PickValue(behaviour, value));
  });
}

MissingAssets ScriptedProject::GetMissingAssets() {
  Begin(Operation::kGetMissingAssets, Key());
  return mSetup.missingAssets;
}

File ScriptedProject::GetFile() {
  Begin(Operation::kGetFile, Key());
  return mFile;
}

}  // namespace tether::testing
