#pragma once

#include <stdexcept>
#include <string>

namespace FarsideCL {

// A request to the Farside service that failed, with the service's own reason
// when it gave one. `HttpStatus()` is the HTTP status of the answer, or 0 when
// no answer came (the service is down, the connection broke, the wait for an
// answer ran out). what() is one line for the user, such as
//   "Farside service: HTTP 401: the token has expired"
//   "Farside service at http://127.0.0.1:9 did not answer: Connection"
class FarsideServiceError : public std::runtime_error {
 public:
  FarsideServiceError(int httpStatus, const std::string& message)
      : std::runtime_error(message), mHttpStatus(httpStatus) {}

  int HttpStatus() const noexcept { return mHttpStatus; }
  // 401: the token was refused, unknown or expired.
  bool IsUnauthorized() const noexcept { return mHttpStatus == 401; }
  // 404: the production, version or asset names nothing.
  bool IsNotFound() const noexcept { return mHttpStatus == 404; }

 private:
  int mHttpStatus;
};

}  // namespace FarsideCL
