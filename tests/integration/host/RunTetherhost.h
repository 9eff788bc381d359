#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
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

// What a run of tetherhost printed, standard output and error apart.
struct SeparateStreams {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// Runs tetherhost with `arguments` (already quoted for the shell) after the
// reference server's environment and `environment`, keeping its two streams
// in files of `folder`, and gives its exit status and both streams.
inline SeparateStreams RunTetherhostApart(const std::string& arguments, const std::filesystem::path& folder,
                                          const std::string& environment = {}) {
  const std::filesystem::path out = folder / "stdout.txt";
  const std::filesystem::path err = folder / "stderr.txt";
  const std::string command = environment + " " + kReferenceServer + " '" + std::string(TETHER_TEST_TETHERHOST) +
                              "' " + arguments + " >'" + out.string() + "' 2>'" + err.string() + "' </dev/null";
  const int raw = std::system(command.c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, ReadWholeFile(out), ReadWholeFile(err)};
}

}  // namespace tetherhosttest
