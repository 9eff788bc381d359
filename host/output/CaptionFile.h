#pragma once

#include <KL/CaptionStream.h>

#include <filesystem>
#include <string>

namespace tetherhost {

// Writes one caption stream to `path` in the format its extension names
// (compared without case): ".vtt" WebVTT, ".srt" SubRip. The file appears
// only when complete (OutputFile). Throws std::invalid_argument for another
// extension and std::runtime_error when the file can't be written.
class CaptionFile {
 public:
  static void Write(const std::filesystem::path& path, const KL::CaptionStream& stream);
  // Whether `path` names a format that Write knows.
  static bool IsKnownFormat(const std::filesystem::path& path);
};

}  // namespace tetherhost
