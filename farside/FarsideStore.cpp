#include "FarsideStore.h"

#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace farside {
namespace {

namespace fs = std::filesystem;

rapidjson::Document ReadJson(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw std::runtime_error(path.string() + ": cannot be read");
  std::ostringstream text;
  text << in.rdbuf();
  rapidjson::Document document;
  document.Parse(text.str().c_str(), text.str().size());
  if (document.HasParseError()) {
    throw std::runtime_error(path.string() + ": " + rapidjson::GetParseError_En(document.GetParseError()) +
                             " at offset " + std::to_string(document.GetErrorOffset()));
  }
  if (!document.IsObject()) throw std::runtime_error(path.string() + ": not a JSON object");
  return document;
}

std::string StringMember(const rapidjson::Value& object, const char* key, const fs::path& where) {
  const auto found = object.FindMember(key);
  if (found == object.MemberEnd()) return {};
  if (!found->value.IsString()) throw std::runtime_error(where.string() + ": \"" + key + "\" must be a string");
  return std::string(found->value.GetString(), found->value.GetStringLength());
}

std::vector<std::string> StringsMember(const rapidjson::Value& object, const char* key, const fs::path& where) {
  std::vector<std::string> out;
  const auto found = object.FindMember(key);
  if (found == object.MemberEnd()) return out;
  if (!found->value.IsArray()) throw std::runtime_error(where.string() + ": \"" + key + "\" must be an array");
  for (const auto& value : found->value.GetArray()) {
    if (!value.IsString()) throw std::runtime_error(where.string() + ": \"" + key + "\" must hold strings");
    out.emplace_back(value.GetString(), value.GetStringLength());
  }
  return out;
}

}  // namespace

FarsideStore::FarsideStore(std::filesystem::path root) : mRoot(std::move(root)) {}

bool FarsideStore::IsSafeName(const std::string& name) {
  if (name.empty() || name == "." || name == ".." || name.size() > 255) return false;
  return std::none_of(name.begin(), name.end(),
                      [](char c) { return c == '/' || c == '\\' || c == '\0'; });
}

std::optional<ProductionEntry> FarsideStore::FindProduction(const std::string& name) const {
  if (!IsSafeName(name)) return std::nullopt;
  const fs::path folder = mRoot / name;
  std::error_code error;
  if (!fs::is_directory(folder, error)) return std::nullopt;
  ProductionEntry entry;
  entry.name = name;
  for (const auto& child : fs::directory_iterator(folder)) {
    if (child.is_directory() && fs::exists(child.path() / "assets.json")) {
      entry.versions.push_back(child.path().filename().string());
    }
  }
  std::sort(entry.versions.begin(), entry.versions.end());
  const fs::path description = folder / "production.json";
  if (fs::exists(description)) {
    const rapidjson::Document document = ReadJson(description);
    entry.latest = StringMember(document, "latest", description);
    entry.formerNames = StringsMember(document, "formerNames", description);
  }
  if (entry.latest.empty() && !entry.versions.empty()) entry.latest = entry.versions.back();
  return entry;
}

std::vector<ProductionEntry> FarsideStore::ListProductions() const {
  std::vector<ProductionEntry> out;
  std::error_code error;
  if (!fs::is_directory(mRoot, error)) return out;
  std::vector<std::string> names;
  for (const auto& child : fs::directory_iterator(mRoot)) {
    if (child.is_directory()) names.push_back(child.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    if (auto entry = FindProduction(name)) out.push_back(std::move(*entry));
  }
  return out;
}

std::optional<std::vector<AssetEntry>> FarsideStore::ListAssets(const std::string& production,
                                                                const std::string& version) const {
  const std::optional<ProductionEntry> entry = FindProduction(production);
  if (!entry) return std::nullopt;
  const std::string chosen = version.empty() ? entry->latest : version;
  if (!IsSafeName(chosen)) return std::nullopt;
  const fs::path folder = mRoot / production / chosen;
  const fs::path description = folder / "assets.json";
  if (!fs::exists(description)) return std::nullopt;
  const rapidjson::Document document = ReadJson(description);
  const auto assets = document.FindMember("assets");
  if (assets == document.MemberEnd() || !assets->value.IsArray()) {
    throw std::runtime_error(description.string() + ": \"assets\" must be an array");
  }
  std::vector<AssetEntry> out;
  for (const auto& value : assets->value.GetArray()) {
    if (!value.IsObject()) throw std::runtime_error(description.string() + ": an asset must be an object");
    AssetEntry asset;
    asset.production = production;
    asset.version = chosen;
    asset.asset = StringMember(value, "name", description);
    asset.family = StringMember(value, "family", description);
    asset.file = StringMember(value, "file", description);
    asset.item = StringMember(value, "item", description);
    asset.mediaPath = StringMember(value, "mediaPath", description);
    asset.dependsOn = StringsMember(value, "dependsOn", description);
    if (asset.asset.empty() || !IsSafeName(asset.file) || (asset.family != "marl" && asset.family != "host-project")) {
      throw std::runtime_error(description.string() +
                               ": an asset needs a \"name\", a \"file\" in its folder and a \"family\" of "
                               "\"marl\" or \"host-project\"");
    }
    asset.filePath = folder / asset.file;
    out.push_back(std::move(asset));
  }
  return out;
}

std::optional<AssetEntry> FarsideStore::FindAsset(const std::string& production, const std::string& version,
                                                  const std::string& asset) const {
  const auto assets = ListAssets(production, version);
  if (!assets) return std::nullopt;
  for (const AssetEntry& entry : *assets) {
    if (entry.asset == asset) return entry;
  }
  return std::nullopt;
}

std::optional<AssetEntry> FarsideStore::Locate(const std::string& production, const std::string& mediaPath) const {
  for (const ProductionEntry& entry : ListProductions()) {
    const bool named = entry.name == production || std::find(entry.formerNames.begin(), entry.formerNames.end(),
                                                             production) != entry.formerNames.end();
    if (!named) continue;
    const auto assets = ListAssets(entry.name, "");
    if (!assets) continue;
    for (const AssetEntry& asset : *assets) {
      if (asset.mediaPath == mediaPath) return asset;
    }
  }
  return std::nullopt;
}

}  // namespace farside
