#pragma once

#include <kilncore/utility/ImmutableString.h>

#include <utility>

namespace FarsideCL {

// How the logged-in user proves who they are to the service: two credential
// texts (an account and a secret) and the kind of token they make up
// ("Bearer", say), which the render servers need to present them.
class FarsideSCredentials {
 public:
  FarsideSCredentials() = default;
  FarsideSCredentials(kilncore::utility::ImmutableString account, kilncore::utility::ImmutableString secret,
                      kilncore::utility::ImmutableString authTokenType)
      : mAccount(std::move(account)), mSecret(std::move(secret)), mAuthTokenType(std::move(authTokenType)) {}

  const kilncore::utility::ImmutableString& GetAccount() const noexcept { return mAccount; }
  const kilncore::utility::ImmutableString& GetSecret() const noexcept { return mSecret; }
  const kilncore::utility::ImmutableString& GetAuthTokenType() const noexcept { return mAuthTokenType; }

  friend bool operator==(const FarsideSCredentials&, const FarsideSCredentials&) = default;

 private:
  kilncore::utility::ImmutableString mAccount;
  kilncore::utility::ImmutableString mSecret;
  kilncore::utility::ImmutableString mAuthTokenType;
};

}  // namespace FarsideCL
