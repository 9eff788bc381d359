#include <server/tolmen/SequenceTimeline.h>

#include <algorithm>
#include <utility>

namespace tetherserver {

namespace {

bool Covers(const ProjectXML::Clip& clip, int64_t frame) {
  return clip.enabled && clip.start <= frame && frame < SequenceTimeline::EndOf(clip);
}

}  // namespace

SequenceTimeline::SequenceTimeline(ProjectXML::Sequence sequence, std::filesystem::path folder)
    : mSequence(std::move(sequence)), mFolder(std::move(folder)), mDurationFrames(mSequence.DurationFrames()) {}

SequenceTimeline SequenceTimeline::ClipAlone(uint32_t clipID) const {
  ProjectXML::Sequence alone = mSequence;
  alone.videoTracks.clear();
  for (const ProjectXML::Track& track : mSequence.videoTracks) {
    for (const ProjectXML::Clip& clip : track.clips) {
      if (clip.id == clipID) alone.videoTracks.push_back(ProjectXML::Track{{clip}});
    }
  }
  return SequenceTimeline(std::move(alone), mFolder);
}

int64_t SequenceTimeline::FramesToTicks(int64_t frames) const {
  const __int128 ticks = static_cast<__int128>(frames) * kTicksPerSecond * mSequence.frameRate.denominator /
                         mSequence.frameRate.numerator;
  return static_cast<int64_t>(ticks);
}

int64_t SequenceTimeline::TicksToFrame(int64_t ticks) const {
  const __int128 scaled = static_cast<__int128>(ticks) * mSequence.frameRate.numerator;
  const __int128 unit = static_cast<__int128>(kTicksPerSecond) * mSequence.frameRate.denominator;
  __int128 frame = scaled / unit;
  if (scaled % unit != 0 && scaled < 0) --frame;
  return static_cast<int64_t>(frame);
}

const ProjectXML::Clip* SequenceTimeline::TopmostVideoClipAt(int64_t frame) const {
  for (auto track = mSequence.videoTracks.rbegin(); track != mSequence.videoTracks.rend(); ++track) {
    for (const ProjectXML::Clip& clip : track->clips) {
      if (Covers(clip, frame)) return &clip;
    }
  }
  return nullptr;
}

std::vector<const ProjectXML::Clip*> SequenceTimeline::AudioClipsAt(int64_t frame) const {
  std::vector<const ProjectXML::Clip*> clips;
  for (const ProjectXML::Track& track : mSequence.audioTracks) {
    for (const ProjectXML::Clip& clip : track.clips) {
      if (Covers(clip, frame)) clips.push_back(&clip);
    }
  }
  return clips;
}

std::vector<int64_t> SequenceTimeline::CutsBetween(int64_t from, int64_t to) const {
  std::vector<int64_t> cuts{from, to};
  for (const ProjectXML::Track& track : mSequence.videoTracks) {
    for (const ProjectXML::Clip& clip : track.clips) {
      for (int64_t edge : {clip.start, EndOf(clip)}) {
        if (from < edge && edge < to) cuts.push_back(edge);
      }
    }
  }
  std::sort(cuts.begin(), cuts.end());
  cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());
  return cuts;
}

int64_t SequenceTimeline::MediaFrameAt(const ProjectXML::Clip& clip, int64_t frame) {
  return clip.still ? clip.in : clip.in + (frame - clip.start);
}

std::string SequenceTimeline::MediaPathAt(const ProjectXML::Clip& clip, int64_t frame) const {
  std::filesystem::path path(clip.media);
  if (path.is_relative()) path = mFolder / path;
  std::string text = path.string();
  const size_t run = text.rfind('#');
  if (run == std::string::npos) return text;
  size_t first = run;
  while (first > 0 && text[first - 1] == '#') --first;
  std::string number = std::to_string(MediaFrameAt(clip, frame));
  const size_t width = run - first + 1;
  if (number.size() < width) number.insert(0, width - number.size(), '0');
  return text.replace(first, width, number);
}

}  // namespace tetherserver
