#pragma once

#include <FarsideCL/FarsideLinkedAssetProperties.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace FarsideCL {

// An asset as the service describes it.
struct FarsideAssetRecord {
  std::string production;
  // The version that was found; never empty, even when the latest was asked.
  std::string version;
  std::string asset;
  // "marl" or "host-project".
  std::string family;
  // The project file's name.
  std::string file;
  // The composition or sequence that the asset stands for; empty: the first.
  std::string item;
  std::string mediaPath;
  uint64_t size = 0;
  std::vector<std::string> dependsOn;
  // The text that links a document to this asset (FarsideLinkedAsset).
  std::string linkedAsset;

  bool IsHostProject() const { return family == "host-project"; }
};

struct FarsideProductionListing {
  std::string production;
  std::string version;
  std::string latest;
  std::vector<std::string> versions;
  std::vector<FarsideAssetRecord> assets;
};

// Readers of the service's JSON answers. Each throws FarsideServiceError
// (with `httpStatus`) saying what is wrong when the text isn't the answer
// expected: not JSON, not an object, a member missing or of the wrong type.
// Members that aren't known are skipped.
namespace FarsideResponse {

FarsideAssetRecord ParseAsset(std::string_view body, int httpStatus = 200);
FarsideProductionListing ParseProduction(std::string_view body, int httpStatus = 200);
FarsideLinkedAssetProperties ParseLocation(std::string_view body, int httpStatus = 200);
std::string ParseAccount(std::string_view body, int httpStatus = 200);
// The "error" text of a failed answer, or an empty text when there is none;
// never throws.
std::string ErrorMessage(std::string_view body);

}  // namespace FarsideResponse

}  // namespace FarsideCL
