#pragma once

#include <TetherMedia/Export.h>

#include <KL/IMediaInfo.h>
#include <RL/BinaryData.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/utility/ImmutableString.h>
#include <tether/FarsideAssetRequestInfo.h>
#include <tether/FarsideAssetServerType.h>

#include <boost/optional.hpp>

namespace TetherMedia {

// Opening remote assets of the Farside service, for callers that already hold
// what names the asset. Both block until the item is connected or has failed,
// as an import does, and return its code: 0 with the item in `result`, or a
// negative code with `result` left as it was.

// Opens the asset `request` on a Marl (serverType 0) or Tolmen (1) server. An
// empty `prefs` gets a source identifier made from the asset (the same for the
// same asset in every run) and comes back filled, like every successful
// `prefs`, as the item's media opaque data. `linkedAssetText`, if given, is
// the text the asset was linked by, and becomes the item's instance string.
// 0xA00F000C if the remote client is unavailable or `serverType` unknown;
// 0xA00703E9 if the server gave no item.
TETHERMEDIA_API int OpenFarsideAsset(
    kilncore::classref::InterfaceRef<KL::IMediaInfo>& result, RL::BinaryData& prefs,
    const tether::FarsideAssetRequestInfo& request, tether::FarsideAssetServerType serverType,
    const boost::optional<kilncore::utility::ImmutableString>& linkedAssetText);

// Opens the asset that `linkedAssetText` names, reached through the logged-in
// data server, which also locates the production when `productionPath` isn't
// empty. 0xA00F0001 for an empty or invalid text or when nobody is logged in;
// otherwise as OpenFarsideAsset.
TETHERMEDIA_API int OpenFarsideLinkedAsset(
    const kilncore::utility::ImmutableString& productionPath,
    const kilncore::utility::ImmutableString& linkedAssetText,
    kilncore::classref::InterfaceRef<KL::IMediaInfo>& result, RL::BinaryData& prefs,
    tether::FarsideAssetServerType serverType);

}  // namespace TetherMedia
