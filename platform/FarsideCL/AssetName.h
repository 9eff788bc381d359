#pragma once

#include <kilncore/string/WideString.h>
#include <kilncore/utility/ImmutableString.h>

#include <string>
#include <string_view>

namespace FarsideCL {

// The name of an asset on the Farside service: the production it belongs to,
// the version of that production (empty for the latest), and the asset within
// it.
//
// Its text form is a JSON object of three string members, written in the
// order "production", "version", "asset" and without white space:
//   {"production":"Trailer","version":"v3","asset":"Titles"}
// Reading accepts the members in any order, white space between tokens and
// further members, as any JSON writer may produce them. A name is valid when
// all three members are strings and the production and the asset are not
// empty.
class AssetName {
 public:
  // An invalid name with three empty texts.
  AssetName() = default;
  AssetName(kilncore::utility::ImmutableString production, kilncore::utility::ImmutableString version,
            kilncore::utility::ImmutableString asset);

  // Reads the text form. Text that is no asset name (a file path, say) gives
  // an invalid name; this never throws.
  static AssetName CreateFromString(kilncore::WideStringView text);
  static AssetName CreateFromString(std::string_view utf8);

  bool IsValid() const noexcept { return !mProduction.empty() && !mAsset.empty(); }

  const kilncore::utility::ImmutableString& GetProduction() const noexcept { return mProduction; }
  const kilncore::utility::ImmutableString& GetVersion() const noexcept { return mVersion; }
  const kilncore::utility::ImmutableString& GetAsset() const noexcept { return mAsset; }

  // The text form, UTF-8 and UTF-16.
  std::string ToJSONString() const;
  kilncore::WideString ToJSONWideString() const;

  friend bool operator==(const AssetName&, const AssetName&) = default;

 private:
  kilncore::utility::ImmutableString mProduction;
  kilncore::utility::ImmutableString mVersion;
  kilncore::utility::ImmutableString mAsset;
};

}  // namespace FarsideCL
