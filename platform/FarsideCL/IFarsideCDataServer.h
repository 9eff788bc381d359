#pragma once

#include <FarsideCL/FarsideSCredentials.h>
#include <FarsideCL/IFarsideCMediaLocator.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>
#include <kilncore/utility/ImmutableString.h>

#include <map>

namespace FarsideCL {

// The Farside data server that the user is logged in to: what a render
// server needs to reach the same account (address, credentials, further
// connection properties), and the lookup of media within productions.
//
// The process has at most one logged-in server. The host sets it when the
// user logs in and clears it when they log out; GetLoggedInServerRef gives
// it to anyone who asks, from any thread.
class IFarsideCDataServer : public kilncore::classref::Unknown {
 public:
  using PropertyMap = std::map<kilncore::utility::ImmutableString, kilncore::utility::ImmutableString>;

  ~IFarsideCDataServer() override;

  // The logged-in server, or a null reference when nobody is logged in.
  static kilncore::classref::InterfaceRef<IFarsideCDataServer> GetLoggedInServerRef();
  // Makes `server` the logged-in server; a null reference logs out.
  static void SetLoggedInServer(kilncore::classref::InterfaceRef<IFarsideCDataServer> server);

  // The address of the service, as a URL text.
  virtual kilncore::utility::ImmutableString GetServerAddress() const = 0;
  virtual FarsideSCredentials GetCredentials() const = 0;
  // Further properties of the connection, a copy that the caller may keep.
  virtual PropertyMap GetServerProperties() const = 0;
  // The locator of the media at `mediaPath` within the production at
  // `productionPath`, or null if the server can't look it up.
  virtual kilncore::classref::InterfaceRef<IFarsideCMediaLocator> GetMediaLocator(
      const kilncore::utility::ImmutableString& mediaPath,
      const kilncore::utility::ImmutableString& productionPath) = 0;

 protected:
  IFarsideCDataServer() = default;
};

}  // namespace FarsideCL
