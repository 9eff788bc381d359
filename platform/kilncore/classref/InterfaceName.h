#pragma once

#include <boost/core/demangle.hpp>

#include <string>
#include <type_traits>
#include <typeinfo>

namespace kilncore::classref {

// The whole type name of an interface, the key by which objects answer queries
// in QueryMap ("WF::IMediaModule", "KL::IMediaInfo", "TetherMedia::BaseMediaInfo").
//
// By default it is the fully qualified C++ name of the type, so an interface
// declared as `namespace WF { class IMediaModule; }` is known as
// "WF::IMediaModule" without any declaration of its own. An interface whose
// query name must differ from its C++ name specialises this template:
//
//   template <>
//   struct kilncore::classref::InterfaceNameTraits<MyInterface> {
//     static const std::string& Name() {
//       static const std::string name = "Other::Name";
//       return name;
//     }
//   };
template <class T>
struct InterfaceNameTraits {
  static const std::string& Name() {
    // Computed once per type: demangling allocates, and queries are frequent.
    static const std::string name = boost::core::demangle(typeid(T).name());
    return name;
  }
};

// The whole type name of T, ignoring const and volatile.
template <class T>
const std::string& InterfaceNameOf() {
  return InterfaceNameTraits<std::remove_cv_t<T>>::Name();
}

}  // namespace kilncore::classref
