#pragma once

#include <kilncore/classref/InterfaceName.h>
#include <kilncore/classref/UnknownBase.h>
#include <kilncore/config/KilnException.h>

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

namespace kilncore::classref {

// A shared reference to one interface of a shared object.
//
// It is made of the object's shared owner (a std::shared_ptr<UnknownBase>,
// which holds the reference count) and a pointer to the interface T within
// that object, much like a std::shared_ptr made with the aliasing constructor.
// Either both are set or neither is: a reference is null when it has no
// interface or no object.
//
// Conversion from InterfaceRef<U>:
// - if U derives from T (an upcast), it is a plain pointer conversion;
// - otherwise the object is asked by QueryMap for T's whole type name
//   (InterfaceNameOf<T>()), and a refusal gives a null reference.
//
// Dereferencing a null reference never crashes: it calls
// kilncore::config::DoThrowNullPtrException with T's name, which throws
// NullPtrException.
//
// Thread safety is that of std::shared_ptr: distinct InterfaceRefs to the same
// object may be used and destroyed on any threads; one InterfaceRef must not be
// written while another thread reads it.
template <class T>
class InterfaceRef {
 public:
  using element_type = T;

  InterfaceRef() noexcept = default;
  InterfaceRef(std::nullptr_t) noexcept {}  // NOLINT: null converts implicitly

  // Shares ownership of `object` and refers to its T.
  template <class Object>
    requires std::is_convertible_v<Object*, T*> && std::is_convertible_v<Object*, UnknownBase*>
  InterfaceRef(std::shared_ptr<Object> object) noexcept  // NOLINT: implicit like shared_ptr
  {
    if (object) {
      mInterface = object.get();
      mOwner = std::move(object);
    }
  }

  // Refers to `iface`, kept alive by `owner`. `iface` must belong to the object
  // that `owner` owns. If either is null the reference is null.
  InterfaceRef(std::shared_ptr<UnknownBase> owner, T* iface) noexcept {
    if (owner && iface) {
      mOwner = std::move(owner);
      mInterface = iface;
    }
  }

  // A reference to an object that is already shared, from a plain pointer to it
  // (typically `this`). Throws std::bad_weak_ptr if nothing owns the object.
  template <class Object>
    requires std::is_convertible_v<Object*, T*> && std::is_convertible_v<Object*, UnknownBase*>
  static InterfaceRef FromThis(Object* object) {
    if (object == nullptr) return InterfaceRef();
    return InterfaceRef(static_cast<UnknownBase*>(object)->GetSharedFromThis(),
                        static_cast<T*>(object));
  }

  InterfaceRef(const InterfaceRef&) noexcept = default;
  InterfaceRef(InterfaceRef&& other) noexcept
      : mOwner(std::move(other.mOwner)), mInterface(std::exchange(other.mInterface, nullptr)) {}
  InterfaceRef& operator=(const InterfaceRef&) noexcept = default;
  InterfaceRef& operator=(InterfaceRef&& other) noexcept {
    if (this != &other) {
      mOwner = std::move(other.mOwner);
      mInterface = std::exchange(other.mInterface, nullptr);
    }
    return *this;
  }
  ~InterfaceRef() = default;

  // Converts from another interface of the same object; see the class comment.
  template <class U>
    requires(!std::is_same_v<U, T>)
  InterfaceRef(const InterfaceRef<U>& other)  // NOLINT: conversions are implicit
      : InterfaceRef(Convert(other.mOwner, other.mInterface)) {}

  template <class U>
    requires(!std::is_same_v<U, T>)
  InterfaceRef(InterfaceRef<U>&& other)  // NOLINT: conversions are implicit
      : InterfaceRef(Convert(other.mOwner, other.mInterface)) {
    other.Reset();
  }

  // The interface, or null. Never throws.
  T* Get() const noexcept { return mInterface; }

  // The object's shared owner, or null.
  const std::shared_ptr<UnknownBase>& GetOwner() const noexcept { return mOwner; }

  // A std::shared_ptr to the interface that shares this reference's count.
  std::shared_ptr<T> AsSharedPtr() const noexcept { return std::shared_ptr<T>(mOwner, mInterface); }

  bool IsNull() const noexcept { return mInterface == nullptr; }
  explicit operator bool() const noexcept { return mInterface != nullptr; }

  // Throws NullPtrException naming T if the reference is null.
  T* operator->() const {
    if (mInterface == nullptr) ThrowNull();
    return mInterface;
  }
  T& operator*() const {
    if (mInterface == nullptr) ThrowNull();
    return *mInterface;
  }

  void Reset() noexcept {
    mOwner.reset();
    mInterface = nullptr;
  }

  void Swap(InterfaceRef& other) noexcept {
    mOwner.swap(other.mOwner);
    std::swap(mInterface, other.mInterface);
  }

  // Two references are equal when they refer to the same object, whichever of
  // its interfaces they hold. Two null references are equal.
  template <class U>
  bool operator==(const InterfaceRef<U>& other) const noexcept {
    return mOwner.get() == other.mOwner.get();
  }
  bool operator==(std::nullptr_t) const noexcept { return mInterface == nullptr; }

 private:
  template <class U>
  friend class InterfaceRef;

  template <class U>
  static InterfaceRef Convert(const std::shared_ptr<UnknownBase>& owner, U* iface) {
    if (!owner || iface == nullptr) return InterfaceRef();
    if constexpr (std::is_convertible_v<U*, T*>) {
      return InterfaceRef(owner, static_cast<T*>(iface));
    } else {
      void* answer = owner->QueryMap(InterfaceNameOf<T>());
      return InterfaceRef(owner, static_cast<T*>(answer));
    }
  }

  [[noreturn]] static void ThrowNull() { config::DoThrowNullPtrException(InterfaceNameOf<T>()); }

  std::shared_ptr<UnknownBase> mOwner;
  T* mInterface = nullptr;
};

// The reference to the `T` of the object that `ref` refers to, by query if it
// isn't an upcast; null if the object doesn't offer T.
template <class T, class U>
InterfaceRef<T> QueryInterfaceRef(const InterfaceRef<U>& ref) {
  return InterfaceRef<T>(ref);
}

}  // namespace kilncore::classref
