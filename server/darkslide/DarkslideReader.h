#pragma once

#include <server/darkslide/DarkslideCatalogue.h>
#include <server/project/ProjectError.h>

#include <filesystem>
#include <string_view>

namespace tetherserver {

// Reads Darkslide catalogues (".dslcat"). Never throws for bad input: a
// failure names the file and the member at fault.
class DarkslideReader {
 public:
  static Outcome<DarkslideCatalogue> Open(const std::filesystem::path& path);
  static Outcome<DarkslideCatalogue> Parse(std::string_view text, const std::filesystem::path& path);
};

}  // namespace tetherserver
