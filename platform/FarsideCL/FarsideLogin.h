#pragma once

#include <FarsideCL/FarsideServiceClient.h>
#include <FarsideCL/IFarsideCDataServer.h>

#include <string>

namespace FarsideCL {

// Logs in to the Farside service at `address` with a bearer token: asks the
// service whose token it is, then makes a data server with the address and
// the credentials (the account, the token, "Bearer") the logged-in one. Its
// media locator asks the service where media are now. Throws
// FarsideServiceError (the service's reason) when the service refuses the
// token or can't be reached; nobody is logged in then.
kilncore::classref::InterfaceRef<IFarsideCDataServer> LogIn(
    const std::string& address, const std::string& token,
    FarsideServiceClient::Timeouts timeouts = FarsideServiceClient::Timeouts::FromEnvironment());

}  // namespace FarsideCL
