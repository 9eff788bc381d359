#pragma once

#include <tether/AnyTree.h>
#include <tether/wire/MappedBuffer.h>
#include <tether/wire/UniqueFd.h>

#include <processcoordination/BinaryReference.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

namespace tether::ipc {

// The client's half of the shared buffer pool of one connection: every buffer
// the server has sent, mapped once and kept, and which of them the client holds.
//
// A frame or audio block reaches the caller as a BinaryReference over a mapped
// buffer, without a copy. When the caller lets go of its last reference, the
// buffer is handed back to the server through `release` (called on whatever
// thread drops the reference).
class ConnectionBuffers : public std::enable_shared_from_this<ConnectionBuffers> {
 public:
  using ReleaseFunction = std::function<void(uint32_t id)>;

  explicit ConnectionBuffers(ReleaseFunction release) : mRelease(std::move(release)) {}

  // Reads a buffer reference of a reply ({"buffer", "capacity", "size",
  // "keep"}) with the descriptors of that reply. Checks everything first: a
  // descriptor must be a sealed memory file as large as announced, a buffer
  // without a descriptor must be mapped already and not held, the size must fit
  // the mapping. Throws WireError otherwise (and hands the buffer back, if it was
  // a valid one, so the server's pool doesn't lose it).
  std::shared_ptr<processcoordination::BinaryReference> Adopt(const AnyValue& reference,
                                                              std::vector<wire::UniqueFd>& fds);
  // The server destroyed these buffers: drop their mappings once unused.
  void Forget(const std::vector<uint32_t>& ids);
  // The connection broke: nothing goes back to the server any more.
  void Disconnect();

  size_t MappedCount() const;
  size_t HeldCount() const;

 private:
  void ReturnBuffer(uint32_t id);
  // Gives back a buffer whose descriptor was refused, unless the client holds
  // it (then the reply was the server's error, and the buffer stays ours).
  void HandBackRefused(uint32_t id);

  mutable std::mutex mMutex;
  ReleaseFunction mRelease;
  std::map<uint32_t, std::shared_ptr<wire::MappedBuffer>> mMapped;
  std::set<uint32_t> mHeld;
  bool mConnected = true;
};

}  // namespace tether::ipc
