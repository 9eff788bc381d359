#pragma once

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/UnknownBase.h>
#include <kilncore/utility/Guid.h>
#include <kilncore/utility/Seam.h>

#include <functional>
#include <string>
#include <string_view>

namespace kilncore::classref {

// The host's class registry: creator functions under class identifiers.
//
// The registry is process-wide and thread-safe. Registering a class identifier
// again replaces the earlier entry. Creators run without the registry's lock
// held, so a creator may itself create instances of other classes.
class ClassFactory {
 public:
  // Makes an instance; may return an empty reference. Exceptions pass through
  // to the caller of CreateClassInstanceRef.
  using Creator = std::function<InterfaceRef<UnknownBase>()>;

  ClassFactory() = delete;

  // Records `creator` under `classID`, with its identifier's name (e.g.
  // "kTetherMediaModuleClassID") and its class name (e.g. "TetherMediaModule").
  // Replaces any earlier registration of `classID`.
  static void RegisterClass(const utility::Guid& classID, std::string_view idName,
                            std::string_view className, Creator creator);
  using RegisterClassSignature = void(const utility::Guid&, std::string_view, std::string_view, Creator);
  // Seam of RegisterClass (see kilncore/utility/Seam.h), for tests that count
  // registrations.
  static utility::Seam<RegisterClassSignature>& RegisterClassSeam();

  // Removes the registration of `classID`; false if there was none.
  static bool UnregisterClass(const utility::Guid& classID);

  static bool IsClassRegistered(const utility::Guid& classID);

  // The names given at registration; empty if the class isn't registered.
  static std::string GetClassName(const utility::Guid& classID);
  static std::string GetClassIDName(const utility::Guid& classID);

  // A new instance (or whatever the creator hands out) of the class; empty if
  // the class isn't registered or has no creator.
  static InterfaceRef<UnknownBase> CreateInstance(const utility::Guid& classID);
};

// ClassFactory::CreateInstance as the host's free function.
InterfaceRef<UnknownBase> CreateClassInstanceRef(const utility::Guid& classID);

}  // namespace kilncore::classref
