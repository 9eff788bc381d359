#include <module/TetherMediaModuleCreator.h>

#include <module/TetherMediaModule.h>

#include <kilncore/allocator/STLAllocator.h>
#include <kilncore/threads/RecursiveMutex.h>

#include <memory>

namespace TetherMedia {
namespace {

// Made at first use, so that a creation during static initialisation finds it.
kilncore::threads::RecursiveMutex& CreatorMutex() {
  static kilncore::threads::RecursiveMutex mutex;
  return mutex;
}

// Guarded by CreatorMutex(). Weak, so that the module goes away with its last
// user rather than living for the whole process.
std::weak_ptr<TetherMediaModule> gCurrentModule;

}  // namespace

kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase> CreateTetherMediaModule() {
  std::shared_ptr<TetherMediaModule> module;
  {
    kilncore::threads::ScopedRecursiveLock lock(CreatorMutex());
    module = gCurrentModule.lock();
    if (!module) {
      module = std::allocate_shared<TetherMediaModule>(
          kilncore::allocator::STLAllocator<TetherMediaModule>());
      gCurrentModule = module;
    }
  }
  return kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase>(std::move(module));
}

}  // namespace TetherMedia
