#pragma once

#include <kilncore/string/WideString.h>
#include <kilncore/utility/Seam.h>

namespace Wharf {

// Keeps other threads from opening the same media file at the same time.
//
// While an exclusion for a path exists, a thread that makes an exclusion for
// the same path waits until it is gone. This is how the importer layer keeps
// two clips of one item from both missing in the audio pool and each building
// a source: each looks in the pool and adds to it under the exclusion.
//
// The exclusion is re-entrant on one thread, so code holding it may call code
// that takes it again for the same path. Paths are compared exactly, as
// UTF-16 units. Exclusions for different paths never wait for each other.
//
// Example:
//   {
//     Wharf::FileOpenExclusion exclusion(path);
//     ... look in the pool, build and add ...
//   }
class FileOpenExclusion {
 public:
  explicit FileOpenExclusion(kilncore::WideStringView path);
  FileOpenExclusion(const FileOpenExclusion&) = delete;
  FileOpenExclusion& operator=(const FileOpenExclusion&) = delete;
  ~FileOpenExclusion();

  // Seams of the two ends of an exclusion (see kilncore/utility/Seam.h): taking
  // it for a path (made) and giving it back (released). Their records, read
  // together, tell which exclusion was held around what.
  static kilncore::utility::Seam<void(kilncore::WideStringView)>& EnterSeam();
  static kilncore::utility::Seam<void(kilncore::WideStringView)>& LeaveSeam();

 private:
  kilncore::WideString mPath;
};

}  // namespace Wharf
