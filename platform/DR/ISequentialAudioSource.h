#pragma once

#include <kilncore/classref/Unknown.h>

#include <cstdint>

namespace kilnaudiotoolkit {
class AudioBuffer;
}

namespace DR {

// The audio stream of a media item, read block after block. Operations are in
// slot order.
class ISequentialAudioSource : public kilncore::classref::Unknown {
 public:
  ~ISequentialAudioSource() override;

  virtual bool SequentialQueryA() = 0;
  virtual bool SequentialQueryB() = 0;
  // Fills `buffer` with the next samples; with `reset`, starts again from the
  // beginning first. `context` belongs to the caller and is handed on.
  virtual int32_t ReadAudioSequential(int32_t context, kilnaudiotoolkit::AudioBuffer& buffer, bool reset) = 0;

 protected:
  ISequentialAudioSource() = default;
};

}  // namespace DR
