#include <KL/IProject.h>

namespace KL {

IProject::~IProject() = default;

}  // namespace KL
