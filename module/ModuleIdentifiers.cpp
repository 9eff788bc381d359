#include <module/ModuleIdentifiers.h>

namespace TetherMedia {

// Parsed from their text forms, the forms in which they are published, so that
// the constants here can be checked against the host's documentation at a
// glance.
const kilncore::utility::Guid kTetherMediaModuleClassID("8B701830-D959-420f-AA9C-5392B2F1B17E");
const kilncore::utility::Guid kImporterFactoryClassID("ABBB22E3-1D4D-4c87-8BFF-3162577F0528");

}  // namespace TetherMedia
