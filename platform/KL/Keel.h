#pragma once

#include <KL/IProject.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/UnknownBase.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/ImmutableString.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace KL {

// The host's project library.
class IKeel {
 public:
  virtual ~IKeel();
  // Parses a project text of the host project dialect (docs/project-format.md)
  // into a new, not yet loaded project named `name`. 0 and the project in
  // `out`; a text that doesn't parse gives a negative result, leaves `out`
  // null and traces the reason.
  virtual int32_t ParseProjectXML(std::string_view text,
                                  const kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase>& reserved,
                                  const kilncore::WideString& name,
                                  kilncore::classref::InterfaceRef<IProject>& out) = 0;
};

// The process's project library; null only where a test has taken it away.
IKeel* GetKeel();

// Replaces the library object (null takes it away); for tests. Returns the
// previous one.
std::shared_ptr<IKeel> SetKeelForTesting(std::shared_ptr<IKeel> keel);

// The keys of the properties by which imported items are marked.
// On the project: the node identifiers (decimal, separated by white space) of
// the items that are to be imported.
extern const kilncore::utility::ImmutableString kProjectItemMarkedForImportPropertyKey;
// On an item: true when it is not to be imported.
extern const kilncore::utility::ImmutableString kProjectItemMarkedForNotImportPropertyKey;
// On an imported item: the identifier it had in its own project, and that
// project's path.
extern const kilncore::utility::ImmutableString kOriginalProjectItemGuid;
extern const kilncore::utility::ImmutableString kOriginalProjectItemProjectPath;

}  // namespace KL
