#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tetherhost {

class CommandLine;
class HostSession;

// `tetherhost import`: imports one composition of a project as a new clip,
// prints it as the host sees it, and writes the frames asked for as PNG files,
// a contact sheet of them, and optionally the clip's audio as a WAV file.
struct ImportOptions {
  std::filesystem::path project;
  // The composition by name or identifier; empty: the project's first.
  std::string item;
  // The frames (FrameRange syntax); empty: twelve frames spread over the clip.
  std::string frames;
  // "WxH"; empty: the clip's own size.
  std::string size;
  std::string format = "bgra8";
  // "on", "off", or empty to leave the clip's render options alone.
  std::string guides;
  std::filesystem::path out = "tetherhost-out";
  // Empty: no audio is written.
  std::filesystem::path audio;
  // A YUV4MPEG2 stream and a raw stream of the frames, each to a file or to
  // standard output ("-"); either replaces the PNG files.
  std::filesystem::path y4m;
  std::filesystem::path raw;
  // Audio that would take more than 8 GiB is written only when this is set.
  bool largeAudio = false;
  // The owner's render options (JSON) the clip is imported with; empty: none.
  std::string renderOptions;
  // Empty: no XMP packet is written.
  std::filesystem::path xmp;
  // Empty: no captions are written; else a .vtt or .srt file of one stream,
  // `captionStream` (an index) when set.
  std::filesystem::path captions;
  std::optional<int64_t> captionStream;
};

// Returns the process's exit status; throws HostError (or
// std::invalid_argument for a bad option) on failure.
int RunImport(HostSession& session, const ImportOptions& options);

// Adds `import` and its options to the command line.
void AddImportCommand(CommandLine& commandLine);

}  // namespace tetherhost
