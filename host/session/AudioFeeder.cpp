#include <host/session/AudioFeeder.h>

#include <host/cli/Interruption.h>

namespace tetherhost {

AudioFeeder::AudioFeeder(DR::IAudioSource& audio, uint32_t blockFrames, int64_t totalFrames, Clock::duration lead)
    : mPuller(audio, blockFrames),
      mBlockFrames(blockFrames),
      mBlocks(totalFrames <= 0 ? 0 : static_cast<size_t>((totalFrames + blockFrames - 1) / blockFrames)),
      mLead(lead) {
  mReadyAt.reserve(mBlocks);
  mThread = std::thread([this] { Run(); });
}

AudioFeeder::~AudioFeeder() {
  {
    std::lock_guard lock(mMutex);
    mStop = true;
  }
  mChanged.notify_all();
  if (mThread.joinable()) mThread.join();
}

AudioFeeder::Clock::time_point AudioFeeder::DueLocked(size_t block) const {
  const double seconds = static_cast<double>(block) * mBlockFrames / mPuller.sampleRate();
  return mStart + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

void AudioFeeder::Run() {
  // How many blocks make the lead: the buffer a device keeps filled.
  const double leadSeconds = std::chrono::duration<double>(mLead).count();
  const auto leadBlocks = static_cast<size_t>(leadSeconds * mPuller.sampleRate() / mBlockFrames) + 1;
  for (size_t block = 0; block < mBlocks; ++block) {
    {
      std::unique_lock lock(mMutex);
      // Before the clock: fill the lead. After: read each block once its
      // time, less the lead, has come.
      mChanged.wait(lock, [&] { return mStop || mClockStarted || block < leadBlocks; });
      if (mStop) return;
      if (mClockStarted) {
        const Clock::time_point readFrom = DueLocked(block) - mLead;
        if (mChanged.wait_until(lock, readFrom, [&] { return mStop; })) return;
      }
    }
    try {
      mPuller.Read(static_cast<int64_t>(block) * mBlockFrames);
    } catch (...) {
      std::lock_guard lock(mMutex);
      mFailure = std::current_exception();
      mChanged.notify_all();
      return;
    }
    {
      std::lock_guard lock(mMutex);
      mReadyAt.push_back(Clock::now());
    }
    mChanged.notify_all();
  }
}

void AudioFeeder::WaitForPreroll() {
  const double leadSeconds = std::chrono::duration<double>(mLead).count();
  const auto leadBlocks = std::min(mBlocks, static_cast<size_t>(leadSeconds * mPuller.sampleRate() / mBlockFrames) + 1);
  std::unique_lock lock(mMutex);
  mChanged.wait(lock, [&] { return mFailure || mReadyAt.size() >= leadBlocks; });
}

void AudioFeeder::StartClock(Clock::time_point start) {
  {
    std::lock_guard lock(mMutex);
    mStart = start;
    mClockStarted = true;
  }
  mChanged.notify_all();
}

AudioFeeder::Counts AudioFeeder::Finish(Clock::time_point end) {
  {
    std::lock_guard lock(mMutex);
    mStop = true;
  }
  mChanged.notify_all();
  if (mThread.joinable()) mThread.join();
  // A read that Ctrl-C cancelled only ends the feed early: the blocks read
  // before it count, as the frames shown before it do.
  if (mFailure && !Interruption::Requested()) std::rethrow_exception(mFailure);
  Counts counts;
  for (size_t block = 0; block < mBlocks && DueLocked(block) < end; ++block) {
    ++counts.blocks;
    if (block >= mReadyAt.size() || mReadyAt[block] > DueLocked(block)) ++counts.underruns;
  }
  return counts;
}

}  // namespace tetherhost
