#pragma once

#include <utility>

namespace tether::wire {

// Owns one file descriptor and closes it on destruction. Move-only.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : mFd(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : mFd(std::exchange(other.mFd, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept;
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd();

  int Get() const { return mFd; }
  bool IsValid() const { return mFd >= 0; }
  // Gives up ownership without closing.
  int Release() { return std::exchange(mFd, -1); }
  void Reset(int fd = -1);

 private:
  int mFd = -1;
};

}  // namespace tether::wire
