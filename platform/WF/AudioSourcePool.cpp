#include <WF/AudioSourcePool.h>

#include <algorithm>
#include <utility>

namespace WF {

using kilncore::classref::InterfaceRef;

kilncore::utility::Seam<InterfaceRef<AudioSourcePool>()>& AudioSourcePool::CreateSeam() {
  static auto* const seam = new kilncore::utility::Seam<InterfaceRef<AudioSourcePool>()>([] {
    static const std::shared_ptr<AudioSourcePool> pool = std::make_shared<AudioSourcePool>();
    return InterfaceRef<AudioSourcePool>(pool);
  });
  return *seam;
}

InterfaceRef<AudioSourcePool> AudioSourcePool::Create() { return CreateSeam()(); }

AudioSourcePool::~AudioSourcePool() = default;

InterfaceRef<AudioSourceImpl> AudioSourcePool::FindAudioSource(
    const kilncore::WideString& path, const kilncore::utility::Guid& documentID, size_t streamIndex,
    const kilnmediatypes::FrameRate& frameRate, const kilnmediatypes::TickTime& duration,
    const kilncore::utility::Guid& contentState, const RL::BinaryData& prefs,
    const std::vector<kilnmediatypes::AudioChannelDescription>& layout) const {
  const Key wanted{path, documentID, streamIndex, frameRate, duration, contentState, prefs, layout};
  const std::lock_guard lock(mMutex);
  for (const Entry& entry : mEntries) {
    if (!(entry.key == wanted)) continue;
    // Locking a weak reference never runs the object's code, and a found
    // source leaves the lock alive in the result.
    if (auto owner = entry.owner.lock()) return InterfaceRef<AudioSourceImpl>(std::move(owner), entry.source);
  }
  return nullptr;
}

void AudioSourcePool::AddAudioSource(InterfaceRef<AudioSourceImpl> source,
                                     const kilncore::utility::Guid& documentID, size_t streamIndex,
                                     const kilnmediatypes::FrameRate& frameRate,
                                     const kilnmediatypes::TickTime& duration,
                                     const kilncore::utility::Guid& contentState, const RL::BinaryData& prefs) {
  if (source.IsNull()) return;
  Entry entry{Key{source->GetDescription().path, documentID, streamIndex, frameRate, duration, contentState,
                  prefs, source->GetChannelLayoutAtCreation()},
              source.GetOwner(), source.Get()};
  const std::lock_guard lock(mMutex);
  PruneExpiredLocked();
  std::erase_if(mEntries, [&](const Entry& known) { return known.key == entry.key; });
  mEntries.push_back(std::move(entry));
}

size_t AudioSourcePool::GetSourceCount() const {
  const std::lock_guard lock(mMutex);
  return static_cast<size_t>(
      std::count_if(mEntries.begin(), mEntries.end(), [](const Entry& entry) { return !entry.owner.expired(); }));
}

void AudioSourcePool::Clear() {
  const std::lock_guard lock(mMutex);
  mEntries.clear();
}

void AudioSourcePool::PruneExpiredLocked() {
  std::erase_if(mEntries, [](const Entry& entry) { return entry.owner.expired(); });
}

}  // namespace WF
