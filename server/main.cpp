#include "ServerProcess.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace {

// Exit statuses: 0 served and ended normally, 1 the server failed, 2 the
// command line is wrong.
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

}  // namespace

int main(int argc, char** argv) {
  tetherserver::ServerProcess::Settings settings;
  std::optional<std::string> listenPath;
  size_t idleSeconds = 30;

  CLI::App app{"tether-server: the reference link server of TetherMedia"};
  app.set_version_flag("--version", std::string("tether-server ") + TETHER_SERVER_VERSION);
  auto* fd = app.add_option("--fd", settings.fd, "serve the one connection on inherited socket N, then exit")
                 ->check(CLI::NonNegativeNumber)
                 ->option_text("N");
  auto* listen = app.add_option("--listen", listenPath,
                                "listen at socket PATH (default: a private runtime folder, printed)")
                     ->expected(0, 1)
                     ->option_text("[PATH]");
  fd->excludes(listen);
  bool coldBuffers = false;
  app.add_flag("--cold-buffers", coldBuffers, "a fresh shared buffer for every frame (for comparison only)");
  app.add_option("--workers", settings.session.workerThreads, "worker threads per connection")
      ->check(CLI::Range(size_t{1}, size_t{64}))
      ->default_val(settings.session.workerThreads);
  app.add_option("--max-connections", settings.maxConnections, "connections served at once; more are refused")
      ->check(CLI::Range(size_t{1}, size_t{1024}))
      ->default_val(settings.maxConnections);
  app.add_option("--idle-seconds", idleSeconds, "drop a connection that sends nothing for this long")
      ->check(CLI::Range(size_t{1}, size_t{86400}))
      ->default_val(idleSeconds);
  app.add_flag("-v,--verbose", settings.verbose, "log every failed request with its reason on standard error");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      return app.exit(error);  // --help, --version
    }
    std::cerr << "tether-server: " << error.what() << " (see tether-server --help)\n";
    return kExitUsage;
  }
  settings.session.recycleBuffers = !coldBuffers;
  settings.listen = listen->count() > 0;
  settings.socketPath = listenPath.value_or(std::string());
  settings.idleTimeout = std::chrono::seconds(idleSeconds);
  if (fd->count() == 0 && !settings.listen) {
    std::cerr << "tether-server: give one of --fd N and --listen [PATH] (see tether-server --help)\n";
    return kExitUsage;
  }
  try {
    tetherserver::ServerProcess process(std::move(settings));
    return process.Run();
  } catch (const std::exception& error) {
    std::cerr << "tether-server: " << error.what() << "\n";
    return kExitFailure;
  }
}
