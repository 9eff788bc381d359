#include <server/farside/FarsideAssetOpener.h>

#include <server/farside/FarsideAssetItem.h>

#include <server/FailureReason.h>
#include <server/OwnerHandler.h>

#include <FarsideCL/FarsideServiceClient.h>
#include <FarsideCL/FarsideServiceError.h>

#include <tether/File.h>
#include <tether/wire/Protocol.h>

#include <kilncore/string/UTFConversion.h>
#include <kilncore/utility/Guid.h>

#include <deque>
#include <filesystem>
#include <optional>

namespace tetherserver {
namespace {

using kilncore::utility::Guid;

// The application whose server opens assets of `family`.
std::string ApplicationOf(const std::string& family) { return family == "host-project" ? "Tolmen" : "Marl"; }

std::string FamilyText(const std::string& family) {
  return family == "host-project" ? "a host project" : "a Marl project";
}

int32_t StatusOf(const FarsideCL::FarsideServiceError& error) {
  if (error.HttpStatus() == 0) return tether::wire::kStatusServerUnavailable;
  if (error.IsNotFound()) return tether::wire::kStatusNotFound;
  return tether::wire::kStatusFailed;
}

// The item of `project` named `wanted` (by name or identifier), searching its
// containers breadth first; the first item when `wanted` is empty.
std::optional<Guid> FindItem(const SessionProject& project, const std::string& wanted) {
  const Guid wantedID(wanted);
  std::deque<Guid> containers{Guid()};
  while (!containers.empty()) {
    const Guid container = containers.front();
    containers.pop_front();
    const auto entries = project.GetContainedItems(container);
    if (!entries) continue;
    for (const tether::ItemInfo& entry : *entries) {
      if (entry.type == tether::ItemInfo::kTypeContainer) {
        containers.push_back(entry.id);
        continue;
      }
      if (entry.type != tether::ItemInfo::kTypeLeaf) continue;
      if (wanted.empty() || kilncore::string::UTF16to8(entry.name) == wanted ||
          (!wantedID.IsNil() && entry.id == wantedID)) {
        return entry.id;
      }
    }
  }
  return std::nullopt;
}

}  // namespace

FarsideAssetOpener::FarsideAssetOpener(FarsideAssetCache cache) : mCache(std::move(cache)) {}

bool FarsideAssetOpener::NamesServiceAsset(const tether::FarsideAssetRequestInfo& request) {
  std::error_code error;
  return !request.production.empty() && !std::filesystem::is_regular_file(request.production, error);
}

std::shared_ptr<const SessionItem> FarsideAssetOpener::Open(const OwnerHandler& handler,
                                                            const tether::FarsideAssetRequestInfo& request,
                                                            int32_t& status) const {
  if (request.serverAddress.empty()) {
    FailureReason::Set("the request names no Farside service");
    status = tether::wire::kStatusServerUnavailable;
    return nullptr;
  }
  const FarsideCL::FarsideServiceClient client(
      request.serverAddress,
      FarsideCL::FarsideSCredentials(kilncore::utility::ImmutableString(request.credentialA),
                                     kilncore::utility::ImmutableString(request.credentialB),
                                     kilncore::utility::ImmutableString(request.authTokenType)));
  FarsideCL::FarsideAssetRecord record;
  std::filesystem::path file;
  try {
    record = client.GetAsset(request.production, request.version, request.asset);
    if (ApplicationOf(record.family) != handler.Application()) {
      FailureReason::Set("asset '" + record.asset + "' of production '" + record.production + "' is " +
                         FamilyText(record.family) + ", which a " + ApplicationOf(record.family) +
                         " server opens, not " + handler.Application());
      status = tether::wire::kStatusNotSupported;
      return nullptr;
    }
    file = mCache.Fetch(client, record);
  } catch (const FarsideCL::FarsideServiceError& error) {
    FailureReason::Set(error.what());
    status = StatusOf(error);
    return nullptr;
  } catch (const std::filesystem::filesystem_error& error) {
    FailureReason::Set(std::string("the server could not keep a copy of the asset: ") + error.what());
    status = tether::wire::kStatusFailed;
    return nullptr;
  }

  const std::shared_ptr<const SessionProject> project =
      handler.OpenProject(tether::File(kilncore::string::UTF8to16(file.string())), std::string(), status, {});
  if (!project) return nullptr;
  const std::optional<Guid> id = FindItem(*project, record.item);
  if (!id) {
    FailureReason::Set("asset '" + record.asset + "' names " +
                       (record.item.empty() ? std::string("no item") : "the item '" + record.item + "'") +
                       ", which its project file doesn't hold");
    status = tether::wire::kStatusNotFound;
    return nullptr;
  }
  auto item = project->GetItem(*id);
  if (!item) {
    status = tether::wire::kStatusNotFound;
    return nullptr;
  }
  status = tether::wire::kStatusOK;
  // The version found, so that the description names what was opened.
  tether::FarsideAssetRequestInfo opened = request;
  opened.version = record.version;
  return std::make_shared<FarsideAssetItem>(std::move(item), opened);
}

}  // namespace tetherserver
