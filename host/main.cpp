// tetherhost: the reference host. It starts the host's platform, loads the
// module through its exported entry points and the importer factory, and uses
// it as a host does: lists a project's compositions, imports one and pulls its
// frames and audio, or plays it. `demo` shows the module's start-up alone.
//
// Each command adds itself to the command line in one line below.

#include <host/cli/CommandLine.h>
#include <host/commands/DemoCommand.h>
#include <host/commands/ImportCommand.h>
#include <host/commands/InfoCommand.h>
#include <host/commands/ItemsCommand.h>
#include <host/commands/ListCommand.h>
#include <host/commands/PlayCommand.h>
#include <host/commands/SegmentsCommand.h>
#include <host/commands/SettingsCommand.h>
#include <host/commands/WatchCommand.h>
#include <host/session/ServerLossWatch.h>

int main(int argc, char** argv) {
  tetherhost::CommandLine commandLine("tetherhost", "tetherhost: a reference host for the TetherMedia module",
                                      TETHER_VERSION);
  tetherhost::AddDemoCommand(commandLine);
  tetherhost::AddListCommand(commandLine);
  tetherhost::AddImportCommand(commandLine);
  tetherhost::AddPlayCommand(commandLine);
  tetherhost::AddInfoCommand(commandLine);
  tetherhost::AddSettingsCommand(commandLine);
  tetherhost::AddItemsCommand(commandLine);
  tetherhost::AddSegmentsCommand(commandLine);
  tetherhost::AddWatchCommand(commandLine);
  commandLine.SetFailureDescription(tetherhost::ServerLossWatch::DescribeFailure);
  return commandLine.Execute(argc, argv);
}
