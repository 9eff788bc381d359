#pragma once

#include <server/project/ProjectError.h>
#include <server/sprocket/SprocketScene.h>

#include <filesystem>
#include <string_view>

namespace tetherserver {

// Reads Sprocket files (".spkscene" scenes, ".spkproj" source-type projects:
// one JSON format) and the render options of a source-type project. Never
// throws for bad input: a failure names the file and the member at fault.
class SprocketReader {
 public:
  static Outcome<SprocketDocument> Open(const std::filesystem::path& path);
  static Outcome<SprocketDocument> Parse(std::string_view text, const std::filesystem::path& path);
  // An empty text is no options; anything else must be a JSON object.
  static Outcome<SprocketRenderOptions> ParseOptions(std::string_view text);
};

}  // namespace tetherserver
