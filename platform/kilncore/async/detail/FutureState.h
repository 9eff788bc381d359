#pragma once

#include <kilncore/async/AsyncExceptions.h>
#include <kilncore/async/detail/UntypedFutureState.h>

#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

namespace kilncore::async::detail {

// A future state with a value of type T (nothing for void). See
// UntypedFutureState for the rules; this adds the value, stored once, under the
// state's mutex, as part of completing.
template <class T>
class FutureState final : public UntypedFutureState {
 public:
  explicit FutureState(ExecutorPtr executor) : UntypedFutureState(std::move(executor)) {}

  // Succeeds with `value` unless the state has a result already. Returns true if
  // this call gave the result.
  template <class U>
    requires(!std::is_void_v<T> && std::is_constructible_v<T, U &&>)
  bool SetValue(U&& value) {
    return Complete(nullptr, [&] { mValue.emplace(std::forward<U>(value)); });
  }

  // Succeeds (void states only) unless the state has a result already.
  bool SetSuccess()
    requires std::is_void_v<T>
  {
    return Complete(nullptr, nullptr);
  }

  // Throws FutureNotReadyException if not ready, rethrows the stored exception
  // if the state failed, and otherwise gives the value. Once the state is ready
  // its value never changes, so the reference stays valid as long as the state.
  decltype(auto) GetResult() const {
    if (!IsReady()) throw FutureNotReadyException();
    if (std::exception_ptr exception = GetException()) std::rethrow_exception(exception);
    if constexpr (!std::is_void_v<T>) return static_cast<const T&>(*mValue);
  }

 private:
  struct NoValue {};
  std::conditional_t<std::is_void_v<T>, NoValue, std::optional<T>> mValue;
};

}  // namespace kilncore::async::detail
