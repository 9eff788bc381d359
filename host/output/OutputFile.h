#pragma once

#include <filesystem>

namespace tetherhost {

// A file that is written under a temporary name in its final folder and
// renamed into place only when it is complete. A reader never sees half a
// file, and a host killed while writing leaves no file under the final name
// (only a hidden ".NAME.part-PID" beside it); a rename within one folder is
// atomic on POSIX file systems.
class OutputFile {
 public:
  explicit OutputFile(std::filesystem::path path);
  // Removes the temporary file unless Commit() ran.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Where to write.
  const std::filesystem::path& temporary() const { return mTemporary; }
  // Where the file ends up.
  const std::filesystem::path& path() const { return mPath; }

  // Renames the temporary file to the final name, replacing any file there.
  // Throws std::runtime_error naming both paths and the reason.
  void Commit();

 private:
  std::filesystem::path mPath;
  std::filesystem::path mTemporary;
  bool mCommitted = false;
};

}  // namespace tetherhost
