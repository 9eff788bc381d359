#include <RL/ColorSpaceUtils.h>

#include <RL/ColorSpaces.h>

namespace RL::ColorSpaceUtils {

namespace {

bool CanSupportAdvancedColorWorkflowReal() { return true; }

}  // namespace

kilncore::utility::Seam<bool()>& CanSupportAdvancedColorWorkflowSeam() {
  static auto* const seam = new kilncore::utility::Seam<bool()>(&CanSupportAdvancedColorWorkflowReal);
  return *seam;
}

bool CanSupportAdvancedColorWorkflow() { return CanSupportAdvancedColorWorkflowSeam()(); }

std::string KilnColorSpaceToString(const kilnmediatypes::color::ColorSpace& space, uint32_t /*flags*/) {
  // A definition without a name is still a stated space; only a space that
  // states nothing at all falls back to the working default.
  if (!space.GetName().empty()) return space.GetName();
  if (!space.IsEmpty()) return "Custom";
  return ColorSpaces::OR709.GetName();
}

}  // namespace RL::ColorSpaceUtils
