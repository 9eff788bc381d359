#include <host/cli/CommandLine.h>

#include <host/cli/ExitStatus.h>
#include <host/cli/HostError.h>
#include <host/cli/Interruption.h>
#include <host/cli/OptionParsing.h>
#include <host/cli/Suggestion.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <stdexcept>

namespace tetherhost {
namespace {

// Global options that take a value in the next word.
const char* const kOptionsWithValue[] = {"--log-level", "--log-file"};

constexpr int64_t kHighestTraceLevel = 10;

std::string Footer(const std::string& name) {
  return "Exit status: 0 when the command did what was asked; 1 when it failed, with the reason on one line\n"
         "(a lost link server included: the next run starts a new one); 2 for a usage error (unknown command\n"
         "or option, bad or missing value); 130 when stopped by Ctrl-C, after cancelling what it waited for.\n"
         "The module's internal log and trace are shown only when asked: -v (imports) or -vv (every frame)\n"
         "on standard error, --log-level N for trace level N (0-10), and --log-file PATH or\n"
         "TETHERHOST_LOG=PATH to write them to a file instead. See '" +
         name + " COMMAND --help' for a command's options.";
}

CLI::Validator Checked(const std::function<void(const std::string&)>& check, const std::string& name) {
  return CLI::Validator(
      [check](std::string& text) {
        try {
          check(text);
          return std::string();
        } catch (const std::invalid_argument& e) {
          return std::string(e.what());
        }
      },
      name);
}

}  // namespace

CommandLine::CommandLine(std::string name, std::string description, std::string version)
    : mName(std::move(name)), mApp(std::move(description), mName) {
  mApp.set_version_flag("--version", mName + " " + version, "print the version and exit");
  mApp.footer(Footer(mName));
  mApp.add_flag("-v,--verbose", mLog.verbosity, "show the module's log and trace on standard error (-vv: more)");
  mApp.add_option("--log-level", mLog.traceLevel, "trace level, from 0 (failures) to 10 (every frame)")
      ->check(Integer(0, kHighestTraceLevel));
  mApp.add_option("--log-file", mLog.file, "write the log and trace to this file (also TETHERHOST_LOG)");
}

CLI::App* CommandLine::AddCommand(const std::string& name, const std::string& description, Run run) {
  CLI::App* command = mApp.add_subcommand(name, description);
  mCommands.push_back({command, std::move(run)});
  return command;
}

CLI::Validator CommandLine::Real(double low, double high) {
  return Checked([low, high](const std::string& text) { ParseRealInRange(text, low, high); }, "NUMBER");
}

CLI::Validator CommandLine::Integer(int64_t low, int64_t high) {
  return Checked([low, high](const std::string& text) { ParseIntegerInRange(text, low, high); }, "INTEGER");
}

std::string CommandLine::CommandWord(int argc, const char* const* argv) const {
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (word.empty() || word[0] != '-') return word;
    for (const char* option : kOptionsWithValue) {
      if (word == option) ++i;
    }
  }
  return {};
}

std::vector<std::string> CommandLine::CommandNames() const {
  std::vector<std::string> names;
  for (const Command& command : mCommands) names.push_back(command.app->get_name());
  return names;
}

int CommandLine::UsageError(std::FILE* err, const std::string& message, const std::string& command) const {
  const std::string help = command.empty() ? mName + " --help" : mName + " " + command + " --help";
  std::fprintf(err, "%s: %s (see '%s')\n", mName.c_str(), message.c_str(), help.c_str());
  return kExitUsage;
}

int CommandLine::Execute(int argc, const char* const* argv, std::FILE* err) {
  const std::vector<std::string> names = CommandNames();
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  const std::string word = CommandWord(argc, argv);
  if (!word.empty() && std::find(names.begin(), names.end(), word) == names.end()) {
    const std::optional<std::string> meant = Suggest(word, names);
    std::fprintf(err, "%s: unknown command '%s'%s; the commands are %s\n", mName.c_str(), word.c_str(),
                 meant ? (" (did you mean '" + *meant + "'?)").c_str() : "", list.c_str());
    return kExitUsage;
  }
  try {
    mApp.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    // --help and --version end the parse with success; CLI11 prints them.
    if (e.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return mApp.exit(e);
    return UsageError(err, e.what(), word);
  }
  if (word.empty()) return UsageError(err, "a command is required: " + list);
  for (const Command& command : mCommands) {
    if (command.app->parsed()) return RunCommand(command, err);
  }
  return UsageError(err, "a command is required: " + list);
}

int CommandLine::RunCommand(const Command& command, std::FILE* err) const {
  LogSettings log = mLog;
  if (log.file.empty()) {
    if (const char* file = std::getenv("TETHERHOST_LOG"); file != nullptr && *file != '\0') log.file = file;
  }
  if (const char* trace = std::getenv("KILN_TRACE"); trace != nullptr && *trace != '\0') {
    log.traceFromEnvironment = true;
  }
  try {
    const HostLog routed(log);
    try {
      Interruption::Install();
      // A reader of standard output that goes away (| head) makes a write
      // fail with its reason instead of killing the host without a word.
      std::signal(SIGPIPE, SIG_IGN);
      return command.run();
    } catch (const Interrupted& e) {
      std::fprintf(err, "%s: %s\n", mName.c_str(), e.what());
      return kExitInterrupted;
    } catch (const HostError& e) {
      // A wait that Ctrl-C cancelled fails like any other: the cause is the
      // interruption, not the module's code.
      if (Interruption::Requested()) {
        std::fprintf(err, "%s: interrupted: %s\n", mName.c_str(), e.Describe().c_str());
        return kExitInterrupted;
      }
      const std::string line = mDescribeFailure ? mDescribeFailure(e) : e.Describe();
      std::fprintf(err, "%s: %s\n", mName.c_str(), line.c_str());
      return kExitFailure;
    } catch (const std::invalid_argument& e) {
      return UsageError(err, e.what(), command.app->get_name());
    } catch (const std::exception& e) {
      std::fprintf(err, "%s: %s\n", mName.c_str(), e.what());
      return kExitFailure;
    }
  } catch (const std::runtime_error& e) {
    // Only the log's own set-up reaches here: its file can't be opened.
    return UsageError(err, e.what());
  }
}

}  // namespace tetherhost
