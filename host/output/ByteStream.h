#pragma once

#include <cstddef>
#include <cstdio>
#include <string>

namespace tetherhost {

// A stream of bytes to a file or a pipe (standard output), written through
// and flushed in whole pieces, so that a reader at the other end of a pipe
// gets each frame as soon as it is complete.
class ByteStream {
 public:
  // `out` is not owned; `what` names the stream in errors ("the Y4M stream").
  ByteStream(std::FILE* out, std::string what);

  // Throws std::runtime_error naming the stream when the bytes can't be
  // written, such as when the reader of a pipe has gone.
  void Put(const void* data, size_t size);

 private:
  std::FILE* mOut;
  std::string mWhat;
};

}  // namespace tetherhost
