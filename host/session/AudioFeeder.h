#pragma once

#include <host/session/AudioPuller.h>

#include <DR/IAudioSource.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace tetherhost {

// A player's audio engine without a sound card: its own thread reads the
// stream block by block a set time ahead of the play clock, as an audio
// device's buffer is kept filled, so that a late video frame never makes late
// audio. Before the clock starts it fills that buffer (preroll). A block whose
// read ends after the time its first sample plays is an underrun: a real
// device would have played silence.
class AudioFeeder {
 public:
  using Clock = std::chrono::steady_clock;

  // Reads `totalFrames` sample frames in blocks of `blockFrames`, keeping
  // `lead` of sound read ahead of the clock. The thread starts at once.
  AudioFeeder(DR::IAudioSource& audio, uint32_t blockFrames, int64_t totalFrames, Clock::duration lead);
  // Stops the thread; a read under way ends first.
  ~AudioFeeder();
  AudioFeeder(const AudioFeeder&) = delete;
  AudioFeeder& operator=(const AudioFeeder&) = delete;

  // Blocks until the buffer holds `lead` of sound (or the whole stream), or
  // the feeder stopped on a failure.
  void WaitForPreroll();

  // The play clock starts: block k plays at `start` + its first sample's time.
  void StartClock(Clock::time_point start);

  struct Counts {
    int64_t blocks = 0;     // blocks that were due by the end
    int64_t underruns = 0;  // of those, blocks read after they were due (or never)
  };
  // Stops reading and counts the blocks due before `end`. Rethrows a failure
  // of the reads (HostError with the module's code), unless Ctrl-C caused it.
  Counts Finish(Clock::time_point end);

 private:
  void Run();
  Clock::time_point DueLocked(size_t block) const;

  AudioPuller mPuller;
  const uint32_t mBlockFrames;
  const size_t mBlocks;
  const Clock::duration mLead;

  std::mutex mMutex;
  std::condition_variable mChanged;
  bool mStop = false;
  bool mClockStarted = false;
  Clock::time_point mStart;
  std::vector<Clock::time_point> mReadyAt;  // when each block was read, in order
  std::exception_ptr mFailure;
  std::thread mThread;
};

}  // namespace tetherhost
