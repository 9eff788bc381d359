#pragma once

#include <FarsideCL/IFarsideCDataServer.h>

#include <functional>
#include <mutex>
#include <optional>

namespace FarsideCL {

// The host's data server: every answer is what the host configured. A host
// fills it from its login and hands it to IFarsideCDataServer::SetLoggedInServer;
// tests fill it with what a case needs. Setters and getters may be called from
// any thread.
//
// Example:
//   auto server = std::make_shared<FarsideDataServer>();
//   server->SetServerAddress(ImmutableString("https://farside.example"));
//   server->SetCredentials(FarsideSCredentials(account, secret, ImmutableString("Bearer")));
//   IFarsideCDataServer::SetLoggedInServer(server);
class FarsideDataServer : public IFarsideCDataServer {
 public:
  // Finds the media at a media path within a production path; nothing when
  // it is unknown.
  using MediaLookup = std::function<std::optional<FarsideLinkedAssetProperties>(
      const kilncore::utility::ImmutableString& mediaPath,
      const kilncore::utility::ImmutableString& productionPath)>;

  FarsideDataServer() = default;

  void SetServerAddress(kilncore::utility::ImmutableString address);
  void SetCredentials(FarsideSCredentials credentials);
  void SetServerProperties(PropertyMap properties);
  // Without a lookup (the default) GetMediaLocator gives null; with one, a
  // locator that answers what the lookup gave at the time of the call.
  void SetMediaLookup(MediaLookup lookup);

  kilncore::utility::ImmutableString GetServerAddress() const override;
  FarsideSCredentials GetCredentials() const override;
  PropertyMap GetServerProperties() const override;
  kilncore::classref::InterfaceRef<IFarsideCMediaLocator> GetMediaLocator(
      const kilncore::utility::ImmutableString& mediaPath,
      const kilncore::utility::ImmutableString& productionPath) override;

 private:
  mutable std::mutex mMutex;
  kilncore::utility::ImmutableString mAddress;
  FarsideSCredentials mCredentials;
  PropertyMap mProperties;
  MediaLookup mLookup;
};

}  // namespace FarsideCL
