#pragma once

#include <map>
#include <string>

namespace tether {

// Names a production of the Farside service (rather than one asset of it) and
// how to reach its server. All texts are UTF-8; a default record is empty.
struct FarsideProductionRequestInfo {
  std::string serverAddress;
  std::string credentialA;
  std::string credentialB;
  std::string authTokenType;
  std::map<std::string, std::string> serverProperties;
  std::string production;

  bool IsEmpty() const { return *this == FarsideProductionRequestInfo{}; }

  friend bool operator==(const FarsideProductionRequestInfo&,
                         const FarsideProductionRequestInfo&) = default;
};

}  // namespace tether
