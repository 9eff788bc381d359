#include <WF/CallbackInstanceIDMap.h>

#include <map>
#include <mutex>
#include <utility>

namespace WF {
namespace {

using ObjectRef = kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase>;

struct InstanceTable {
  std::mutex mutex;
  int32_t lastID = 0;
  std::map<int32_t, ObjectRef> objects;
};

InstanceTable& Table() {
  static InstanceTable table;
  return table;
}

}  // namespace

int32_t CreateUniqueCallbackInstanceID(ObjectRef object) {
  auto& table = Table();
  const std::lock_guard lock(table.mutex);
  const int32_t id = ++table.lastID;
  table.objects.emplace(id, std::move(object));
  return id;
}

void RemoveIDFromInstanceIDMap(int32_t id) {
  ObjectRef released;
  {
    auto& table = Table();
    const std::lock_guard lock(table.mutex);
    const auto found = table.objects.find(id);
    if (found == table.objects.end()) return;
    released = std::move(found->second);
    table.objects.erase(found);
  }
  // `released` goes here, outside the lock: the object's destructor may well
  // remove ids of its own.
}

ObjectRef FindCallbackInstance(int32_t id) {
  auto& table = Table();
  const std::lock_guard lock(table.mutex);
  const auto found = table.objects.find(id);
  return found == table.objects.end() ? ObjectRef() : found->second;
}

size_t CountCallbackInstances() {
  auto& table = Table();
  const std::lock_guard lock(table.mutex);
  return table.objects.size();
}

}  // namespace WF
