#pragma once

#include <kilncore/utility/Seam.h>
#include <kilnmediatypes/color/ColorSpace.h>

#include <cstdint>
#include <string>

namespace RL::ColorSpaceUtils {

// Whether the host runs the colour-managed workflow, in which media
// properties name each item's colour space. Host policy: true unless a test
// says otherwise.
bool CanSupportAdvancedColorWorkflow();
kilncore::utility::Seam<bool()>& CanSupportAdvancedColorWorkflowSeam();

// The name of `space` for the user, UTF-8: its name, or the working default's
// ("Rec. 709") for a colour space that states none. `flags` is the host's and
// must be 0.
std::string KilnColorSpaceToString(const kilnmediatypes::color::ColorSpace& space, uint32_t flags);

}  // namespace RL::ColorSpaceUtils
