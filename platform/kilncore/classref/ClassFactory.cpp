#include <kilncore/classref/ClassFactory.h>

#include <mutex>
#include <unordered_map>
#include <utility>

namespace kilncore::classref {
namespace {

struct ClassEntry {
  std::string idName;
  std::string className;
  ClassFactory::Creator creator;
};

class ClassRegistry {
 public:
  static ClassRegistry& Instance() {
    // Never destroyed: classes registered by modules stay for the life of the
    // process, and creators may be looked up during static destruction.
    static ClassRegistry* registry = new ClassRegistry();
    return *registry;
  }

  void Set(const utility::Guid& classID, ClassEntry entry) {
    ClassEntry replaced;
    {
      std::lock_guard lock(mMutex);
      auto [it, inserted] = mEntries.try_emplace(classID);
      replaced = std::exchange(it->second, std::move(entry));
    }
    // `replaced` dies here, outside the lock: destroying a creator may run
    // arbitrary code.
  }

  bool Erase(const utility::Guid& classID) {
    ClassEntry erased;
    std::lock_guard lock(mMutex);
    auto it = mEntries.find(classID);
    if (it == mEntries.end()) return false;
    erased = std::move(it->second);
    mEntries.erase(it);
    return true;
  }

  bool Find(const utility::Guid& classID, ClassEntry& out) const {
    std::lock_guard lock(mMutex);
    auto it = mEntries.find(classID);
    if (it == mEntries.end()) return false;
    out = it->second;
    return true;
  }

 private:
  mutable std::mutex mMutex;
  std::unordered_map<utility::Guid, ClassEntry> mEntries;
};

}  // namespace

utility::Seam<ClassFactory::RegisterClassSignature>& ClassFactory::RegisterClassSeam() {
  // Never destroyed: classes may be registered from static initialisers of any
  // library, and so in any order with this function's statics.
  static auto* const seam = new utility::Seam<RegisterClassSignature>(
      [](const utility::Guid& classID, std::string_view idName, std::string_view className, Creator creator) {
        ClassRegistry::Instance().Set(
            classID, ClassEntry{std::string(idName), std::string(className), std::move(creator)});
      });
  return *seam;
}

void ClassFactory::RegisterClass(const utility::Guid& classID, std::string_view idName,
                                 std::string_view className, Creator creator) {
  RegisterClassSeam()(classID, idName, className, std::move(creator));
}

bool ClassFactory::UnregisterClass(const utility::Guid& classID) {
  return ClassRegistry::Instance().Erase(classID);
}

bool ClassFactory::IsClassRegistered(const utility::Guid& classID) {
  ClassEntry entry;
  return ClassRegistry::Instance().Find(classID, entry);
}

std::string ClassFactory::GetClassName(const utility::Guid& classID) {
  ClassEntry entry;
  ClassRegistry::Instance().Find(classID, entry);
  return entry.className;
}

std::string ClassFactory::GetClassIDName(const utility::Guid& classID) {
  ClassEntry entry;
  ClassRegistry::Instance().Find(classID, entry);
  return entry.idName;
}

InterfaceRef<UnknownBase> ClassFactory::CreateInstance(const utility::Guid& classID) {
  ClassEntry entry;
  if (!ClassRegistry::Instance().Find(classID, entry) || !entry.creator) return {};
  return entry.creator();
}

InterfaceRef<UnknownBase> CreateClassInstanceRef(const utility::Guid& classID) {
  return ClassFactory::CreateInstance(classID);
}

}  // namespace kilncore::classref
