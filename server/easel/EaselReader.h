#pragma once

#include <server/easel/EaselDocument.h>
#include <server/project/ProjectError.h>

#include <filesystem>
#include <string_view>

namespace tetherserver {

// Reads Easel documents (".esd"). Never throws for bad input: a failure names
// the file and the member at fault.
class EaselReader {
 public:
  static Outcome<EaselDocument> Open(const std::filesystem::path& path);
  static Outcome<EaselDocument> Parse(std::string_view text, const std::filesystem::path& path);
};

}  // namespace tetherserver
