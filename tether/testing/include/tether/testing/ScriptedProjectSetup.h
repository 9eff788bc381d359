#pragma once

#include <tether/ItemInfo.h>
#include <tether/MissingAssets.h>

#include <kilncore/utility/Guid.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace tether::testing {

// What a scripted project answers.
struct ScriptedProjectSetup {
  // GetMissingAssets.
  MissingAssets missingAssets;
  // Containers by identifier; the nil Guid is the root. GetContainer of an id
  // that isn't here fails with kConnectionStatusNotFound, except the root,
  // which always exists (empty if not given).
  std::map<kilncore::utility::Guid, std::vector<ItemInfo>> containers;
  // GetItemsAsXML's text, whatever the ids.
  std::string itemsXML;
  // The ids for which IsSourceLinked answers true.
  std::set<kilncore::utility::Guid> linkedSources;
  // Successive answers of RuntimeFontChange on one project object; the last
  // one repeats. Empty answers 1.
  std::vector<unsigned int> fontChangeValues{1};
};

}  // namespace tether::testing
