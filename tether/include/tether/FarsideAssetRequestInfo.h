#pragma once

#include <map>
#include <string>

namespace tether {

// Names a remote asset of the Farside service and how to reach its server. All
// texts are UTF-8. A default record is empty and stands for a local item.
struct FarsideAssetRequestInfo {
  std::string serverAddress;
  // The two credential texts of the logged-in data server.
  std::string credentialA;
  std::string credentialB;
  std::string authTokenType;
  // Further properties of the data server, handed through to the server.
  std::map<std::string, std::string> serverProperties;
  std::string production;
  std::string version;
  std::string asset;

  // True when no member is set: the item is a local file, not a remote asset.
  bool IsEmpty() const { return *this == FarsideAssetRequestInfo{}; }

  friend bool operator==(const FarsideAssetRequestInfo&, const FarsideAssetRequestInfo&) = default;
};

}  // namespace tether
