#include <server/project/ProjectError.h>

namespace tetherserver {

int32_t ProjectError::ResultCode() const {
  switch (kind) {
    case Kind::kNone:
      return 0;
    case Kind::kFileMissing:
      return static_cast<int32_t>(0xA00F0003u);
    default:
      return static_cast<int32_t>(0xA00F0001u);
  }
}

}  // namespace tetherserver
