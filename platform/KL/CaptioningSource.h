#pragma once

#include <KL/CaptionStream.h>
#include <KL/ICaptioningSource.h>

#include <kilncore/classref/InterfaceRef.h>

#include <string_view>

namespace KL {

// Captions held in memory, as read from a caption text. Immutable, so any
// thread may read them.
class CaptioningSource final : public ICaptioningSource {
 public:
  explicit CaptioningSource(CaptionDocument document);
  ~CaptioningSource() override;

  uint32_t GetStreamFormat() const override;
  size_t GetStreamCount() const override;
  const CaptionStream* GetStream(size_t index) const override;

 protected:
  void* QueryMap(const std::string_view& name) override;

 private:
  const CaptionDocument mDocument;
};

// The captions of the serialised caption text `text` (docs/captions.md).
// `reserved` is the host's and must be null. A malformed text gives a null
// source, and its reason goes to the trace channel "Keel" at level 1.
kilncore::classref::InterfaceRef<ICaptioningSource> CreateCaptioningSource(std::string_view text,
                                                                           const void* reserved);

}  // namespace KL
