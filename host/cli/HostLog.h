#pragma once

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>

namespace tetherhost {

// What the user asked to see of the platform's internal log (exceptions that
// ended a request) and of its trace (the module's road, by level).
struct LogSettings {
  // -v once: trace level 5 (imports); twice or more: 10 (every frame).
  int verbosity = 0;
  // --log-level: the trace level itself, from 0 (failures only) to 10.
  std::optional<int> traceLevel;
  // --log-file, or the environment's TETHERHOST_LOG: a file that receives the
  // log instead of the terminal.
  std::filesystem::path file;
  // Set when the trace was switched on through the platform's own KILN_TRACE.
  bool traceFromEnvironment = false;
};

// Routes the platform's exception log and trace for the life of the object.
//
// A user of the host sees one clear line per failure; the entries behind it
// are internal (a lambda's name, a code logged on the way) and go nowhere
// unless asked for. Asked for, they go to the file given, or else to standard
// error. The previous routes come back when the object goes.
class HostLog {
 public:
  // Throws std::runtime_error naming the file if it can't be opened.
  explicit HostLog(const LogSettings& settings);
  ~HostLog();
  HostLog(const HostLog&) = delete;
  HostLog& operator=(const HostLog&) = delete;

  // Where entries go: null when they are dropped.
  std::FILE* destination() const { return mOut; }

  // The trace level these settings give every channel, if any.
  static std::optional<int> TraceLevelOf(const LogSettings& settings);

 private:
  void Write(const std::string& line);

  std::FILE* mOut = nullptr;
  bool mOwnsFile = false;
};

}  // namespace tetherhost
