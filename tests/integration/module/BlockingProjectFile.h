#pragma once

#include <kilncore/string/WideString.h>

#include <filesystem>

namespace TetherMedia::integration {

// A project file that is a named pipe: a server that opens it to read the
// project blocks until a writer comes, and the writer's open returns only once
// the server is reading. So an import of it is known to be in flight inside
// the server, with nothing timed.
class BlockingProjectFile {
 public:
  explicit BlockingProjectFile(const std::filesystem::path& path);
  ~BlockingProjectFile();
  BlockingProjectFile(const BlockingProjectFile&) = delete;
  BlockingProjectFile& operator=(const BlockingProjectFile&) = delete;

  // Blocks until a reader has opened the file; false if it can't be opened.
  bool WaitForReader();
  // Lets a writer blocked in WaitForReader go on, if no reader came. Safe to
  // call from another thread than the writer's.
  void ReleaseWriter() const;
  kilncore::WideString Path() const;

 private:
  const std::filesystem::path mPath;
  int mWriter = -1;
};

}  // namespace TetherMedia::integration
