#pragma once

#include <tether/MissingAssets.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tetherhost {

// What the project behind a linked clip lacks (media files and fonts), asked
// of its owner's server directly, as a host's "missing media" panel would: the
// module keeps only what fonts are missing, and only while some are.
//
// The owner is told by the file's extension, as the module tells it. A project
// owner (Marl, Sprocket, Tolmen, Darkslide) is asked for its project's missing
// assets; Easel, whose documents are plain files, gives its file server's note
// on the document instead. Nothing for a file of no known owner, or when the
// server can't be asked (the import itself reports such failures).
class MissingAssetsProbe {
 public:
  struct Report {
    tether::MissingAssets assets;
    // A file server's own line on what the file lacks; empty otherwise.
    std::string note;
  };

  static std::optional<Report> Ask(const std::filesystem::path& path);

  // The summary's line of missing media, "missing media: a, b\n", and the
  // file server's note as "missing:       ...\n"; empty when neither has
  // anything. (Missing fonts come from the module's registry, as a host
  // shows them.)
  static std::string MediaText(const Report& report);
  // The missing media files (UTF-8 paths), as data; none without a report.
  static std::vector<std::string> MediaFiles(const std::optional<Report>& report);
};

}  // namespace tetherhost
