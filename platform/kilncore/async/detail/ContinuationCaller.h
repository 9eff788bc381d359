#pragma once

#include <functional>

namespace kilncore::async::detail {

// The one place where continuations are called. An exception that escapes a
// continuation is logged with kLogContext and stops here: the state that ran it,
// and its other continuations, are not affected.
class ContinuationCaller {
 public:
  static constexpr const char* kLogContext =
      "kilncore::async::detail::ContinuationCaller::CallFutureContinuation";

  static void CallFutureContinuation(const std::function<void()>& continuation) noexcept;
};

}  // namespace kilncore::async::detail
