#pragma once

#include "SessionContent.h"

#include <tether/FarsideAssetRequestInfo.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace tetherserver {

// The latest opening of one remote asset in a session, for the renderers made
// from earlier openings of it.
//
// A client that looks at an asset again opens it again and swaps the new
// source into its clip, but keeps the renderers it already has. A project's
// renderers follow the project when it is read again; an asset has no
// project, so this plays that part: each opening of the same request (the
// same service, production, version as asked, and asset) counts as a new
// generation, and renderers of the asset draw the item of the latest one. A
// request without a version thus follows the production's latest version.
class FarsideAssetFollower {
 public:
  // What tells openings of one asset apart from those of another.
  static std::string KeyOf(const tether::FarsideAssetRequestInfo& request);

  // Records `item` as the asset's latest opening and returns its generation.
  uint64_t Update(std::shared_ptr<const SessionItem> item);
  uint64_t Generation() const;
  std::shared_ptr<const SessionItem> Item() const;

 private:
  mutable std::mutex mMutex;
  std::shared_ptr<const SessionItem> mItem;
  uint64_t mGeneration = 0;
};

}  // namespace tetherserver
