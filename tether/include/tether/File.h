#pragma once

#include <kilncore/string/WideString.h>

#include <utility>

namespace tether {

// A file as the client library names it: a full path and the host's file flag.
//
// Stands in for the host's file value until the host library offers one; it has
// the same two-argument construction (path, flag) and FullPath().
class File {
 public:
  File() = default;
  explicit File(kilncore::WideString path, bool flag = false)
      : mPath(std::move(path)), mFlag(flag) {}

  const kilncore::WideString& FullPath() const { return mPath; }
  bool GetFlag() const { return mFlag; }
  bool IsEmpty() const { return mPath.empty(); }

  friend bool operator==(const File&, const File&) = default;

 private:
  kilncore::WideString mPath;
  bool mFlag = false;
};

}  // namespace tether
