#pragma once

#include <KL/IProject.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/utility/ImmutableString.h>

#include <set>

namespace FarsideCL {

// Whether the asset `itemAsset` of `production` depends on one of `assets`.
// `other` is reserved and passed empty. The reference client knows no asset's
// insides, so it can only see the direct case: the item is one of `assets`.
// A null `project` knows nothing, so nothing depends.
bool IsAssetDependendedUpon(const kilncore::classref::InterfaceRef<KL::IProject>& project,
                            const kilncore::utility::ImmutableString& production,
                            const kilncore::utility::ImmutableString& other,
                            const kilncore::utility::ImmutableString& itemAsset,
                            const std::set<kilncore::utility::ImmutableString>& assets);

}  // namespace FarsideCL
