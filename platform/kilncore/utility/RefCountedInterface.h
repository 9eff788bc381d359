#pragma once

namespace kilncore::utility {

// An object whose life is governed by a count of references that its holders
// take and give back, as boost::intrusive_ptr does. Interfaces that such
// objects implement derive from it virtually, so that an object has one count
// however many interfaces it offers.
class RefCountedInterface {
 public:
  virtual void AddRef() const noexcept = 0;
  // Gives back one reference; the last one destroys the object.
  virtual void Release() const noexcept = 0;

 protected:
  RefCountedInterface() = default;
  RefCountedInterface(const RefCountedInterface&) = default;
  RefCountedInterface& operator=(const RefCountedInterface&) = default;
  virtual ~RefCountedInterface() = default;
};

// The hooks through which boost::intrusive_ptr holds such objects.
inline void intrusive_ptr_add_ref(const RefCountedInterface* object) noexcept { object->AddRef(); }
inline void intrusive_ptr_release(const RefCountedInterface* object) noexcept { object->Release(); }

}  // namespace kilncore::utility
