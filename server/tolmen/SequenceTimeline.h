#pragma once

#include <ProjectXML/ProjectDocument.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace tetherserver {

// The questions that rendering and the named requests ask of one sequence of
// a host project: which clip shows at a frame, where the cuts are, which file a
// clip shows at a frame, and times in ticks (254016000000 a second).
class SequenceTimeline {
 public:
  static constexpr int64_t kTicksPerSecond = 254016000000;

  // `folder` is the project file's folder, against which relative media paths
  // are resolved.
  SequenceTimeline(ProjectXML::Sequence sequence, std::filesystem::path folder);

  const ProjectXML::Sequence& GetSequence() const { return mSequence; }
  // The same sequence with the video clip `clipID` alone on its one track
  // (no video at all if there is no such clip).
  SequenceTimeline ClipAlone(uint32_t clipID) const;
  // The end of the last clip, in frames.
  int64_t DurationFrames() const { return mDurationFrames; }
  int64_t FramesToTicks(int64_t frames) const;
  // The frame that holds `ticks` (rounded down).
  int64_t TicksToFrame(int64_t ticks) const;

  // The topmost enabled video clip at `frame`, or null in a gap.
  const ProjectXML::Clip* TopmostVideoClipAt(int64_t frame) const;
  // The enabled audio clips at `frame`, from every audio track.
  std::vector<const ProjectXML::Clip*> AudioClipsAt(int64_t frame) const;
  // `from`, `to` and every clip edge between them, sorted, once each: between
  // two neighbours the topmost clip doesn't change.
  std::vector<int64_t> CutsBetween(int64_t from, int64_t to) const;
  // The file that `clip` shows at the sequence's `frame`: its media path made
  // absolute, with a run of '#' replaced by the media frame number (an image
  // sequence), zero-padded to the run's length.
  std::string MediaPathAt(const ProjectXML::Clip& clip, int64_t frame) const;
  // The media frame that `clip` shows at the sequence's `frame`.
  static int64_t MediaFrameAt(const ProjectXML::Clip& clip, int64_t frame);
  static int64_t EndOf(const ProjectXML::Clip& clip) { return clip.start + (clip.out - clip.in); }

 private:
  ProjectXML::Sequence mSequence;
  std::filesystem::path mFolder;
  int64_t mDurationFrames = 0;
};

}  // namespace tetherserver
