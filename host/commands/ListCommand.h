#pragma once

#include <filesystem>

namespace tetherhost {

class CommandLine;
class HostSession;

// `tetherhost list`: the compositions of a Marl project, depth first, one a
// line with its identifier, as a host's import dialog offers them.
// With `json`, one JSON array of {"id", "name", "type"} instead.
// A host project shows its bin tree and a Final Cut Pro XML file its
// sequences, with size, rate and duration (HostProjectListing).
int RunList(HostSession& session, const std::filesystem::path& project, bool json = false);

// Adds `list` to the command line.
void AddListCommand(CommandLine& commandLine);

}  // namespace tetherhost
