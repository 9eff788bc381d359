#pragma once

#include <kilncore/async/detail/FutureState.h>

#include <exception>
#include <memory>
#include <type_traits>
#include <utility>

namespace kilncore::async {

// The completing end of a FutureState<T>. It holds only a weak reference, so a
// promise never keeps a state alive, and every operation is silent (returns
// false or nothing) once the state is gone.
//
// Each promise that was made while its state lived counts as one of the
// state's promises; a copy counts again. When the last one goes away before the
// state is ready, the state fails with BrokenPromiseException. So whoever holds
// a promise and drops it without answering still ends the wait.
//
// The setters are const: a promise is a handle, and completing the state
// doesn't change the handle (callbacks receive it by const reference).
template <class T>
class Promise {
 public:
  Promise() = default;

  // A promise for the state behind `state`, if it still exists. Lets a table of
  // weak references complete a request later.
  explicit Promise(std::weak_ptr<detail::FutureState<T>> state) : mState(std::move(state)) {
    Attach();
  }
  explicit Promise(const std::shared_ptr<detail::FutureState<T>>& state)
      : Promise(std::weak_ptr<detail::FutureState<T>>(state)) {}

  Promise(const Promise& other) : mState(other.mState) { Attach(); }
  Promise(Promise&& other) noexcept
      : mState(std::move(other.mState)), mCounted(std::exchange(other.mCounted, false)) {
    other.mState.reset();
  }
  Promise& operator=(Promise other) noexcept {
    swap(other);
    return *this;
  }
  ~Promise() { Detach(); }

  void swap(Promise& other) noexcept {
    std::swap(mState, other.mState);
    std::swap(mCounted, other.mCounted);
  }

  // Succeeds with `value`. True if this call gave the state its result; false if
  // the state had one already or is gone.
  template <class U>
    requires(!std::is_void_v<T> && std::is_constructible_v<T, U &&>)
  bool SetValue(U&& value) const {
    auto state = mState.lock();
    return state && state->SetValue(std::forward<U>(value));
  }

  // Succeeds (void only). Same return as SetValue.
  bool SetSuccess() const
    requires std::is_void_v<T>
  {
    auto state = mState.lock();
    return state && state->SetSuccess();
  }
  bool SetValue() const
    requires std::is_void_v<T>
  {
    return SetSuccess();
  }

  // Fails the state with `exception`. Same return as SetValue.
  bool SetException(std::exception_ptr exception) const {
    auto state = mState.lock();
    return state && state->SetException(std::move(exception));
  }

  // True while the state exists.
  bool IsValid() const noexcept { return !mState.expired(); }
  explicit operator bool() const noexcept { return IsValid(); }

  // False once the state is gone.
  bool IsReady() const {
    auto state = mState.lock();
    return state && state->IsReady();
  }

  // The state's exception, copied under its mutex; empty if the state is gone,
  // not ready, or succeeded.
  std::exception_ptr GetException() const {
    auto state = mState.lock();
    return state ? state->GetException() : std::exception_ptr();
  }

  const std::weak_ptr<detail::FutureState<T>>& GetWeakState() const noexcept { return mState; }

  // Lets go of the state, as destruction would.
  void Reset() {
    Detach();
    mState.reset();
  }

 private:
  void Attach() {
    if (auto state = mState.lock()) {
      state->AddPromise();
      mCounted = true;
    }
  }
  void Detach() {
    if (!std::exchange(mCounted, false)) return;
    if (auto state = mState.lock()) state->ReleasePromise();
  }

  std::weak_ptr<detail::FutureState<T>> mState;
  // Whether this handle was counted among the state's promises (it wasn't if the
  // state had gone when it was made).
  bool mCounted = false;
};

}  // namespace kilncore::async
