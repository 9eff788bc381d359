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
};

// `tetherhost segments PROJECT --item ID [--range A-B]`: links the sequence as
// a clip and prints what the host's smart renderer would learn of it: the
// segments that can be taken over from existing media, each with the instance
// id of its clip's own stream, and the still ranges, in frames.
void AddSegmentsCommand(CommandLine& commandLine);
int RunSegments(HostSession& session, const SegmentsOptions& options);

}  // namespace tetherhost
