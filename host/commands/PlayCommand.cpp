#include <host/commands/PlayCommand.h>

#include <host/cli/CommandLine.h>
#include <host/cli/Formatted.h>
#include <host/cli/HostError.h>
#include <host/cli/Interruption.h>
#include <host/cli/OptionParsing.h>
#include <host/session/AudioFeeder.h>
#include <host/session/AudioPuller.h>
#include <host/session/HostSession.h>
#include <host/session/LinkedClip.h>
#include <host/session/ProgressView.h>

#include <KL/IAsyncVideoSource.h>
#include <Pane/SharedPaneCache.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <stdexcept>
#include <cstdio>
#include <thread>

namespace tetherhost {
namespace {

using Clock = std::chrono::steady_clock;
using kilncore::classref::InterfaceRef;

constexpr uint32_t kAudioBlockFrames = 1024;
// Sound read ahead of the play clock, as a device's buffer.
constexpr auto kAudioLead = std::chrono::milliseconds(500);
// What a player is asked for: a day of play at most, a window of frames a
// renderer pool can hold, and a pass count that ends.
constexpr double kShortestPlay = 0.001;
constexpr double kLongestPlay = 86400.0;
constexpr int32_t kMostPrefetch = 64;
constexpr int32_t kMostLoops = 1000;

// One pass of the player over frames [0, frameCount).
class Player {
 public:
  Player(const LinkedClip& clip, const ClipDescription& description, const PlayOptions& options,
         ProgressView& progress)
      : mPrefs(clip.Prefs()),
        mVideo(clip.VideoStream()),
        mAsync(mVideo),
        mAudioSource(clip.AudioStream()),
        mFrameRate(description.frameRate),
        mOptions(options),
        mProgress(progress) {
    if (!mAsync) throw HostError("the video stream can't render in the background");
    if (mAudioSource) mAudio.emplace(*mAudioSource, kAudioBlockFrames);
    auto [width, height] =
        options.size.empty() ? std::pair<int32_t, int32_t>(0, 0) : ParseFrameSize(options.size);
    mFormat = WantedFormat(*mVideo, kilnmediatypes::TickTime(0), ParsePixelFormat(options.format), width, height);
    mFrameLength = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(1.0 / description.frameRate.ToFramesPerSecond()));
  }

  PlayStatistics Play(int64_t frameCount) {
    PlayStatistics stats;
    const auto before = Pane::SharedPaneCache::Instance().GetStatistics();
    mNextAudioFrame = 0;
    const int64_t window = std::min<int64_t>(mOptions.prefetch, frameCount);
    for (int64_t ahead = 0; ahead < window; ++ahead) Prefetch(ahead);
    // Paced, audio has its own thread, and the clock starts only once the
    // first frames and the audio buffer are in (preroll), as a player does.
    std::optional<AudioFeeder> feeder;
    if (mOptions.paced && mAudio) {
      feeder.emplace(*mAudioSource, kAudioBlockFrames, mAudio->FrameAt(TimeOf(frameCount)), kAudioLead);
    }
    if (mOptions.paced) {
      for (int64_t frame = 0; frame < window; ++frame) WhilePending(frame);
      if (feeder) feeder->WaitForPreroll();
    }
    mStart = Clock::now();
    if (feeder) feeder->StartClock(mStart);
    for (int64_t frame = 0; frame < frameCount && !Interruption::Requested(); ++frame) {
      if (frame + mOptions.prefetch < frameCount) Prefetch(frame + mOptions.prefetch);
      const Clock::time_point due = mStart + frame * mFrameLength;
      if (mOptions.paced) std::this_thread::sleep_until(due);
      if (!ShowAndHear(frame, stats, feeder.has_value())) break;
      if (mOptions.paced && Clock::now() > due + mFrameLength) ++stats.lateFrames;
      ++stats.frames;
      mProgress.Report(static_cast<double>(stats.frames) / frameCount,
                       Formatted("frame %lld of %lld, %lld late, %lld underruns", static_cast<long long>(stats.frames),
                                 static_cast<long long>(frameCount), static_cast<long long>(stats.lateFrames),
                                 static_cast<long long>(stats.audioUnderruns)));
    }
    // Paced, the last frame stays up for its length, so a whole pass lasts
    // its frames' time and its audio is every block due in that time.
    const Clock::time_point passEnd = mStart + frameCount * mFrameLength;
    if (mOptions.paced && !Interruption::Requested()) std::this_thread::sleep_until(passEnd);
    const Clock::time_point end = Interruption::Requested() ? Clock::now() : std::max(Clock::now(), passEnd);
    stats.seconds = std::chrono::duration<double>(end - mStart).count();
    if (feeder) {
      const AudioFeeder::Counts counts = feeder->Finish(Interruption::Requested() ? end : passEnd);
      stats.audioBlocks = counts.blocks;
      stats.audioUnderruns = counts.underruns;
    }
    const auto after = Pane::SharedPaneCache::Instance().GetStatistics();
    stats.serverRenders = static_cast<int64_t>((after.insertions - before.insertions) +
                                               (after.replacements - before.replacements));
    return stats;
  }

 private:
  kilnmediatypes::TickTime TimeOf(int64_t frame) const { return kilnmediatypes::TickTime(frame, mFrameRate); }

  void Prefetch(int64_t frame) { mAsync->RenderFrameAsync(TimeOf(frame), mFormat, mPrefs); }

  // Shows `frame` and, unless a feeder plays the sound, reads its audio.
  // False when Ctrl-C cancelled what the frame waited for: the pass ends
  // there with the frames shown so far, which are what the user gets told.
  bool ShowAndHear(int64_t frame, PlayStatistics& stats, bool fed) {
    try {
      Show(frame, stats);
      if (mAudio && !fed) Hear(frame + 1, stats);
      return true;
    } catch (const HostError&) {
      if (!Interruption::Requested()) throw;
      return false;
    }
  }

  void Show(int64_t frame, PlayStatistics& stats) {
    KL::IVideoSource::Frame pane;
    if (mVideo->GetFrame(TimeOf(frame), mFormat, mPrefs, true, pane) >= 0 && pane) {
      ++stats.cacheHits;
      return;
    }
    ++stats.cacheMisses;
    WhilePending(frame);
    if (mVideo->GetFrame(TimeOf(frame), mFormat, mPrefs, true, pane) >= 0 && pane) return;
    HostError::ThrowIfFailed(mVideo->GetFrame(TimeOf(frame), mFormat, mPrefs, false, pane),
                             "frame " + std::to_string(frame));
  }

  // A blocking request that meets the frame's background render is turned
  // away at once, so a player waits for that render to land in the cache,
  // as it waits for its next display tick. Ctrl-C ends the wait: the render
  // may be one the server holds for hours.
  void WhilePending(int64_t frame) {
    while (!Interruption::Requested() && mAsync->IsFramePending(TimeOf(frame), mFormat, 0, mPrefs)) {
      std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
  }

  // Unpaced, reads the audio up to the end of frame `untilFrame`, block by block; a
  // block that comes after the time its first sample plays is an underrun.
  void Hear(int64_t untilFrame, PlayStatistics& stats) {
    const int64_t end = mAudio->FrameAt(TimeOf(untilFrame));
    while (mNextAudioFrame < end) {
      mAudio->Read(mNextAudioFrame);
      const auto plays = mStart + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(
                                      static_cast<double>(mNextAudioFrame) / mAudio->sampleRate()));
      if (mOptions.paced && Clock::now() > plays + mFrameLength) ++stats.audioUnderruns;
      ++stats.audioBlocks;
      mNextAudioFrame += kAudioBlockFrames;
    }
  }

  const RL::BinaryData& mPrefs;
  InterfaceRef<KL::IVideoSource> mVideo;
  InterfaceRef<KL::IAsyncVideoSource> mAsync;
  InterfaceRef<DR::IAudioSource> mAudioSource;
  std::optional<AudioPuller> mAudio;
  kilnmediatypes::FrameRate mFrameRate;
  const PlayOptions& mOptions;
  ProgressView& mProgress;
  RL::FrameFormat mFormat;
  Clock::duration mFrameLength{};
  Clock::time_point mStart;
  int64_t mNextAudioFrame = 0;
};

void PrintPass(ProgressView& progress, int32_t pass, const PlayStatistics& stats) {
  progress.Print(Formatted("pass %d: %lld frames in %.2f s, %.1f fps delivered; cache %lld hits, %lld misses; "
                           "%lld server renders; %lld late frames; %lld audio blocks, %lld underruns\n",
                           pass, static_cast<long long>(stats.frames), stats.seconds, stats.FramesPerSecond(),
                           static_cast<long long>(stats.cacheHits), static_cast<long long>(stats.cacheMisses),
                           static_cast<long long>(stats.serverRenders), static_cast<long long>(stats.lateFrames),
                           static_cast<long long>(stats.audioBlocks), static_cast<long long>(stats.audioUnderruns)));
}

}  // namespace

int RunPlay(HostSession& session, const PlayOptions& options) {
  if (!(options.seconds >= kShortestPlay && options.seconds <= kLongestPlay)) {
    throw std::invalid_argument("--seconds must be from " + std::to_string(kShortestPlay) + " to " +
                                std::to_string(kLongestPlay));
  }
  if (options.prefetch < 0 || options.prefetch > kMostPrefetch) {
    throw std::invalid_argument("--prefetch must be from 0 to " + std::to_string(kMostPrefetch));
  }
  if (options.loops < 1 || options.loops > kMostLoops) {
    throw std::invalid_argument("--loops must be from 1 to " + std::to_string(kMostLoops));
  }
  ParsePixelFormat(options.format);
  if (!options.size.empty()) ParseFrameSize(options.size);
  return session.RunWithUserInterface([&] {
    const LinkedClip clip = LinkedClip::Import(session.Module(), options.project, options.item);
    const ClipDescription description = clip.Describe();
    if (!description.frameRate.HasRate() || description.frameCount <= 0) {
      throw HostError("the clip has no frames to play");
    }
    const int64_t frameCount = std::min<int64_t>(
        description.frameCount,
        static_cast<int64_t>(options.seconds * description.frameRate.ToFramesPerSecond() + 0.5));
    ProgressView& progress = session.Progress();
    progress.Print(Formatted("playing %s: %lld frames at %.3f fps, %d x %d, %s\n", description.displayName.c_str(),
                             static_cast<long long>(frameCount), description.frameRate.ToFramesPerSecond(),
                             description.width, description.height,
                             options.paced ? "paced" : "as fast as frames come"));
    Player player(clip, description, options, progress);
    for (int32_t pass = 1; pass <= options.loops; ++pass) {
      PrintPass(progress, pass, player.Play(frameCount));
      if (Interruption::Requested()) throw Interrupted("interrupted during pass " + std::to_string(pass));
    }
    return 0;
  });
}

void AddPlayCommand(CommandLine& commandLine) {
  auto options = std::make_shared<PlayOptions>();
  auto unpaced = std::make_shared<bool>(false);
  CLI::App* play = commandLine.AddCommand(
      "play", "play a linked item as a host's player does and report how it went", [options, unpaced] {
        options->paced = !*unpaced;
        HostSession session;
        return RunPlay(session, *options);
      });
  play->add_option("PROJECT", options->project, "the project file")->required();
  play->add_option("--item", options->item, "the composition, by name or identifier (default: the first)");
  play->add_option("--seconds", options->seconds, "how much of the clip to play")
      ->capture_default_str()
      ->check(CommandLine::Real(kShortestPlay, kLongestPlay));
  play->add_option("--prefetch", options->prefetch, "frames rendered ahead of the play head")
      ->capture_default_str()
      ->check(CommandLine::Integer(0, kMostPrefetch));
  play->add_option("--loops", options->loops, "passes over the same range")
      ->capture_default_str()
      ->check(CommandLine::Integer(1, kMostLoops));
  play->add_option("--size", options->size, "frame size WxH (default: the clip's own)");
  play->add_option("--format", options->format, "pixel format: bgra8 or rgba32f")->capture_default_str();
  play->add_flag("--unpaced", *unpaced, "pull frames as fast as they come instead of at the frame rate");
}

}  // namespace tetherhost
