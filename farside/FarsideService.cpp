#include "FarsideService.h"

#include <httplib.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace farside {
namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

constexpr char kJson[] = "application/json";

void SendError(httplib::Response& response, int status, const std::string& message) {
  rapidjson::StringBuffer buffer;
  Writer json(buffer);
  json.StartObject();
  json.Key("error");
  json.String(message);
  json.EndObject();
  response.status = status;
  response.set_content(std::string(buffer.GetString(), buffer.GetSize()), kJson);
}

void SendJson(httplib::Response& response, const rapidjson::StringBuffer& buffer) {
  response.status = 200;
  response.set_content(std::string(buffer.GetString(), buffer.GetSize()), kJson);
}

std::string Param(const httplib::Request& request, const char* key) {
  return request.has_param(key) ? request.get_param_value(key) : std::string();
}

// The text that links a document to this asset, in the client's fixed order.
std::string LinkedAssetText(const AssetEntry& asset) {
  rapidjson::StringBuffer buffer;
  Writer json(buffer);
  json.StartObject();
  json.Key("production");
  json.String(asset.production);
  json.Key("mediaPath");
  json.String(asset.mediaPath);
  json.Key("version");
  json.String(asset.version);
  json.Key("asset");
  json.String(asset.asset);
  json.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize());
}

void WriteAsset(Writer& json, const AssetEntry& asset) {
  std::error_code error;
  const auto size = std::filesystem::file_size(asset.filePath, error);
  json.StartObject();
  json.Key("production");
  json.String(asset.production);
  json.Key("version");
  json.String(asset.version);
  json.Key("asset");
  json.String(asset.asset);
  json.Key("family");
  json.String(asset.family);
  json.Key("file");
  json.String(asset.file);
  json.Key("item");
  json.String(asset.item);
  json.Key("mediaPath");
  json.String(asset.mediaPath);
  json.Key("size");
  json.Uint64(error ? 0 : static_cast<uint64_t>(size));
  json.Key("dependsOn");
  json.StartArray();
  for (const std::string& other : asset.dependsOn) json.String(other);
  json.EndArray();
  json.Key("linkedAsset");
  json.String(LinkedAssetText(asset));
  json.EndObject();
}

// The bearer token of the request, or nothing when it has none.
std::optional<std::string> BearerToken(const httplib::Request& request) {
  const std::string header = request.get_header_value("Authorization");
  constexpr std::string_view kScheme = "Bearer ";
  if (header.size() <= kScheme.size() || header.compare(0, kScheme.size(), kScheme) != 0) return std::nullopt;
  return header.substr(kScheme.size());
}

}  // namespace

FarsideService::FarsideService(Settings settings)
    : mSettings(std::move(settings)), mStore(mSettings.root), mServer(std::make_unique<httplib::Server>()) {
  Route();
}

FarsideService::~FarsideService() { Stop(); }

std::string FarsideService::Address() const { return "http://127.0.0.1:" + std::to_string(mPort); }

void FarsideService::Log(const std::string& line) const {
  if (mSettings.log) mSettings.log(line);
}

void FarsideService::Bind() {
  // Loopback only: the reference service is for one machine and its tests.
  if (mSettings.port == 0) {
    const int port = mServer->bind_to_any_port("127.0.0.1");
    if (port <= 0) throw std::runtime_error("cannot bind 127.0.0.1 to a free port");
    mPort = static_cast<uint16_t>(port);
  } else {
    if (!mServer->bind_to_port("127.0.0.1", mSettings.port)) {
      throw std::runtime_error("cannot bind 127.0.0.1:" + std::to_string(mSettings.port));
    }
    mPort = mSettings.port;
  }
}

uint16_t FarsideService::Start() {
  Bind();
  // The socket listens once bound: connections made before the thread runs
  // wait in its queue.
  mThread = std::thread([this] { mServer->listen_after_bind(); });
  // A stop before the loop runs would be missed by the HTTP library, and the
  // loop would then never end: Start returns once it runs.
  while (!mServer->is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return mPort;
}

void FarsideService::Run() {
  Bind();
  mServer->listen_after_bind();
}

void FarsideService::Stop() {
  {
    std::lock_guard lock(mStallMutex);
    mStopping = true;
  }
  mStallWake.notify_all();
  mServer->stop();
  if (mThread.joinable()) mThread.join();
}

void FarsideService::Route() {
  httplib::Server& server = *mServer;
  server.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
    const std::optional<std::string> token = BearerToken(request);
    if (!token) {
      response.set_header("WWW-Authenticate", "Bearer");
      SendError(response, 401, "a bearer token is required");
      return httplib::Server::HandlerResponse::Handled;
    }
    const TokenList::Check check = mSettings.tokens.Verify(*token, std::chrono::system_clock::now());
    if (check.verdict != TokenList::Verdict::kAccepted) {
      response.set_header("WWW-Authenticate", "Bearer error=\"invalid_token\"");
      SendError(response, 401, check.verdict == TokenList::Verdict::kExpired ? "the token has expired"
                                                                              : "the token is not known");
      return httplib::Server::HandlerResponse::Handled;
    }
    response.set_header("X-Farside-Account", check.account);
    return httplib::Server::HandlerResponse::Unhandled;
  });
  server.set_logger([this](const httplib::Request& request, const httplib::Response& response) {
    std::string line = request.method + " " + request.path;
    if (!request.params.empty()) {
      line += "?";
      bool first = true;
      for (const auto& [key, value] : request.params) {
        line += (first ? "" : "&") + key + "=" + value;
        first = false;
      }
    }
    line += " " + std::to_string(response.status);
    const std::string account = response.get_header_value("X-Farside-Account");
    if (!account.empty()) line += " " + account;
    Log(line);
  });
  server.set_exception_handler([](const httplib::Request&, httplib::Response& response, std::exception_ptr error) {
    std::string message = "internal error";
    try {
      if (error) std::rethrow_exception(error);
    } catch (const std::exception& e) {
      message = e.what();
    } catch (...) {
    }
    SendError(response, 500, message);
  });

  server.Get("/v1/whoami", [](const httplib::Request&, httplib::Response& response) {
    rapidjson::StringBuffer buffer;
    Writer json(buffer);
    json.StartObject();
    json.Key("account");
    json.String(response.get_header_value("X-Farside-Account"));
    json.EndObject();
    SendJson(response, buffer);
  });

  server.Get("/v1/productions", [this](const httplib::Request&, httplib::Response& response) {
    rapidjson::StringBuffer buffer;
    Writer json(buffer);
    json.StartObject();
    json.Key("productions");
    json.StartArray();
    for (const ProductionEntry& entry : mStore.ListProductions()) {
      json.StartObject();
      json.Key("name");
      json.String(entry.name);
      json.Key("latest");
      json.String(entry.latest);
      json.EndObject();
    }
    json.EndArray();
    json.EndObject();
    SendJson(response, buffer);
  });

  server.Get("/v1/production", [this](const httplib::Request& request, httplib::Response& response) {
    const std::string name = Param(request, "production");
    const std::optional<ProductionEntry> production = mStore.FindProduction(name);
    if (!production) return SendError(response, 404, "no production named '" + name + "'");
    const std::string version = Param(request, "version");
    const auto assets = mStore.ListAssets(name, version);
    if (!assets) return SendError(response, 404, "production '" + name + "' has no version '" + version + "'");
    rapidjson::StringBuffer buffer;
    Writer json(buffer);
    json.StartObject();
    json.Key("production");
    json.String(name);
    json.Key("version");
    json.String(version.empty() ? production->latest : version);
    json.Key("latest");
    json.String(production->latest);
    json.Key("versions");
    json.StartArray();
    for (const std::string& each : production->versions) json.String(each);
    json.EndArray();
    json.Key("assets");
    json.StartArray();
    for (const AssetEntry& asset : *assets) WriteAsset(json, asset);
    json.EndArray();
    json.EndObject();
    SendJson(response, buffer);
  });

  auto findAsset = [this](const httplib::Request& request, httplib::Response& response) -> std::optional<AssetEntry> {
    const std::string production = Param(request, "production");
    const std::string version = Param(request, "version");
    const std::string asset = Param(request, "asset");
    if (!mStore.FindProduction(production)) {
      SendError(response, 404, "no production named '" + production + "'");
      return std::nullopt;
    }
    std::optional<AssetEntry> entry = mStore.FindAsset(production, version, asset);
    if (!entry) {
      SendError(response, 404, "no asset named '" + asset + "' in production '" + production + "'" +
                                   (version.empty() ? std::string() : " version '" + version + "'"));
    }
    return entry;
  };

  server.Get("/v1/asset", [findAsset](const httplib::Request& request, httplib::Response& response) {
    const std::optional<AssetEntry> asset = findAsset(request, response);
    if (!asset) return;
    rapidjson::StringBuffer buffer;
    Writer json(buffer);
    WriteAsset(json, *asset);
    SendJson(response, buffer);
  });

  server.Get("/v1/asset/file", [this, findAsset](const httplib::Request& request, httplib::Response& response) {
    const std::optional<AssetEntry> asset = findAsset(request, response);
    if (!asset) return;
    std::ifstream in(asset->filePath, std::ios::binary);
    if (!in) return SendError(response, 500, "the file of asset '" + asset->asset + "' is missing on the service");
    auto bytes = std::make_shared<std::string>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!mSettings.stallFileAfter) {
      response.status = 200;
      response.set_content(*bytes, "application/octet-stream");
      return;
    }
    const size_t stallAt = std::min(*mSettings.stallFileAfter, bytes->size());
    response.status = 200;
    response.set_content_provider(
        bytes->size(), "application/octet-stream",
        [this, bytes, stallAt](size_t offset, size_t, httplib::DataSink& sink) {
          if (offset < stallAt) return sink.write(bytes->data() + offset, stallAt - offset);
          Log("stalled after " + std::to_string(stallAt) + " bytes");
          std::unique_lock lock(mStallMutex);
          mStallWake.wait(lock, [this] { return mStopping; });
          return false;
        });
  });

  server.Get("/v1/locate", [this](const httplib::Request& request, httplib::Response& response) {
    const std::string production = Param(request, "production");
    const std::string mediaPath = Param(request, "mediaPath");
    const std::optional<AssetEntry> asset = mStore.Locate(production, mediaPath);
    if (!asset) {
      return SendError(response, 404, "nothing at '" + mediaPath + "' in production '" + production + "'");
    }
    rapidjson::StringBuffer buffer;
    Writer json(buffer);
    json.StartObject();
    json.Key("production");
    json.String(asset->production);
    json.Key("mediaPath");
    json.String(asset->mediaPath);
    json.EndObject();
    SendJson(response, buffer);
  });
}

}  // namespace farside
