#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace tetherhost {

class CommandLine;
class HostSession;

struct ItemsOptions {
  std::filesystem::path project;
  // Item identifiers of the host project.
  std::vector<std::string> ids;
};

// `tetherhost items PROJECT --ids ID...`: loads the items of a host project as
// the host's import does (GetProjectItemsFromProject) and prints each loaded
// item with the marks the import wrote on it.
void AddItemsCommand(CommandLine& commandLine);
int RunItems(HostSession& session, const ItemsOptions& options);

}  // namespace tetherhost
