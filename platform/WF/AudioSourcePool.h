#pragma once

#include <WF/AudioSourceImpl.h>

#include <RL/BinaryData.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>
#include <kilncore/utility/Seam.h>
#include <kilnmediatypes/AudioChannelDescription.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TickTime.h>

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace WF {

// The host's pool of audio sources, so that the clips of one media item share
// one audio source rather than each building its own.
//
// A source is found again by its whole key: the item's path, document,
// stream, the clip's frame rate, the item's duration and content state, the
// media opaque data (prefs) and the channel layout. A change of any of these
// means other audio, and finds nothing. The path and the layout are not given
// when a source is added: they are the ones the source was made for
// (AudioSourceImpl::GetDescription().path and GetChannelLayoutAtCreation()).
//
// The pool holds its sources by weak reference: it never keeps audio alive by
// itself. Once every user of a source has released it, the source is gone
// and the next request with its key finds nothing and builds a new one.
//
// Thread-safe. The pool's lock is never held while a source's own code runs.
class AudioSourcePool : public kilncore::classref::Unknown {
 public:
  // The host-wide pool. Never null in the reference host; the host's own
  // library may answer null, which its seam lets a test play.
  static kilncore::classref::InterfaceRef<AudioSourcePool> Create();
  // Host policy seam of Create (see kilncore/utility/Seam.h).
  static kilncore::utility::Seam<kilncore::classref::InterfaceRef<AudioSourcePool>()>& CreateSeam();

  // A pool of its own, for tests; make it with std::make_shared.
  AudioSourcePool() = default;
  ~AudioSourcePool() override;

  // The live source added with exactly this key, or null.
  kilncore::classref::InterfaceRef<AudioSourceImpl> FindAudioSource(
      const kilncore::WideString& path, const kilncore::utility::Guid& documentID, size_t streamIndex,
      const kilnmediatypes::FrameRate& frameRate, const kilnmediatypes::TickTime& duration,
      const kilncore::utility::Guid& contentState, const RL::BinaryData& prefs,
      const std::vector<kilnmediatypes::AudioChannelDescription>& layout) const;

  // Remembers `source` under the key made of these values and its own path
  // and layout. A null source is ignored. A source added with the key of a
  // live one replaces it: the newer is found from then on.
  void AddAudioSource(kilncore::classref::InterfaceRef<AudioSourceImpl> source,
                      const kilncore::utility::Guid& documentID, size_t streamIndex,
                      const kilnmediatypes::FrameRate& frameRate, const kilnmediatypes::TickTime& duration,
                      const kilncore::utility::Guid& contentState, const RL::BinaryData& prefs);

  // The number of sources that are still alive.
  size_t GetSourceCount() const;

  // Forgets every source (they live on with their users).
  void Clear();

 private:
  struct Key {
    kilncore::WideString path;
    kilncore::utility::Guid documentID;
    size_t streamIndex = 0;
    kilnmediatypes::FrameRate frameRate;
    kilnmediatypes::TickTime duration;
    kilncore::utility::Guid contentState;
    RL::BinaryData prefs;
    std::vector<kilnmediatypes::AudioChannelDescription> layout;

    friend bool operator==(const Key&, const Key&) = default;
  };
  struct Entry {
    Key key;
    std::weak_ptr<kilncore::classref::UnknownBase> owner;
    AudioSourceImpl* source = nullptr;  // valid while `owner` lives
  };

  // Forgets the entries whose source has gone. Needs mMutex.
  void PruneExpiredLocked();

  mutable std::mutex mMutex;
  std::vector<Entry> mEntries;
};

}  // namespace WF
