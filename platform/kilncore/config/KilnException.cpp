#include <kilncore/config/KilnException.h>

namespace kilncore::config {

int32_t ExtractResultFromException(const std::exception_ptr& exception) noexcept {
  if (!exception) return 0;
  try {
    std::rethrow_exception(exception);
  } catch (const kiln_exception& e) {
    return e.GetCode();
  } catch (...) {
    return kGeneralFailure;
  }
}

void DoThrowNullPtrException(const std::string& typeName) { throw NullPtrException(typeName); }

}  // namespace kilncore::config
