#include <FarsideCL/FarsideHttp.h>

#include <httplib.h>

namespace FarsideCL {
namespace {

FarsideHttpResponse Get(const FarsideHttpRequest& request) {
  FarsideHttpResponse out;
  httplib::Client client(request.address);
  if (!client.is_valid()) {
    out.transportError = "'" + request.address + "' is no service address";
    return out;
  }
  client.set_connection_timeout(request.connectTimeout);
  client.set_read_timeout(request.readTimeout);
  client.set_write_timeout(request.readTimeout);
  httplib::Headers headers;
  if (!request.authorization.empty()) headers.emplace("Authorization", request.authorization);
  httplib::Params params;
  for (const auto& [key, value] : request.params) params.emplace(key, value);
  const httplib::Result result = client.Get(request.path, params, headers);
  if (!result) {
    out.transportError = httplib::to_string(result.error());
    return out;
  }
  out.status = result->status;
  out.body = result->body;
  return out;
}

}  // namespace

kilncore::utility::Seam<FarsideHttpResponse(const FarsideHttpRequest&)>& FarsideHttpGetSeam() {
  static auto* seam = new kilncore::utility::Seam<FarsideHttpResponse(const FarsideHttpRequest&)>(Get);
  return *seam;
}

FarsideHttpResponse FarsideHttpGet(const FarsideHttpRequest& request) { return FarsideHttpGetSeam()(request); }

}  // namespace FarsideCL
