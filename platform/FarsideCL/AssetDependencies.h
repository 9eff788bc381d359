#pragma once

#include <KL/IProject.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/utility/ImmutableString.h>

#include <set>

namespace FarsideCL {

// Whether the asset of a project item depends on one of `assets` (names of
// assets of `production`), directly or through other assets, as the logged-in
// service's "dependsOn" lists say; an item that is one of `assets` counts too.
// `itemAsset` is the item's asset text: an asset name (AssetName), a
// linked-asset text (FarsideLinkedAsset) or the bare name of an asset of
// `production`. `project` is the host project that holds the item, and
// `other` a further text; the reference client needs neither.
//
// An item that is itself one of `assets` is seen without asking anyone. Past
// that, with nobody logged in or a service that can't answer, the answer is
// false: a dependency that can't be seen is none, as for the link's own checks.
bool IsAssetDependendedUpon(const kilncore::classref::InterfaceRef<KL::IProject>& project,
                            const kilncore::utility::ImmutableString& production,
                            const kilncore::utility::ImmutableString& other,
                            const kilncore::utility::ImmutableString& itemAsset,
                            const std::set<kilncore::utility::ImmutableString>& assets);

}  // namespace FarsideCL
