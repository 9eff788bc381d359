#pragma once

#include <kilncore/utility/RefCountedInterface.h>

#include <boost/intrusive_ptr.hpp>

#include <atomic>
#include <memory>
#include <mutex>

namespace kilncore::utility {

class RefCountedObjectWithWeakPtr;

namespace detail {

// What a weak reference shares with its object: a pointer that the object
// clears, under the mutex, before it is destroyed.
struct WeakAnchor {
  std::mutex mutex;
  RefCountedObjectWithWeakPtr* object = nullptr;
};

}  // namespace detail

// A reference-counted object to which weak references can be taken.
//
// The object starts with a use count of 0; the first boost::intrusive_ptr
// takes it to 1, and the release of the last one destroys the object. A
// WeakObjectPtr to it doesn't count, and Lock() gives a strong reference only
// while the object lives. Thread-safe.
//
// Derive from it virtually, beside interfaces that derive virtually from
// RefCountedInterface, so that the object has one count:
//
//   class View : public IView, public virtual RefCountedObjectWithWeakPtr {};
//   boost::intrusive_ptr<View> view(new View);
//   WeakObjectPtr<View> weak(view.get());
class RefCountedObjectWithWeakPtr : public virtual RefCountedInterface {
 public:
  void AddRef() const noexcept override;
  void Release() const noexcept override;

  // The current use count; for tests and traces only.
  int GetUseCount() const noexcept { return mUseCount.load(std::memory_order_acquire); }

 protected:
  RefCountedObjectWithWeakPtr();
  ~RefCountedObjectWithWeakPtr() override;
  RefCountedObjectWithWeakPtr(const RefCountedObjectWithWeakPtr&) = delete;
  RefCountedObjectWithWeakPtr& operator=(const RefCountedObjectWithWeakPtr&) = delete;

 private:
  template <class T>
  friend class WeakObjectPtr;

  // One more use, unless the count has reached 0 already. Call with the
  // anchor's mutex held, so that the object can't be destroyed meanwhile.
  bool TryAddRef() const noexcept;

  mutable std::atomic<int> mUseCount{0};
  const std::shared_ptr<detail::WeakAnchor> mAnchor;
};

// A weak reference to an object of class T, which derives from
// RefCountedObjectWithWeakPtr. Copyable; thread-safe.
template <class T>
class WeakObjectPtr {
 public:
  WeakObjectPtr() = default;
  explicit WeakObjectPtr(T* object) : mAnchor(object ? object->mAnchor : nullptr), mObject(object) {}

  // A strong reference to the object, or null once it has gone.
  boost::intrusive_ptr<T> Lock() const {
    if (!mAnchor) return nullptr;
    std::lock_guard<std::mutex> lock(mAnchor->mutex);
    if (!mAnchor->object || !mAnchor->object->TryAddRef()) return nullptr;
    return boost::intrusive_ptr<T>(mObject, false);
  }

  bool Expired() const { return !Lock(); }

 private:
  std::shared_ptr<detail::WeakAnchor> mAnchor;
  T* mObject = nullptr;
};

}  // namespace kilncore::utility
