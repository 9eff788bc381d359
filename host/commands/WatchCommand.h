#pragma once

#include <filesystem>
#include <string>

namespace tetherhost {

class CommandLine;
class HostSession;

// `tetherhost watch`: imports one item and follows it as a host follows a
// live link. It writes a first frame, then watches the project file (a save,
// a rename over it, a deletion) and the machine's fonts; on a change it asks
// the item to refresh, and when the module says the media changed it writes
// the frame again and prints one line: what changed, the new content state
// and how long after the change the message came. When the module says the
// item is offline, it says so. Ctrl-C ends it with a summary.
struct WatchOptions {
  std::filesystem::path project;
  // By name or identifier; empty: the project's first.
  std::string item;
  std::filesystem::path out = "tetherhost-watch";
};

int RunWatch(HostSession& session, const WatchOptions& options);

// Adds `watch` and its options to the command line.
void AddWatchCommand(CommandLine& commandLine);

}  // namespace tetherhost
