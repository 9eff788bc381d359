#pragma once

#include <server/project/ProjectContents.h>
#include <server/project/ProjectError.h>

#include <string_view>

namespace tetherserver {

// Reads the JSON text of a project (docs/project-format.md) into its contents.
//
// Never throws on bad input and never trusts it: malformed text gives kNotJSON,
// and a missing member, a member of the wrong type, a value out of range, a
// duplicate or nil identifier, or folders nested more than 64 deep give
// kBadField with the JSON path of the culprit in the message.
class ProjectParser {
 public:
  static Outcome<ProjectContents> Parse(std::string_view text);
};

}  // namespace tetherserver
