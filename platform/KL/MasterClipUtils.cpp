#include <KL/MasterClipUtils.h>

namespace KL::MasterClipUtils {

kilncore::classref::InterfaceRef<ISequence> GetSequence(
    const kilncore::classref::InterfaceRef<IMasterClip>& masterClip) {
  // A master clip that stands for a sequence answers for it.
  return kilncore::classref::InterfaceRef<ISequence>(masterClip);
}

}  // namespace KL::MasterClipUtils
