#pragma once

#include <kilncore/utility/Guid.h>

#include <array>
#include <cstdint>

namespace TetherMedia {

// The class identifier of TetherMediaModule in the host's class registry,
// "8B701830-D959-420f-AA9C-5392B2F1B17E", made when the module is loaded.
extern const kilncore::utility::Guid kTetherMediaModuleClassID;

// The class identifier of the host's importer factory,
// "ABBB22E3-1D4D-4c87-8BFF-3162577F0528", made when the module is loaded.
extern const kilncore::utility::Guid kImporterFactoryClassID;

// The names under which the module's class is registered.
inline constexpr const char* kTetherMediaModuleClassIDName = "kTetherMediaModuleClassID";
inline constexpr const char* kTetherMediaModuleClassName = "TetherMediaModule";

// Marks every media object that this module makes (GetTetherImplementationID).
inline constexpr kilncore::utility::Guid kTetherImplementationID{
    0xEC341E53u, 0x60C2u, 0x4D89u, {0xAB, 0xFC, 0xBD, 0xB5, 0xC0, 0xFF, 0x2E, 0x0B}};

// The module's four-character code "TTHM", first character in the most
// significant byte.
inline constexpr uint32_t kTetherMediaModuleCode = 0x5454484Du;

}  // namespace TetherMedia
