#include <kilncore/async/detail/ContinuationCaller.h>

#include <kilncore/logging/Log.h>

namespace kilncore::async::detail {

void ContinuationCaller::CallFutureContinuation(const std::function<void()>& continuation) noexcept {
  try {
    if (continuation) continuation();
  } catch (...) {
    logging::LogException(std::current_exception(), kLogContext);
  }
}

}  // namespace kilncore::async::detail
