#include <FarsideCL/FarsideResponse.h>

#include <FarsideCL/FarsideServiceError.h>

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

namespace FarsideCL::FarsideResponse {
namespace {

// A parsed answer whose faults are reported with the answer's status.
class Answer {
 public:
  Answer(std::string_view body, int httpStatus, const char* what) : mStatus(httpStatus), mWhat(what) {
    mDocument.Parse(body.data(), body.size());
    if (mDocument.HasParseError()) {
      Fail(std::string("is not JSON (") + rapidjson::GetParseError_En(mDocument.GetParseError()) + " at offset " +
           std::to_string(mDocument.GetErrorOffset()) + ")");
    }
    if (!mDocument.IsObject()) Fail("is not a JSON object");
  }

  const rapidjson::Value& Root() const { return mDocument; }

  [[noreturn]] void Fail(const std::string& why) const {
    throw FarsideServiceError(mStatus, "Farside service: the answer for " + mWhat + " " + why);
  }

  std::string String(const rapidjson::Value& object, const char* key, bool required = true) const {
    const auto found = object.FindMember(key);
    if (found == object.MemberEnd()) {
      if (required) Fail(std::string("has no \"") + key + "\"");
      return {};
    }
    if (!found->value.IsString()) Fail(std::string("has a \"") + key + "\" that is not a string");
    return std::string(found->value.GetString(), found->value.GetStringLength());
  }

  std::vector<std::string> Strings(const rapidjson::Value& object, const char* key) const {
    std::vector<std::string> out;
    const auto found = object.FindMember(key);
    if (found == object.MemberEnd()) return out;
    if (!found->value.IsArray()) Fail(std::string("has a \"") + key + "\" that is not an array");
    for (const auto& value : found->value.GetArray()) {
      if (!value.IsString()) Fail(std::string("has a \"") + key + "\" that holds more than strings");
      out.emplace_back(value.GetString(), value.GetStringLength());
    }
    return out;
  }

  const rapidjson::Value& Array(const rapidjson::Value& object, const char* key) const {
    const auto found = object.FindMember(key);
    if (found == object.MemberEnd() || !found->value.IsArray()) Fail(std::string("has no \"") + key + "\" array");
    return found->value;
  }

  FarsideAssetRecord Asset(const rapidjson::Value& object) const {
    if (!object.IsObject()) Fail("holds an asset that is not an object");
    FarsideAssetRecord record;
    record.production = String(object, "production");
    record.version = String(object, "version");
    record.asset = String(object, "asset");
    record.family = String(object, "family");
    record.file = String(object, "file");
    record.item = String(object, "item", false);
    record.mediaPath = String(object, "mediaPath", false);
    record.linkedAsset = String(object, "linkedAsset", false);
    record.dependsOn = Strings(object, "dependsOn");
    const auto size = object.FindMember("size");
    if (size != object.MemberEnd()) {
      if (!size->value.IsUint64()) Fail("has a \"size\" that is not a count of bytes");
      record.size = size->value.GetUint64();
    }
    if (record.family != "marl" && record.family != "host-project") {
      Fail("names the family \"" + record.family + "\", neither \"marl\" nor \"host-project\"");
    }
    if (record.production.empty() || record.asset.empty() || record.version.empty()) {
      Fail("has an empty production, version or asset");
    }
    return record;
  }

 private:
  rapidjson::Document mDocument;
  int mStatus;
  std::string mWhat;
};

}  // namespace

FarsideAssetRecord ParseAsset(std::string_view body, int httpStatus) {
  const Answer answer(body, httpStatus, "an asset");
  return answer.Asset(answer.Root());
}

FarsideProductionListing ParseProduction(std::string_view body, int httpStatus) {
  const Answer answer(body, httpStatus, "a production");
  FarsideProductionListing listing;
  listing.production = answer.String(answer.Root(), "production");
  listing.version = answer.String(answer.Root(), "version");
  listing.latest = answer.String(answer.Root(), "latest", false);
  listing.versions = answer.Strings(answer.Root(), "versions");
  for (const auto& asset : answer.Array(answer.Root(), "assets").GetArray()) {
    listing.assets.push_back(answer.Asset(asset));
  }
  return listing;
}

FarsideLinkedAssetProperties ParseLocation(std::string_view body, int httpStatus) {
  const Answer answer(body, httpStatus, "a media location");
  FarsideLinkedAssetProperties properties;
  properties.production = kilncore::utility::ImmutableString(answer.String(answer.Root(), "production"));
  properties.mediaPath = kilncore::utility::ImmutableString(answer.String(answer.Root(), "mediaPath", false));
  if (properties.production.empty()) answer.Fail("has an empty production");
  return properties;
}

std::string ParseAccount(std::string_view body, int httpStatus) {
  const Answer answer(body, httpStatus, "the account");
  return answer.String(answer.Root(), "account");
}

std::string ErrorMessage(std::string_view body) {
  rapidjson::Document document;
  document.Parse(body.data(), body.size());
  if (document.HasParseError() || !document.IsObject()) return {};
  const rapidjson::Value& root = document;
  const auto found = root.FindMember("error");
  if (found == root.MemberEnd() || !found->value.IsString()) return {};
  return std::string(found->value.GetString(), found->value.GetStringLength());
}

}  // namespace FarsideCL::FarsideResponse
