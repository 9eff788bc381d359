#pragma once

#include <kilncore/utility/ImmutableString.h>

#include <string>
#include <string_view>

namespace FarsideCL {

// A link from a project to an asset on the Farside service, as the service
// hands it out for embedding in other documents. It names, in this order:
// 1. the production that holds the asset;
// 2. the media path: where the asset sits within the production, which the
//    data server's media locator resolves (the production may have moved);
// 3. the version of the production (empty for the latest);
// 4. the asset.
//
// Its text form is a JSON object of four string members, written in the
// order "production", "mediaPath", "version", "asset" without white space:
//   {"production":"Trailer","mediaPath":"/Shots/Titles","version":"v3","asset":"Titles"}
// Reading accepts any member order, white space and further members. A text
// is valid when "production", "version" and "asset" are strings and the
// production and asset are not empty; "mediaPath" may be absent, and is
// then empty.
class FarsideLinkedAsset {
 public:
  // An invalid link with four empty texts.
  FarsideLinkedAsset() = default;
  FarsideLinkedAsset(kilncore::utility::ImmutableString production,
                     kilncore::utility::ImmutableString mediaPath,
                     kilncore::utility::ImmutableString version,
                     kilncore::utility::ImmutableString asset);

  // Reads the text form, UTF-8. Anything else gives an invalid link; this
  // never throws.
  static FarsideLinkedAsset CreateFromString(std::string_view utf8);

  bool IsValid() const noexcept { return !mProduction.empty() && !mAsset.empty(); }

  const kilncore::utility::ImmutableString& GetProduction() const noexcept { return mProduction; }
  const kilncore::utility::ImmutableString& GetMediaPath() const noexcept { return mMediaPath; }
  const kilncore::utility::ImmutableString& GetVersion() const noexcept { return mVersion; }
  const kilncore::utility::ImmutableString& GetAsset() const noexcept { return mAsset; }

  // The text form, UTF-8.
  std::string ToString() const;

  friend bool operator==(const FarsideLinkedAsset&, const FarsideLinkedAsset&) = default;

 private:
  kilncore::utility::ImmutableString mProduction;
  kilncore::utility::ImmutableString mMediaPath;
  kilncore::utility::ImmutableString mVersion;
  kilncore::utility::ImmutableString mAsset;
};

}  // namespace FarsideCL
