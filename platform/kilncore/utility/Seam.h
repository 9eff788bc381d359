#pragma once

#include <kilncore/string/WideString.h>

#include <atomic>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace kilncore::utility {

// How an argument of a seam's call is kept in its record: by value, with views
// turned into the strings they show, since the viewed text is gone once the
// call has returned.
template <class T>
struct SeamRecordedType {
  using Type = std::remove_cvref_t<T>;
};
template <>
struct SeamRecordedType<kilncore::WideStringView> {
  using Type = kilncore::WideString;
};
template <>
struct SeamRecordedType<std::string_view> {
  using Type = std::string;
};

template <class Signature>
class Seam;

// One operation of the host whose behaviour is the host's policy rather than a
// fixed rule. The operation's public function calls its seam; the seam runs the
// real behaviour unless a test has set a replacement, and, while any
// ScopedSeam is on it, records the arguments of every call, in order.
//
// Each seam is reached through a function named after its operation with the
// suffix "Seam", declared beside the operation:
//
//   // WF/ImportableFileTypeUtils.h
//   bool IsSprocketProject(kilncore::WideStringView path);
//   kilncore::utility::Seam<bool(kilncore::WideStringView)>& IsSprocketProjectSeam();
//
//   // a test
//   kilncore::utility::ScopedSeam sprocket(WF::ImportableFileTypeUtils::IsSprocketProjectSeam(),
//                                          [](kilncore::WideStringView) { return true; });
//   ...
//   EXPECT_EQ(sprocket.Calls().size(), 1u);
//
// Thread-safe. The replacement is copied out under the seam's mutex and called
// outside it, so a replacement may block or call other seams.
template <class R, class... Args>
class Seam<R(Args...)> {
 public:
  using Function = std::function<R(Args...)>;
  using Call = std::tuple<typename SeamRecordedType<Args>::Type...>;

  explicit Seam(Function real) : mReal(std::move(real)) {}
  Seam(const Seam&) = delete;
  Seam& operator=(const Seam&) = delete;

  R operator()(Args... args) {
    // Without a scope (the host's normal running) nothing is set or recorded:
    // one atomic load, then the real behaviour, so seams cost nothing on the
    // frame and audio roads.
    if (mScopes.load(std::memory_order_acquire) == 0) return mReal(std::forward<Args>(args)...);
    Function function;
    {
      std::lock_guard lock(mMutex);
      mCalls.emplace_back(args...);
      function = mReplacement ? mReplacement : mReal;
    }
    return function(std::forward<Args>(args)...);
  }

  // The host's own behaviour, whatever is set: a replacement that only wants to
  // watch or to change one answer can call it.
  R CallReal(Args... args) const { return mReal(std::forward<Args>(args)...); }

  // The calls recorded since the first ScopedSeam now alive was made.
  std::vector<Call> Calls() const {
    std::lock_guard lock(mMutex);
    return mCalls;
  }

 private:
  template <class Signature>
  friend class ScopedSeam;

  // Sets `replacement` (empty: the real behaviour) and starts a recording;
  // returns the replacement that was set before.
  Function BeginScope(Function replacement) {
    std::lock_guard lock(mMutex);
    if (mScopes.fetch_add(1, std::memory_order_acq_rel) == 0) mCalls.clear();
    std::swap(mReplacement, replacement);
    return replacement;
  }
  void EndScope(Function previous) {
    std::lock_guard lock(mMutex);
    mReplacement = std::move(previous);
    mScopes.fetch_sub(1, std::memory_order_acq_rel);
  }

  const Function mReal;
  mutable std::mutex mMutex;
  Function mReplacement;
  // The ScopedSeams alive; changed under mMutex, read without it.
  std::atomic<std::size_t> mScopes{0};
  std::vector<Call> mCalls;
};

// Sets a seam's behaviour for the life of the object and records its calls;
// restores the behaviour that was set before on destruction. Without a
// replacement the real behaviour runs and is only watched. Scopes on one seam
// nest (the innermost replacement wins) and must end in reverse order.
template <class Signature>
class ScopedSeam {
 public:
  using Function = typename Seam<Signature>::Function;
  using Call = typename Seam<Signature>::Call;

  explicit ScopedSeam(Seam<Signature>& seam, Function replacement = nullptr)
      : mSeam(seam), mPrevious(seam.BeginScope(std::move(replacement))) {}
  ~ScopedSeam() { mSeam.EndScope(std::move(mPrevious)); }
  ScopedSeam(const ScopedSeam&) = delete;
  ScopedSeam& operator=(const ScopedSeam&) = delete;

  // The seam's calls so far (see Seam::Calls).
  std::vector<Call> Calls() const { return mSeam.Calls(); }

 private:
  Seam<Signature>& mSeam;
  Function mPrevious;
};

template <class Signature>
ScopedSeam(Seam<Signature>&, typename Seam<Signature>::Function) -> ScopedSeam<Signature>;
template <class Signature>
ScopedSeam(Seam<Signature>&) -> ScopedSeam<Signature>;

}  // namespace kilncore::utility
