#pragma once

#include <filesystem>

namespace tetherhost {

class CommandLine;
class HostSession;

// `tetherhost list`: the compositions of a Marl project, depth first, one a
// line with its identifier, as a host's import dialog offers them.
int RunList(HostSession& session, const std::filesystem::path& project);

// Adds `list` to the command line.
void AddListCommand(CommandLine& commandLine);

}  // namespace tetherhost
