#include <FarsideCL/FarsideDataServer.h>

#include <FarsideCL/FarsideMediaLocator.h>

#include <memory>
#include <utility>

namespace FarsideCL {

using kilncore::utility::ImmutableString;

void FarsideDataServer::SetServerAddress(ImmutableString address) {
  const std::lock_guard lock(mMutex);
  mAddress = std::move(address);
}

void FarsideDataServer::SetCredentials(FarsideSCredentials credentials) {
  const std::lock_guard lock(mMutex);
  mCredentials = std::move(credentials);
}

void FarsideDataServer::SetServerProperties(PropertyMap properties) {
  const std::lock_guard lock(mMutex);
  mProperties.swap(properties);
}

void FarsideDataServer::SetMediaLookup(MediaLookup lookup) {
  const std::lock_guard lock(mMutex);
  mLookup = std::move(lookup);
}

ImmutableString FarsideDataServer::GetServerAddress() const {
  const std::lock_guard lock(mMutex);
  return mAddress;
}

FarsideSCredentials FarsideDataServer::GetCredentials() const {
  const std::lock_guard lock(mMutex);
  return mCredentials;
}

IFarsideCDataServer::PropertyMap FarsideDataServer::GetServerProperties() const {
  const std::lock_guard lock(mMutex);
  return mProperties;
}

kilncore::classref::InterfaceRef<IFarsideCMediaLocator> FarsideDataServer::GetMediaLocator(
    const ImmutableString& mediaPath, const ImmutableString& productionPath) {
  MediaLookup lookup;
  {
    const std::lock_guard lock(mMutex);
    lookup = mLookup;
  }
  // The lookup is the host's code and may be slow; it runs unlocked.
  if (!lookup) return nullptr;
  return std::make_shared<FarsideMediaLocator>(lookup(mediaPath, productionPath));
}

}  // namespace FarsideCL
