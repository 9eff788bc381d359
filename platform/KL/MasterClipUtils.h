#pragma once

#include <KL/IMasterClip.h>
#include <KL/ISequence.h>

#include <kilncore/classref/InterfaceRef.h>

namespace KL::MasterClipUtils {

// The sequence that `masterClip` stands for; null for a clip of a media file
// or a null master clip.
kilncore::classref::InterfaceRef<ISequence> GetSequence(const kilncore::classref::InterfaceRef<IMasterClip>& masterClip);

}  // namespace KL::MasterClipUtils
