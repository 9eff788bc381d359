#pragma once

#include <kilncore/classref/InterfaceName.h>

#include <string_view>
#include <type_traits>

namespace kilncore::classref {

// The body of a typical QueryMap override: answers a query for the whole name
// of any of `Interfaces`, in the order given, with `self` converted to that
// interface. Any other name gives null.
//
//   void* QueryMap(const std::string_view& name) override {
//     return AnswerQuery<TetherMediaModule, WF::IMediaModule>(this, name);
//   }
template <class... Interfaces, class Self>
void* AnswerQuery(Self* self, std::string_view name) {
  static_assert((std::is_convertible_v<Self*, Interfaces*> && ...),
                "an object can only answer for interfaces it derives from");
  void* answer = nullptr;
  ((answer == nullptr && name == InterfaceNameOf<Interfaces>()
        ? (answer = static_cast<void*>(static_cast<Interfaces*>(self)))
        : answer),
   ...);
  return answer;
}

}  // namespace kilncore::classref
