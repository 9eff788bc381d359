#include <TetherMedia/ITetherMediaInfo.h>

namespace TetherMedia {

ITetherMediaInfo::~ITetherMediaInfo() = default;

}  // namespace TetherMedia
