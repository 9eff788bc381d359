#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace tetherhost {

class CommandLine;
class HostSession;

// `tetherhost play`: plays a clip as a host's player does. Background renders
// run ahead of the play head (the prefetch window); each frame is first asked
// of the cache only and asked again, blocking, when it isn't there yet.
// Paced, the clock starts after a preroll (the first window of frames and half
// a second of audio in), frames are due at the clip's frame rate, and audio is
// read on its own thread half a second ahead of the clock: a frame shown a
// frame's length after its time is late, an audio block read after its first
// sample's time is an underrun. Unpaced, frames are pulled as fast as they
// come, which measures throughput, and audio is read alongside.
struct PlayOptions {
  std::filesystem::path project;
  std::string item;
  double seconds = 4.0;
  int32_t prefetch = 8;
  // Passes over the same range; from the second on, frames come from the cache.
  int32_t loops = 1;
  bool paced = true;
  std::string size;
  std::string format = "bgra8";
};

// What one pass delivered.
struct PlayStatistics {
  int64_t frames = 0;
  int64_t cacheHits = 0;    // frames the cache-only request found
  int64_t cacheMisses = 0;  // frames that needed a blocking request
  int64_t lateFrames = 0;
  int64_t audioBlocks = 0;
  int64_t audioUnderruns = 0;
  // Frames the module stored in the host's cache: one per server render.
  int64_t serverRenders = 0;
  double seconds = 0.0;

  double FramesPerSecond() const { return seconds > 0.0 ? frames / seconds : 0.0; }
};

int RunPlay(HostSession& session, const PlayOptions& options);

// Adds `play` and its options to the command line.
void AddPlayCommand(CommandLine& commandLine);

}  // namespace tetherhost
