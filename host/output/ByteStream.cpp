#include "host/output/ByteStream.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace tetherhost {

ByteStream::ByteStream(std::FILE* out, std::string what) : mOut(out), mWhat(std::move(what)) {}

void ByteStream::Put(const void* data, size_t size) {
  if (std::fwrite(data, 1, size, mOut) != size || std::fflush(mOut) != 0) {
    throw std::runtime_error("cannot write " + mWhat + ": " + std::strerror(errno));
  }
}

}  // namespace tetherhost
