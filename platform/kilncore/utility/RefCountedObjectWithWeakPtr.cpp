#include <kilncore/utility/RefCountedObjectWithWeakPtr.h>

namespace kilncore::utility {

RefCountedObjectWithWeakPtr::RefCountedObjectWithWeakPtr()
    : mAnchor(std::make_shared<detail::WeakAnchor>()) {
  mAnchor->object = this;
}

RefCountedObjectWithWeakPtr::~RefCountedObjectWithWeakPtr() = default;

void RefCountedObjectWithWeakPtr::AddRef() const noexcept {
  mUseCount.fetch_add(1, std::memory_order_relaxed);
}

void RefCountedObjectWithWeakPtr::Release() const noexcept {
  if (mUseCount.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
  {
    // A Lock() in progress holds the mutex; once it is ours no weak reference
    // can reach the object any more.
    std::lock_guard<std::mutex> lock(mAnchor->mutex);
    mAnchor->object = nullptr;
  }
  delete this;
}

bool RefCountedObjectWithWeakPtr::TryAddRef() const noexcept {
  int count = mUseCount.load(std::memory_order_acquire);
  while (count > 0) {
    if (mUseCount.compare_exchange_weak(count, count + 1, std::memory_order_acq_rel)) return true;
  }
  return false;
}

}  // namespace kilncore::utility
