#pragma once

#include <KL/IMediaInfo.h>
#include <kilncore/classref/InterfaceRef.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tetherhost {

// What a clip's owner knows of it beyond pictures and sound, as the host's
// media properties and metadata panels get it from the module: description
// lines (KL::IMediaAnalysis), the XMP packet (KL::IMediaMetaData::ReadXMP) and
// captions (KL::ICaptioningSourceOwner).
namespace ItemMetadata {

// The item as the host holds it.
using MediaItem = kilncore::classref::InterfaceRef<KL::IMediaInfo>;

// The description lines as GetAnalysisLines gives them, times in the clip's
// own time display. Empty when the module gives none.
std::vector<std::string> DescriptionLines(const MediaItem& item);
// The lines for people, one a line, then a blank line; nothing for no lines.
std::string DescriptionLinesText(const std::vector<std::string>& lines);
// `json` (one JSON object) with the member "description_lines" added.
std::string WithDescriptionLines(const std::string& json, const std::vector<std::string>& lines);
// `json` (one JSON object) with the member `name`, an array of `values`, added.
std::string WithStrings(const std::string& json, const char* name, const std::vector<std::string>& values);

// Writes the item's XMP packet to `path` and gives the line that says so. A
// server that fails is a HostError; an item without a packet gets an empty
// file and a note.
std::string WriteXmp(const MediaItem& item, const std::filesystem::path& path);

// Writes one caption stream of the item to `path` (WebVTT or SubRip by its
// extension). With `streamIndex` that stream is selected at the server first
// (SelectCaptionStream) and must exist; without it the stream the server has
// selected is written, or the first. HostError when the clip has no captions,
// the server's captions can't be read, or the index is out of range. Gives
// the line that says what was written.
std::string WriteCaptions(const MediaItem& item, const std::filesystem::path& path,
                          std::optional<int64_t> streamIndex);

}  // namespace ItemMetadata
}  // namespace tetherhost
