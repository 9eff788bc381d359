#pragma once

#include <kilncore/string/WideString.h>

#include <compare>
#include <string>
#include <string_view>
#include <utility>

namespace kilncore::filesupport {

// A file by its path. It holds the path only: making a File touches nothing on
// disk, and the file need not exist. A default File has an empty path.
//
// Example:
//   File project(u"/projects/Show.marlp");
//   std::string utf8 = project.FullPathUTF8();
class File {
 public:
  File() = default;
  explicit File(WideString fullPath) : mFullPath(std::move(fullPath)) {}
  // A path given as UTF-8 (malformed bytes become U+FFFD).
  explicit File(std::string_view fullPathUTF8);

  // The whole path, as it was given.
  const WideString& FullPath() const noexcept { return mFullPath; }
  std::string FullPathUTF8() const;

  bool IsEmpty() const noexcept { return mFullPath.empty(); }

  // True if something exists at the path now.
  bool Exists() const;

  friend bool operator==(const File&, const File&) = default;
  friend std::strong_ordering operator<=>(const File&, const File&) = default;

 private:
  WideString mFullPath;
};

}  // namespace kilncore::filesupport
