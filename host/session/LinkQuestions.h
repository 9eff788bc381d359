#pragma once

#include <KL/IMediaInfo.h>
#include <kilncore/classref/InterfaceRef.h>

#include <string>

namespace tetherhost {

// Whether a linked clip holds a link to an item of another project, asked as
// the host application asks it before nesting one linked item in another.
// Only hosts that nest linked items ask, so the question is put as the host
// application (type 5) for its length. False for an item that isn't linked.
bool ContainsLink(const kilncore::classref::InterfaceRef<KL::IMediaInfo>& item);

// "links:         ..." for the clip's report.
std::string LinkText(bool containsLink);

}  // namespace tetherhost
