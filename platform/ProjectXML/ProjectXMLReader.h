#pragma once

#include <ProjectXML/ProjectDocument.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ProjectXML {

// Reads the host project dialect (docs/project-format.md) into records.
//
// Every failure throws ProjectXMLError whose text names the element's path and
// line: text that isn't XML, another root element, a missing or malformed
// required attribute, an identifier used twice, sizes, rates or times out of
// their bounds, more than kMaxItems items or kMaxClips clips. Optional
// attributes take the documented defaults. Memory stays bounded by the size of
// the text.
class ProjectXMLReader {
 public:
  static constexpr size_t kMaxItems = 100000;
  static constexpr size_t kMaxClips = 200000;
  static constexpr int32_t kMaxFrameSide = 16384;
  static constexpr size_t kMaxDepth = 64;
  // Longer than any real timeline (about 40 days at 1000 fps), short enough
  // that frame counts converted to ticks never overflow.
  static constexpr int64_t kMaxFrames = int64_t{1} << 32;

  static ProjectDocument Read(std::string_view text);
  // Reads the file at `path` (UTF-8); a file that can't be read, or is larger
  // than kMaxFileBytes, throws ProjectXMLError as well.
  static ProjectDocument ReadFile(const std::string& path);

  static constexpr size_t kMaxFileBytes = size_t{256} << 20;
};

}  // namespace ProjectXML
