// Operations whose server conversations (refresh, dependency checks, fonts)
// are not built yet. Until they are, each
// gives the answer of an item that has nothing to report, so that the host
// treats the item as plain linked media.

#include <mediainfo/TetherMediaInfo.h>

namespace TetherMedia {

int32_t TetherMediaInfo::RefreshFile(const kilncore::WideString& /*path*/) { return 0; }

kilncore::utility::Guid TetherMediaInfo::GetRuntimeGuid() { return kilncore::utility::Guid(); }

bool TetherMediaInfo::IsSourceLinkedTo(kilncore::utility::Guid /*id*/) { return false; }

bool TetherMediaInfo::IsProjectItemLinked(
    kilncore::classref::InterfaceRef<KL::IProjectItem> /*item*/) {
  return false;
}

bool TetherMediaInfo::HasNestedLink() { return false; }

bool TetherMediaInfo::OnFontSetChanged() { return false; }

}  // namespace TetherMedia
