#include <kilncore/classref/UnknownBase.h>

namespace kilncore::classref {

UnknownBase::~UnknownBase() = default;

std::shared_ptr<UnknownBase> UnknownBase::GetSharedFromThis() { return shared_from_this(); }

std::shared_ptr<const UnknownBase> UnknownBase::GetSharedFromThis() const {
  return shared_from_this();
}

std::weak_ptr<UnknownBase> UnknownBase::GetWeakReference() { return weak_from_this(); }

std::weak_ptr<const UnknownBase> UnknownBase::GetWeakReference() const {
  return weak_from_this();
}

void* UnknownBase::QueryInterface(std::string_view wholeTypeName) {
  return QueryMap(wholeTypeName);
}

void* UnknownBase::QueryMap(const std::string_view& /*name*/) { return nullptr; }

}  // namespace kilncore::classref
