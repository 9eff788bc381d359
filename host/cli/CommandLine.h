#pragma once

#include <host/cli/HostLog.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace tetherhost {

class HostError;

// The command line of a program made of commands ("tetherhost import ..."):
// global options (--version, -v, --log-level, --log-file), one command, and
// the mapping of every outcome to an exit status and at most one line on
// standard error:
//
// - a usage error (an unknown command or option, a missing or bad value) is
//   status 2, with a suggestion for a mistyped command;
// - a failure the command throws is status 1 (std::invalid_argument, a value
//   the command found bad only later, is 2);
// - --help and --version print to standard output and are status 0.
class CommandLine {
 public:
  using Run = std::function<int()>;

  CommandLine(std::string name, std::string description, std::string version);

  // Adds a command; `run` is called when it's chosen, with the log already
  // routed as asked. Its options are added to the returned App.
  CLI::App* AddCommand(const std::string& name, const std::string& description, Run run);

  // Parses `argv` and runs the chosen command; returns the exit status.
  // Messages go to `err` (standard error unless a test says otherwise).
  int Execute(int argc, const char* const* argv, std::FILE* err = stderr);

  // Checks that an option's text is a number (or a whole number) in range,
  // before CLI11 converts it, so that the user reads the range rather than a
  // conversion failure, and nan, inf or 1e19 never reach a command.
  static CLI::Validator Real(double low, double high);
  static CLI::Validator Integer(int64_t low, int64_t high);

  // How a command's failure reads on its one line: HostError::Describe()
  // unless the host knows more about it (a lost server, the server's own
  // reason), which it says through `describe`.
  using DescribeFailure = std::function<std::string(const HostError&)>;
  void SetFailureDescription(DescribeFailure describe) { mDescribeFailure = std::move(describe); }

  CLI::App& app() { return mApp; }

 private:
  struct Command {
    CLI::App* app;
    Run run;
  };

  // The first word that isn't an option or an option's value: the command as
  // typed. Empty if there is none.
  std::string CommandWord(int argc, const char* const* argv) const;
  std::vector<std::string> CommandNames() const;
  // Prints `message` as a usage error, pointing at the help of `command` (or
  // of the program when empty); returns the usage status.
  int UsageError(std::FILE* err, const std::string& message, const std::string& command = {}) const;
  int RunCommand(const Command& command, std::FILE* err) const;

  std::string mName;
  CLI::App mApp;
  std::vector<Command> mCommands;
  LogSettings mLog;
  DescribeFailure mDescribeFailure;
};

}  // namespace tetherhost
