#pragma once

#include <host/session/LinkedClip.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tetherhost {

class ProgressView;

// What a clip's owner knows of it beyond pictures and sound, as the host's
// media properties and metadata panels get it from the module: description
// lines (KL::IMediaAnalysis), the XMP packet (KL::IMediaMetaData::ReadXMP) and
// captions (KL::ICaptioningSourceOwner).
namespace ItemMetadata {

// The description lines as GetAnalysisLines gives them, times in the clip's
// own time display. Empty when the module gives none.
std::vector<std::string> DescriptionLines(const LinkedClip& clip);
// The lines for people, one a line, then a blank line; nothing for no lines.
std::string DescriptionLinesText(const std::vector<std::string>& lines);
// `json` (one JSON object) with the member "description_lines" added.
std::string WithDescriptionLines(const std::string& json, const std::vector<std::string>& lines);

// Writes the clip's XMP packet to `path` and says so on `progress`. A server
// that fails is a HostError; an item without a packet gets an empty file and
// a note.
void WriteXmp(const LinkedClip& clip, const std::filesystem::path& path, ProgressView& progress);

// Writes one caption stream of the clip to `path` (WebVTT or SubRip by its
// extension). With `streamIndex` that stream is selected at the server first
// (SelectCaptionStream) and must exist; without it the stream the server has
// selected is written, or the first. HostError when the clip has no captions,
// the server's captions can't be read, or the index is out of range.
void WriteCaptions(const LinkedClip& clip, const std::filesystem::path& path, std::optional<int64_t> streamIndex,
                   ProgressView& progress);

}  // namespace ItemMetadata
}  // namespace tetherhost
