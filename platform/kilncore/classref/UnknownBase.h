#pragma once

#include <memory>
#include <string_view>

namespace kilncore::classref {

template <class T>
class InterfaceRef;

// The root of every shared object of the host. An object derived from it is
// owned by a std::shared_ptr (made with std::make_shared or through the class
// factory) and handed around as InterfaceRef<Interface>.
//
// Interfaces derive from it virtually (through Unknown), so an object that
// implements several interfaces has exactly one UnknownBase, one owner and one
// reference count.
//
// Conversion between interfaces is a query by whole type name: an object lists
// the names it answers to in its override of QueryMap.
class UnknownBase : public std::enable_shared_from_this<UnknownBase> {
 public:
  virtual ~UnknownBase();

  // A shared owner of this object. The object must already be owned by a
  // std::shared_ptr; otherwise std::bad_weak_ptr is thrown.
  std::shared_ptr<UnknownBase> GetSharedFromThis();
  std::shared_ptr<const UnknownBase> GetSharedFromThis() const;

  // A weak reference to this object: empty if no shared owner exists yet.
  std::weak_ptr<UnknownBase> GetWeakReference();
  std::weak_ptr<const UnknownBase> GetWeakReference() const;

  // Runs the object's query for `wholeTypeName`: the pointer that QueryMap
  // gives, or null. Prefer converting InterfaceRefs, which keep the object alive.
  void* QueryInterface(std::string_view wholeTypeName);

 protected:
  UnknownBase() = default;
  UnknownBase(const UnknownBase&) = default;
  UnknownBase& operator=(const UnknownBase&) = default;

  // Answers a query for one of the object's interfaces by its whole type name.
  // Returns the object's subobject of exactly that type, converted to void*
  // (static_cast<I*>(this)), or null if the object doesn't offer it. The name
  // is compared as a whole: a name with the right length and other text, or a
  // prefix of a known name, must give null.
  //
  // The default answers nothing. AnswerQuery (QueryMapEntries.h) builds the
  // usual body of an override.
  virtual void* QueryMap(const std::string_view& name);

 private:
  template <class T>
  friend class InterfaceRef;
};

}  // namespace kilncore::classref
