#pragma once

#include <TetherMedia/Export.h>

#include <KL/IMedia.h>

#include <kilncore/classref/InterfaceRef.h>

namespace TetherMedia {

// True if `media` is a linked item of this module: its importer is this
// module, or its media item says that it is linked media (which catches media
// whose importer identifier is another one but whose item is ours). Throws
// kilncore::config::NullPtrException for a null `media`.
TETHERMEDIA_API bool IsMediaTether(const kilncore::classref::InterfaceRef<KL::IMedia>& media);

}  // namespace TetherMedia
