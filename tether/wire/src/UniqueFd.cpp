#include <tether/wire/UniqueFd.h>

#include <unistd.h>

namespace tether::wire {

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept {
  if (this != &other) {
    Reset(other.Release());
  }
  return *this;
}

UniqueFd::~UniqueFd() { Reset(); }

void UniqueFd::Reset(int fd) {
  if (mFd >= 0) {
    ::close(mFd);
  }
  mFd = fd;
}

}  // namespace tether::wire
