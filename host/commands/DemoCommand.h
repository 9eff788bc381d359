#pragma once

namespace tetherhost {

class CommandLine;

// `tetherhost demo`: starts the host's platform and the module and shows what
// they do on their own, without a server: the module found through the
// importer factory, a prefs blob that reads back, a request cancelled by path
// and item, and termination failing what is still open. Each step is checked:
// a step that doesn't do what it shows fails the command.
void AddDemoCommand(CommandLine& commandLine);

// Runs the demo; returns the exit status. Throws HostError for a step that
// went wrong.
int RunDemo();

}  // namespace tetherhost
