#include <kilncore/async/UntypedFuture.h>

namespace kilncore::async {

bool WaitForUntypedUntil(const UntypedFuture& future,
                         const std::chrono::steady_clock::time_point& deadline, bool block) {
  const auto& state = future.GetUntypedState();
  if (!state) return false;
  if (!block) return state->IsReady();
  return state->WaitUntil(deadline);
}

}  // namespace kilncore::async
