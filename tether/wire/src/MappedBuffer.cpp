#include <tether/wire/MappedBuffer.h>

#include <tether/wire/WireError.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>

namespace tether::wire {

std::shared_ptr<MappedBuffer> MappedBuffer::Map(UniqueFd fd, uint64_t capacity) {
  if (capacity == 0 || capacity > kMaxCapacity) {
    throw WireError("shared buffer capacity out of range");
  }
  struct stat info {};
  if (::fstat(fd.Get(), &info) != 0 || !S_ISREG(info.st_mode)) {
    throw WireError("shared buffer descriptor isn't a memory file");
  }
  if (info.st_size < 0 || static_cast<uint64_t>(info.st_size) < capacity) {
    throw WireError("shared buffer smaller than announced");
  }
  // Without the seal the producer could shrink the file under our mapping, and
  // reading the vanished pages would kill this process with SIGBUS.
  int seals = ::fcntl(fd.Get(), F_GET_SEALS);
  if (seals < 0 || !(seals & F_SEAL_SHRINK)) {
    throw WireError("shared buffer isn't sealed against shrinking");
  }
  void* address = ::mmap(nullptr, capacity, PROT_READ, MAP_SHARED | MAP_POPULATE, fd.Get(), 0);
  if (address == MAP_FAILED) {
    throw std::system_error(errno, std::generic_category(), "mmap of received buffer");
  }
  return std::shared_ptr<MappedBuffer>(new MappedBuffer(address, static_cast<size_t>(capacity)));
}

MappedBuffer::~MappedBuffer() { ::munmap(mAddress, mCapacity); }

}  // namespace tether::wire
