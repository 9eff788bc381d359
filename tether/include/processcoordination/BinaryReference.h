#pragma once

#include <cstddef>

namespace processcoordination {

// A block of bytes that a server process shares with this one (a rendered
// frame, a block of audio).
//
// Held by std::shared_ptr: whoever holds the reference keeps the bytes alive, so
// a frame wrapped around it lives as long as the wrapper holds the pointer.
// GetAddress maps the bytes into this process (if they aren't mapped already)
// and must be balanced by ReleaseAddress once the caller is done reading; the
// bytes themselves go when the last shared_ptr goes.
class BinaryReference {
 public:
  virtual ~BinaryReference() = default;

  // The first byte, or null if the bytes can't be reached.
  virtual void* GetAddress() = 0;
  // The number of bytes.
  virtual size_t GetSize() const = 0;
  // Ends one use of GetAddress.
  virtual void ReleaseAddress() = 0;
};

}  // namespace processcoordination
