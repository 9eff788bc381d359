#pragma once

#include <kilncore/utility/Seam.h>

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace FarsideCL {

// One GET of the Farside service's HTTP API.
struct FarsideHttpRequest {
  // "http://host:port", as the data server gives it.
  std::string address;
  // "/v1/asset", say.
  std::string path;
  // Query parameters, escaped on the way.
  std::vector<std::pair<std::string, std::string>> params;
  // The Authorization header's value ("Bearer <token>"); empty sends none.
  std::string authorization;
  std::chrono::milliseconds connectTimeout{5000};
  // The longest wait for any part of the answer.
  std::chrono::milliseconds readTimeout{30000};
};

struct FarsideHttpResponse {
  // The HTTP status; 0 when no answer came.
  int status = 0;
  std::string body;
  // Why no answer came, when status is 0.
  std::string transportError;
};

// Sends `request` and waits for the whole answer. Never throws for a failure
// of the service or the network: that is in the response.
FarsideHttpResponse FarsideHttpGet(const FarsideHttpRequest& request);
// The transport is the host's: tests put a service of their own behind it.
kilncore::utility::Seam<FarsideHttpResponse(const FarsideHttpRequest&)>& FarsideHttpGetSeam();

}  // namespace FarsideCL
