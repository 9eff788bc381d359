#include <server/farside/FarsideAssetFollower.h>

#include <utility>

namespace tetherserver {

std::string FarsideAssetFollower::KeyOf(const tether::FarsideAssetRequestInfo& request) {
  // Each part with its length, so that no name can pass for two.
  std::string key;
  for (const std::string* part : {&request.serverAddress, &request.production, &request.version, &request.asset}) {
    key += std::to_string(part->size()) + ":" + *part;
  }
  return key;
}

uint64_t FarsideAssetFollower::Update(std::shared_ptr<const SessionItem> item) {
  std::lock_guard lock(mMutex);
  mItem = std::move(item);
  return ++mGeneration;
}

uint64_t FarsideAssetFollower::Generation() const {
  std::lock_guard lock(mMutex);
  return mGeneration;
}

std::shared_ptr<const SessionItem> FarsideAssetFollower::Item() const {
  std::lock_guard lock(mMutex);
  return mItem;
}

}  // namespace tetherserver
