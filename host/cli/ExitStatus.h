#pragma once

namespace tetherhost {

// The exit statuses of tetherhost, as its --help and the README list them.
enum ExitStatus : int {
  kExitSuccess = 0,
  // The command failed; its reason was printed on one line.
  kExitFailure = 1,
  // The command line was wrong: a bad option, value or command.
  kExitUsage = 2,
  // Stopped by Ctrl-C (SIGINT) after printing what was done, as shells count
  // a death by signal 2.
  kExitInterrupted = 130,
};

}  // namespace tetherhost
