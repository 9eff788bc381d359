#include <host/commands/FarsideCommands.h>

#include <host/cli/HostError.h>
#include <host/session/HostSession.h>
#include <host/session/ProgressView.h>

#include <FarsideCL/AssetName.h>
#include <FarsideCL/FarsideLinkedAsset.h>
#include <FarsideCL/FarsideLogin.h>
#include <FarsideCL/FarsideServiceClient.h>
#include <FarsideCL/FarsideServiceError.h>
#include <FarsideCL/IFarsideCDataServer.h>
#include <KL/FarsideAvailability.h>
#include <TetherMedia/FarsideAssets.h>
#include <kilncore/string/UTFConversion.h>

#include <CLI/CLI.hpp>
#include <rapidjson/document.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <cstdlib>
#include <optional>

namespace tetherhost {
namespace {

using kilncore::utility::ImmutableString;

constexpr char kPrefix[] = "farside:";

struct FarsideOptions {
  std::string url;
  std::string token;
};

// One set for the process: a command line runs one command.
FarsideOptions& Options() {
  static FarsideOptions options;
  return options;
}

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

// Logs in to the service of the options (or the environment), and switches
// the remote client on. The data server it makes is the process's for good.
void LogIn() {
  std::string url = Options().url.empty() ? Environment("TETHERHOST_FARSIDE_URL") : Options().url;
  std::string token = Options().token.empty() ? Environment("TETHERHOST_FARSIDE_TOKEN") : Options().token;
  if (url.empty()) throw HostError("a remote name needs a Farside service: give --farside URL (or TETHERHOST_FARSIDE_URL)");
  if (token.empty()) throw HostError("the Farside service needs a token: give --token TOKEN (or TETHERHOST_FARSIDE_TOKEN)");
  try {
    FarsideCL::LogIn(url, token);
  } catch (const FarsideCL::FarsideServiceError& error) {
    throw HostError(std::string("cannot log in: ") + error.what());
  }
  KL::SetFarsideClientAvailable(true);
}

FarsideCL::FarsideServiceClient Client() {
  return FarsideCL::FarsideServiceClient::For(*FarsideCL::IFarsideCDataServer::GetLoggedInServerRef());
}

struct ProductionName {
  std::string production;
  std::string version;
};

std::optional<ProductionName> ParseProductionName(const std::string& text) {
  if (text.rfind(kPrefix, 0) != 0) return std::nullopt;
  ProductionName name;
  const std::string rest = text.substr(sizeof(kPrefix) - 1);
  const size_t at = rest.rfind('@');
  name.production = rest.substr(0, at);
  if (at != std::string::npos) name.version = rest.substr(at + 1);
  if (name.production.empty()) return std::nullopt;
  return name;
}

// Whether a JSON name has a "mediaPath": a linked-asset text.
bool HasMediaPath(const std::string& text) {
  rapidjson::Document document;
  document.Parse(text.c_str(), text.size());
  return !document.HasParseError() && document.IsObject() && document.HasMember("mediaPath");
}

std::string ListJson(const FarsideCL::FarsideProductionListing& listing) {
  rapidjson::StringBuffer buffer;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> json(buffer);
  json.StartArray();
  for (const FarsideCL::FarsideAssetRecord& asset : listing.assets) {
    json.StartObject();
    json.Key("asset");
    json.String(asset.asset);
    json.Key("family");
    json.String(asset.family);
    json.Key("item");
    json.String(asset.item);
    json.Key("version");
    json.String(asset.version);
    json.Key("mediaPath");
    json.String(asset.mediaPath);
    json.Key("assetName");
    json.String(FarsideCL::AssetName(ImmutableString(asset.production), ImmutableString(asset.version),
                                     ImmutableString(asset.asset))
                    .ToJSONString());
    json.Key("linkedAsset");
    json.String(asset.linkedAsset);
    json.EndObject();
  }
  json.EndArray();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

// The family of an asset as the service tells it, with the version it found;
// nothing with `why` set when the service can't tell. The module and the
// server then report the failure on their own road.
std::optional<FarsideCL::FarsideAssetRecord> LookUp(const std::string& production, const std::string& version,
                                                    const std::string& asset, std::string& why) {
  try {
    return Client().GetAsset(production, version, asset);
  } catch (const FarsideCL::FarsideServiceError& error) {
    why = error.what();
    return std::nullopt;
  }
}

tether::FarsideAssetServerType ServerTypeOf(const std::optional<FarsideCL::FarsideAssetRecord>& record) {
  return record && record->IsHostProject() ? tether::kFarsideAssetServerTypeTolmen
                                           : tether::kFarsideAssetServerTypeMarl;
}

[[noreturn]] void Fail(const std::string& what, int32_t code, const std::string& serviceReason) {
  // The service's reason, when it gave one before the module was asked,
  // explains the module's code better than the server can.
  throw HostError(serviceReason.empty() ? "import of " + what + " failed" : serviceReason, code);
}

LinkedClip ImportByName(WF::IMediaModule& module, const FarsideCL::AssetName& name) {
  std::string why;
  const auto record =
      LookUp(name.GetProduction().AsUTF8(), name.GetVersion().AsUTF8(), name.GetAsset().AsUTF8(), why);
  // The module links one version; the latest is the one the service found.
  const FarsideCL::AssetName fixed(name.GetProduction(),
                                   record ? ImmutableString(record->version) : name.GetVersion(), name.GetAsset());
  const std::string text = fixed.ToJSONString();
  if (ServerTypeOf(record) == tether::kFarsideAssetServerTypeMarl) {
    // The host's own road: the name goes to ImportFile as a path would.
    try {
      return LinkedClip::Import(module, text, std::string());
    } catch (const HostError& error) {
      if (why.empty()) throw;
      Fail(text, error.code(), why);
    }
  }
  tether::FarsideAssetRequestInfo request;
  const auto server = FarsideCL::IFarsideCDataServer::GetLoggedInServerRef();
  const FarsideCL::FarsideSCredentials credentials = server->GetCredentials();
  request.serverAddress = server->GetServerAddress().AsUTF8();
  request.credentialA = credentials.GetAccount().AsUTF8();
  request.credentialB = credentials.GetSecret().AsUTF8();
  request.authTokenType = credentials.GetAuthTokenType().AsUTF8();
  for (const auto& [key, value] : server->GetServerProperties()) request.serverProperties[key.AsUTF8()] = value.AsUTF8();
  request.production = fixed.GetProduction().AsUTF8();
  request.version = fixed.GetVersion().AsUTF8();
  request.asset = fixed.GetAsset().AsUTF8();
  kilncore::classref::InterfaceRef<KL::IMediaInfo> item;
  RL::BinaryData prefs;
  const int code = TetherMedia::OpenFarsideAsset(item, prefs, request, ServerTypeOf(record), boost::none);
  if (code < 0) Fail(text, code, why);
  return LinkedClip::Adopt(std::move(item), std::move(prefs));
}

LinkedClip ImportByLink(const std::string& text) {
  const auto link = FarsideCL::FarsideLinkedAsset::CreateFromString(text);
  std::string why;
  std::optional<FarsideCL::FarsideAssetRecord> record;
  if (link.IsValid()) {
    // The production may have been renamed since the link was made.
    std::string production = link.GetProduction().AsUTF8();
    try {
      if (const auto located = Client().Locate(production, link.GetMediaPath().AsUTF8())) {
        production = located->production.AsUTF8();
      }
    } catch (const FarsideCL::FarsideServiceError&) {
    }
    record = LookUp(production, link.GetVersion().AsUTF8(), link.GetAsset().AsUTF8(), why);
  }
  kilncore::classref::InterfaceRef<KL::IMediaInfo> item;
  RL::BinaryData prefs;
  // The link's own production is where the locator starts.
  const int code = TetherMedia::OpenFarsideLinkedAsset(link.GetProduction(), ImmutableString(text), item, prefs,
                                                       ServerTypeOf(record));
  if (code < 0) Fail(text, code, why);
  return LinkedClip::Adopt(std::move(item), std::move(prefs));
}

}  // namespace

void AddFarsideOptions(CLI::App& command) {
  command.add_option("--farside", Options().url,
                     "the Farside service of remote names, as http://HOST:PORT (also TETHERHOST_FARSIDE_URL)");
  command.add_option("--token", Options().token,
                     "the bearer token for the Farside service (also TETHERHOST_FARSIDE_TOKEN)");
}

bool IsFarsideName(const std::string& text) {
  if (ParseProductionName(text)) return true;
  return !text.empty() && text.front() == '{' && FarsideCL::AssetName::CreateFromString(std::string_view(text)).IsValid();
}

int RunFarsideList(HostSession& session, const std::string& name, bool json) {
  const std::optional<ProductionName> production = ParseProductionName(name);
  if (!production) throw std::invalid_argument("list takes a production as farside:PRODUCTION[@VERSION]");
  LogIn();
  FarsideCL::FarsideProductionListing listing;
  try {
    listing = Client().ListProduction(production->production, production->version);
  } catch (const FarsideCL::FarsideServiceError& error) {
    throw HostError(error.what());
  }
  std::string lines;
  for (const FarsideCL::FarsideAssetRecord& asset : listing.assets) {
    lines += asset.asset + "  " + asset.family + "  " + asset.item + "  " + asset.linkedAsset + "\n";
  }
  session.Progress().Print(json ? ListJson(listing) : lines);
  return 0;
}

LinkedClip ImportFarsideAsset(WF::IMediaModule& module, const std::string& name, const std::string& item) {
  LogIn();
  if (const std::optional<ProductionName> production = ParseProductionName(name)) {
    std::string asset = item;
    if (asset.empty()) {
      FarsideCL::FarsideProductionListing listing;
      try {
        listing = Client().ListProduction(production->production, production->version);
      } catch (const FarsideCL::FarsideServiceError& error) {
        throw HostError(error.what());
      }
      if (listing.assets.empty()) throw HostError("production " + production->production + " has no assets");
      asset = listing.assets.front().asset;
    }
    return ImportByName(module, FarsideCL::AssetName(ImmutableString(production->production),
                                                     ImmutableString(production->version), ImmutableString(asset)));
  }
  if (HasMediaPath(name)) return ImportByLink(name);
  return ImportByName(module, FarsideCL::AssetName::CreateFromString(std::string_view(name)));
}

}  // namespace tetherhost
