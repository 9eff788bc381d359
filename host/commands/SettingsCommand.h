#pragma once

#include <filesystem>
#include <string>

namespace tetherhost {

class CommandLine;
class HostSession;

// `tetherhost settings`: imports one composition as a new clip, opens its
// render settings dialog through the module's preferences entry, as a host
// does when the user asks for a clip's settings, and then writes one frame
// with the clip's new prefs.
//
// The dialog is a window on the display when there is one. `set` ("guides=on"
// or "guides=off") works the same dialog without a window instead: the popup
// is set and OK pressed, for scripts and machines without a display.
struct SettingsOptions {
  std::filesystem::path project;
  // The composition by name or identifier; empty: the project's first.
  std::string item;
  // "guides=on", "guides=off", or empty to show the dialog to the user.
  std::string set;
  // The frame written afterwards.
  int64_t frame = 0;
  std::filesystem::path out = "tetherhost-out";
};

// Adds `settings` to the command line.
void AddSettingsCommand(CommandLine& commandLine);

// Returns the process's exit status (0 after OK or Cancel alike); throws
// HostError (or std::invalid_argument for a bad option) on failure, such as no
// display to show the dialog on. Runs the dialog on the calling thread, which
// must be the main thread.
int RunSettings(HostSession& session, const SettingsOptions& options);

}  // namespace tetherhost
