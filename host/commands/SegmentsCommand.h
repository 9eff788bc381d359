#pragma once

#include <filesystem>
#include <string>

namespace tetherhost {

class CommandLine;
class HostSession;

struct SegmentsOptions {
  std::filesystem::path project;
  // The sequence's identifier.
  std::string item;
  // Frames A-B of the sequence (end exclusive); the whole sequence when empty.
  std::string range;
  // One JSON object instead of lines for people.
  bool json = false;
  // Whether the host plays from preview files (what the server can render
  // natively changes where media is taken over).
  bool previewFiles = false;
  // With `out`: the sequence frame whose segment's per-clip stream is drawn.
  int64_t frame = -1;
  // The PNG file of that frame.
  std::filesystem::path out;
};

// `tetherhost segments PROJECT --item ID [--range A-B] [--json]
// [--preview-files] [--frame T --out FILE.png]`: links the sequence as a clip
// and prints what the host's smart renderer would learn of it, in frames: the
// segments that can be taken over from existing media, each with the instance
// id of its clip's own stream; the still ranges; and the accelerated ranges,
// runs of frames where the format that SelectFrameFormat settles for a 32-bit
// float export stays the same (the server offers float where it renders
// natively, 8-bit only where a preview file stands), for at most the first
// million frames of the range. With --frame and --out,
// writes frame T of the per-clip stream of the segment that holds T.
void AddSegmentsCommand(CommandLine& commandLine);
int RunSegments(HostSession& session, const SegmentsOptions& options);

}  // namespace tetherhost
