#include <tether/wire/SharedBuffer.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace tether::wire {
namespace {

[[noreturn]] void ThrowErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

size_t RoundUpToPages(size_t bytes) {
  static const size_t page = static_cast<size_t>(::sysconf(_SC_PAGESIZE));
  if (bytes == 0) {
    return page;
  }
  return (bytes + page - 1) / page * page;
}

std::unique_ptr<SharedBuffer> SharedBuffer::Create(size_t capacity) {
  capacity = RoundUpToPages(capacity);
  UniqueFd fd(::memfd_create("tether-frame", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  if (!fd.IsValid()) {
    ThrowErrno("memfd_create");
  }
  if (::ftruncate(fd.Get(), static_cast<off_t>(capacity)) != 0) {
    ThrowErrno("ftruncate of shared buffer");
  }
  if (::fcntl(fd.Get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0) {
    ThrowErrno("sealing shared buffer");
  }
  void* address = ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_POPULATE, fd.Get(), 0);
  if (address == MAP_FAILED) {
    ThrowErrno("mmap of shared buffer");
  }
  return std::unique_ptr<SharedBuffer>(new SharedBuffer(std::move(fd), address, capacity));
}

SharedBuffer::SharedBuffer(UniqueFd fd, void* address, size_t capacity)
    : mFd(std::move(fd)), mAddress(address), mCapacity(capacity) {}

SharedBuffer::~SharedBuffer() { ::munmap(mAddress, mCapacity); }

}  // namespace tether::wire
