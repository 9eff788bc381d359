#pragma once

// Runs tetherhost as a user does, against the reference server, for the
// suites of this folder that read its output whole.

#include <cstdio>
#include <string>
#include <sys/wait.h>
#include <utility>

namespace tetherhosttest {

// tetherhost with `arguments` (quoted by the caller as a shell wants them):
// its exit status (-1 if it didn't exit) and its output, both streams
// together, with no input.
inline std::pair<int, std::string> RunTetherhost(const std::string& arguments) {
  const std::string command = "TETHER_SERVER_EXECUTABLE='" TETHER_TEST_SERVER_EXECUTABLE "' '" +
                              std::string(TETHER_TEST_TETHERHOST) + "' " + arguments + " 2>&1 </dev/null";
  FILE* pipe = ::popen(command.c_str(), "r");
  if (pipe == nullptr) return {-1, "cannot start: " + command};
  std::string output;
  char buffer[4096];
  while (size_t read = std::fread(buffer, 1, sizeof(buffer), pipe)) output.append(buffer, read);
  const int raw = ::pclose(pipe);
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, output};
}

}  // namespace tetherhosttest
