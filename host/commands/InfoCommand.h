#pragma once

#include <filesystem>
#include <string>

namespace tetherhost {

class CommandLine;
class HostSession;

// `tetherhost info`: imports one composition as a new clip and describes it
// as the host sees it (the owner's description lines, then streams, rate,
// duration, missing fonts), without pulling a frame; with --json, as one JSON
// object for programs.
struct InfoOptions {
  std::filesystem::path project;
  std::string item;
  bool json = false;
};

int RunInfo(HostSession& session, const InfoOptions& options);

// Adds `info` and its options to the command line.
void AddInfoCommand(CommandLine& commandLine);

}  // namespace tetherhost
