#include <FarsideCL/FarsideServiceClient.h>

#include <FarsideCL/FarsideHttp.h>
#include <FarsideCL/FarsideServiceError.h>
#include <FarsideCL/IFarsideCDataServer.h>

#include <cstdlib>

namespace FarsideCL {

namespace {

std::string Authorization(const FarsideSCredentials& credentials) {
  const std::string type = credentials.GetAuthTokenType().empty() ? "Bearer" : credentials.GetAuthTokenType().AsUTF8();
  return type + " " + credentials.GetSecret().AsUTF8();
}

std::chrono::milliseconds Milliseconds(const char* variable, std::chrono::milliseconds fallback) {
  const char* text = std::getenv(variable);
  if (text == nullptr) return fallback;
  char* end = nullptr;
  const long long value = std::strtoll(text, &end, 10);
  return end != text && *end == '\0' && value > 0 ? std::chrono::milliseconds(value) : fallback;
}

}  // namespace

FarsideServiceClient::Timeouts FarsideServiceClient::Timeouts::FromEnvironment() {
  Timeouts timeouts;
  timeouts.connect = Milliseconds("FARSIDE_CONNECT_TIMEOUT_MS", timeouts.connect);
  timeouts.read = Milliseconds("FARSIDE_READ_TIMEOUT_MS", timeouts.read);
  return timeouts;
}

FarsideServiceClient::FarsideServiceClient(std::string address, FarsideSCredentials credentials, Timeouts timeouts)
    : mAddress(std::move(address)), mAuthorization(Authorization(credentials)), mTimeouts(timeouts) {}

FarsideServiceClient FarsideServiceClient::For(const IFarsideCDataServer& server) {
  return FarsideServiceClient(server.GetServerAddress().AsUTF8(), server.GetCredentials());
}

std::string FarsideServiceClient::Get(const std::string& path,
                                      std::vector<std::pair<std::string, std::string>> params, int& status) const {
  FarsideHttpRequest request;
  request.address = mAddress;
  request.path = path;
  request.params = std::move(params);
  request.authorization = mAuthorization;
  request.connectTimeout = mTimeouts.connect;
  request.readTimeout = mTimeouts.read;
  FarsideHttpResponse response = FarsideHttpGet(request);
  status = response.status;
  if (response.status == 0) {
    throw FarsideServiceError(0, "Farside service at " + mAddress + " did not answer: " + response.transportError);
  }
  if (response.status != 200) {
    const std::string reason = FarsideResponse::ErrorMessage(response.body);
    throw FarsideServiceError(response.status, "Farside service: HTTP " + std::to_string(response.status) + ": " +
                                                   (reason.empty() ? "no reason given" : reason));
  }
  return std::move(response.body);
}

std::string FarsideServiceClient::WhoAmI() const {
  int status = 0;
  const std::string body = Get("/v1/whoami", {}, status);
  return FarsideResponse::ParseAccount(body, status);
}

FarsideProductionListing FarsideServiceClient::ListProduction(const std::string& production,
                                                              const std::string& version) const {
  int status = 0;
  const std::string body = Get("/v1/production", {{"production", production}, {"version", version}}, status);
  return FarsideResponse::ParseProduction(body, status);
}

FarsideAssetRecord FarsideServiceClient::GetAsset(const std::string& production, const std::string& version,
                                                  const std::string& asset) const {
  int status = 0;
  const std::string body =
      Get("/v1/asset", {{"production", production}, {"version", version}, {"asset", asset}}, status);
  return FarsideResponse::ParseAsset(body, status);
}

std::string FarsideServiceClient::FetchAssetFile(const std::string& production, const std::string& version,
                                                 const std::string& asset) const {
  int status = 0;
  return Get("/v1/asset/file", {{"production", production}, {"version", version}, {"asset", asset}}, status);
}

std::optional<FarsideLinkedAssetProperties> FarsideServiceClient::Locate(const std::string& production,
                                                                         const std::string& mediaPath) const {
  int status = 0;
  try {
    const std::string body = Get("/v1/locate", {{"production", production}, {"mediaPath", mediaPath}}, status);
    return FarsideResponse::ParseLocation(body, status);
  } catch (const FarsideServiceError& error) {
    if (error.IsNotFound()) return std::nullopt;
    throw;
  }
}

}  // namespace FarsideCL
