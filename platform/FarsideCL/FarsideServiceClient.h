#pragma once

#include <FarsideCL/FarsideLinkedAssetProperties.h>
#include <FarsideCL/FarsideResponse.h>
#include <FarsideCL/FarsideSCredentials.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace FarsideCL {

class IFarsideCDataServer;

// The client of the Farside service's HTTP API (docs/farside.md), for one
// address and one set of credentials. Every call is one or more GETs through
// FarsideHttpGet; each throws FarsideServiceError with the service's reason
// (HTTP status and message) when the service refuses, is out of reach, takes
// longer than the timeouts, or answers something that isn't the API's.
//
// Credentials are sent as "Authorization: <token type> <secret>", "Bearer"
// when the type is empty. Stateless and thread-safe.
class FarsideServiceClient {
 public:
  struct Timeouts {
    std::chrono::milliseconds connect{5000};
    std::chrono::milliseconds read{30000};

    // The defaults, or what FARSIDE_CONNECT_TIMEOUT_MS and
    // FARSIDE_READ_TIMEOUT_MS say (positive milliseconds), so that a process
    // that starts others (a host and its link server) can shorten the waits.
    static Timeouts FromEnvironment();
  };

  FarsideServiceClient(std::string address, FarsideSCredentials credentials, Timeouts timeouts);
  // With Timeouts::FromEnvironment().
  FarsideServiceClient(std::string address, FarsideSCredentials credentials)
      : FarsideServiceClient(std::move(address), std::move(credentials), Timeouts::FromEnvironment()) {}
  // The client of the data server's service, with its address and credentials.
  static FarsideServiceClient For(const IFarsideCDataServer& server);

  // The account that the credentials belong to.
  std::string WhoAmI() const;
  // The assets of `version` of a production; an empty version is the latest.
  FarsideProductionListing ListProduction(const std::string& production, const std::string& version) const;
  FarsideAssetRecord GetAsset(const std::string& production, const std::string& version,
                              const std::string& asset) const;
  // The bytes of the asset's project file.
  std::string FetchAssetFile(const std::string& production, const std::string& version,
                             const std::string& asset) const;
  // Where the media at `mediaPath` of the production that is or was called
  // `production` is now; nothing when the service knows of none (404).
  std::optional<FarsideLinkedAssetProperties> Locate(const std::string& production,
                                                     const std::string& mediaPath) const;

  const std::string& Address() const { return mAddress; }

 private:
  // The body of a 200 answer; throws for anything else.
  std::string Get(const std::string& path, std::vector<std::pair<std::string, std::string>> params,
                  int& status) const;

  std::string mAddress;
  std::string mAuthorization;
  Timeouts mTimeouts;
};

}  // namespace FarsideCL
