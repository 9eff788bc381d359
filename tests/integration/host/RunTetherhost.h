#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <string>
#include <utility>

namespace tetherhosttest {

// The environment that starts the reference server on demand.
inline const std::string kReferenceServer = "TETHER_SERVER_EXECUTABLE='" TETHER_TEST_SERVER_EXECUTABLE "'";

// Runs tetherhost with `arguments` (already quoted for the shell) after
// `environment`, and gives its exit status and its output, both streams
// together.
inline std::pair<int, std::string> RunTetherhost(const std::string& arguments,
                                                 const std::string& environment = kReferenceServer) {
  const std::string command =
      environment + " '" + std::string(TETHER_TEST_TETHERHOST) + "' " + arguments + " 2>&1 </dev/null";
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return {-1, "popen failed"};
  std::string output;
  char buffer[4096];
  while (size_t read = std::fread(buffer, 1, sizeof(buffer), pipe)) output.append(buffer, read);
  const int raw = ::pclose(pipe);
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, output};
}

}  // namespace tetherhosttest
