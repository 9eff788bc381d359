#include <processcoordination/SharedMemoryBinaryReference.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace processcoordination {
namespace {

[[noreturn]] void ThrowSystemError(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// mmap refuses a length of 0; an empty block is still a valid reference.
void* Map(int fd, size_t size) {
  if (size == 0) {
    return nullptr;
  }
  void* address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (address == MAP_FAILED) {
    ThrowSystemError("mmap of shared block");
  }
  return address;
}

}  // namespace

std::shared_ptr<SharedMemoryBinaryReference> SharedMemoryBinaryReference::Create(size_t size) {
  int fd = memfd_create("tether-block", MFD_CLOEXEC);
  if (fd < 0) {
    ThrowSystemError("memfd_create");
  }
  if (ftruncate(fd, static_cast<off_t>(size)) != 0) {
    int error = errno;
    close(fd);
    errno = error;
    ThrowSystemError("ftruncate of shared block");
  }
  return Adopt(fd, size);
}

std::shared_ptr<SharedMemoryBinaryReference> SharedMemoryBinaryReference::Adopt(int fd, size_t size) {
  void* address = nullptr;
  try {
    address = Map(fd, size);
  } catch (...) {
    close(fd);
    throw;
  }
  return std::shared_ptr<SharedMemoryBinaryReference>(new SharedMemoryBinaryReference(fd, address, size));
}

SharedMemoryBinaryReference::SharedMemoryBinaryReference(int fd, void* address, size_t size)
    : mFd(fd), mAddress(address), mSize(size) {}

SharedMemoryBinaryReference::~SharedMemoryBinaryReference() {
  if (mAddress) {
    munmap(mAddress, mSize);
  }
  close(mFd);
}

void* SharedMemoryBinaryReference::GetAddress() {
  ++mOutstanding;
  return mAddress;
}

void SharedMemoryBinaryReference::ReleaseAddress() {
  --mOutstanding;
}

}  // namespace processcoordination
