#pragma once

#include "host/output/OutputFile.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>

namespace tetherhost {

// Where a stream of frames or audio goes: standard output for "-", else a
// file written under a temporary name and moved into place by Finish() (see
// OutputFile).
class StreamTarget {
 public:
  // Throws std::runtime_error naming the file if it can't be created.
  explicit StreamTarget(const std::filesystem::path& where);
  ~StreamTarget();
  StreamTarget(const StreamTarget&) = delete;
  StreamTarget& operator=(const StreamTarget&) = delete;

  std::FILE* file() const { return mFile; }
  bool standardOutput() const { return !mOutput; }

  // Flushes; a file is closed and moved to its name. Throws std::runtime_error
  // when that fails.
  void Finish();

  // True for "-", the name of standard output on a command line.
  static bool IsStandardOutput(const std::filesystem::path& where) { return where == "-"; }

 private:
  std::optional<OutputFile> mOutput;
  std::FILE* mFile = nullptr;
};

}  // namespace tetherhost
