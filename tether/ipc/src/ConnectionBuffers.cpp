#include "ConnectionBuffers.h"

#include <tether/wire/TreeAccess.h>
#include <tether/wire/WireError.h>

namespace tether::ipc {
namespace {

// A frame or audio block: bytes of a mapped buffer, handed back when the last
// shared_ptr to it goes.
class PooledBinaryReference : public processcoordination::BinaryReference {
 public:
  PooledBinaryReference(std::shared_ptr<wire::MappedBuffer> mapping, size_t size, uint32_t id,
                        std::function<void(uint32_t)> onRelease)
      : mMapping(std::move(mapping)), mSize(size), mId(id), mOnRelease(std::move(onRelease)) {}
  ~PooledBinaryReference() override { mOnRelease(mId); }

  void* GetAddress() override {
    // The mapping is read-only; callers of this interface only read.
    return const_cast<unsigned char*>(mMapping->Data());
  }
  size_t GetSize() const override { return mSize; }
  void ReleaseAddress() override {}

 private:
  std::shared_ptr<wire::MappedBuffer> mMapping;
  size_t mSize;
  uint32_t mId;
  std::function<void(uint32_t)> mOnRelease;
};

}  // namespace

std::shared_ptr<processcoordination::BinaryReference> ConnectionBuffers::Adopt(const AnyValue& reference,
                                                                              std::vector<wire::UniqueFd>& fds) {
  const AnyObject& object = wire::AsObject(reference);
  const uint32_t id = wire::AsUint32(wire::Field(object, "buffer"));
  const uint64_t capacity = wire::AsUint64(wire::Field(object, "capacity"));
  const uint64_t size = wire::AsUint64(wire::Field(object, "size"));
  const bool keep = wire::AsBool(wire::Field(object, "keep"));

  std::shared_ptr<wire::MappedBuffer> mapping;
  if (!fds.empty()) {
    if (fds.size() != 1) {
      throw wire::WireError("buffer reply with more than one descriptor");
    }
    try {
      mapping = wire::MappedBuffer::Map(std::move(fds[0]), capacity);
    } catch (const wire::WireError&) {
      // Refused (too large, unsealed, short): the server's pool must not keep
      // it for us, or every refused frame would stay allocated there.
      HandBackRefused(id);
      throw;
    }
    fds.clear();
  }

  std::lock_guard lock(mMutex);
  if (mHeld.count(id)) {
    // Handing out a buffer that we still read from would change bytes under a
    // reader; refuse, and don't give it back either: it is still ours.
    throw wire::WireError("server reuses a buffer that the client still holds");
  }
  if (!mapping) {
    auto it = mMapped.find(id);
    if (it == mMapped.end()) {
      throw wire::WireError("reply names a buffer that was never sent");
    }
    mapping = it->second;
  }
  // From here on the buffer is the client's: a failure must hand it back.
  if (size > mapping->Capacity() || capacity != mapping->Capacity()) {
    if (mConnected && mRelease) {
      mRelease(id);
    }
    throw wire::WireError("buffer size beyond its mapping");
  }
  if (keep) {
    mMapped[id] = mapping;
  } else {
    mMapped.erase(id);
  }
  mHeld.insert(id);
  std::weak_ptr<ConnectionBuffers> weak = weak_from_this();
  return std::make_shared<PooledBinaryReference>(std::move(mapping), static_cast<size_t>(size), id,
                                                 [weak](uint32_t released) {
                                                   if (auto self = weak.lock()) {
                                                     self->ReturnBuffer(released);
                                                   }
                                                 });
}

void ConnectionBuffers::HandBackRefused(uint32_t id) {
  std::lock_guard lock(mMutex);
  if (mHeld.count(id) == 0 && mConnected && mRelease) {
    mMapped.erase(id);
    mRelease(id);
  }
}

void ConnectionBuffers::ReturnBuffer(uint32_t id) {
  ReleaseFunction release;
  {
    std::lock_guard lock(mMutex);
    mHeld.erase(id);
    if (!mConnected) {
      return;
    }
    release = mRelease;
  }
  if (release) {
    release(id);
  }
}

void ConnectionBuffers::Forget(const std::vector<uint32_t>& ids) {
  std::lock_guard lock(mMutex);
  for (uint32_t id : ids) {
    mMapped.erase(id);
  }
}

void ConnectionBuffers::Disconnect() {
  std::lock_guard lock(mMutex);
  mConnected = false;
  mMapped.clear();
}

size_t ConnectionBuffers::MappedCount() const {
  std::lock_guard lock(mMutex);
  return mMapped.size();
}

size_t ConnectionBuffers::HeldCount() const {
  std::lock_guard lock(mMutex);
  return mHeld.size();
}

}  // namespace tether::ipc
