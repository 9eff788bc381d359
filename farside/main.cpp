// farside-service: the reference Farside service. Serves the productions of a
// folder over HTTP on 127.0.0.1 to callers with a bearer token
// (docs/farside.md).

#include "FarsideService.h"

#include <CLI/CLI.hpp>

#include <pthread.h>

#include <csignal>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <thread>

namespace {

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

}  // namespace

int main(int argc, char** argv) {
  std::string root;
  int port = 0;
  std::vector<std::string> tokens;
  std::string tokensFile;
  size_t stallFileAfter = 0;

  CLI::App app{"farside-service: the reference Farside service of TetherMedia"};
  app.add_option("--root", root, "the folder of productions to serve")->required()->check(CLI::ExistingDirectory);
  app.add_option("--port", port, "the port on 127.0.0.1; 0 picks a free one (printed)")
      ->check(CLI::Range(0, 65535))
      ->default_val(0);
  app.add_option("--token", tokens,
                 "a bearer token to accept, for the account 'user' (or FARSIDE_SERVICE_TOKEN); may be repeated");
  app.add_option("--tokens", tokensFile, "a file of accepted tokens, one 'ACCOUNT TOKEN [EXPIRES]' a line")
      ->check(CLI::ExistingFile);
  auto* stall = app.add_option("--stall-file-after", stallFileAfter,
                               "(for tests) send this many bytes of an asset's file, then nothing more");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    std::cerr << "farside-service: " << error.what() << " (see farside-service --help)\n";
    return kExitUsage;
  }

  farside::FarsideService::Settings settings;
  settings.root = root;
  settings.port = static_cast<uint16_t>(port);
  if (stall->count() > 0) settings.stallFileAfter = stallFileAfter;
  // A token from the environment keeps it out of the process list.
  if (const char* token = std::getenv("FARSIDE_SERVICE_TOKEN"); token != nullptr && *token != '\0') {
    tokens.emplace_back(token);
  }
  try {
    for (const std::string& token : tokens) settings.tokens.Add("user", token);
    if (!tokensFile.empty()) settings.tokens.AddFile(tokensFile);
  } catch (const std::exception& error) {
    std::cerr << "farside-service: " << error.what() << "\n";
    return kExitUsage;
  }
  if (settings.tokens.empty()) {
    std::cerr << "farside-service: give --token, --tokens or FARSIDE_SERVICE_TOKEN: every request needs a token\n";
    return kExitUsage;
  }
  auto logMutex = std::make_shared<std::mutex>();
  settings.log = [logMutex](const std::string& line) {
    std::lock_guard lock(*logMutex);
    std::cout << line << std::endl;
  };

  // SIGINT and SIGTERM end the service cleanly: they are blocked in every
  // thread and waited for here, so no work happens in a signal handler.
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  try {
    farside::FarsideService service(std::move(settings));
    const uint16_t bound = service.Start();
    std::cout << "listening on http://127.0.0.1:" << bound << std::endl;
    int received = 0;
    sigwait(&signals, &received);
    service.Stop();
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "farside-service: " << error.what() << "\n";
    return kExitFailure;
  }
}
