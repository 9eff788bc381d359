#pragma once

#include <KL/ISequence.h>
#include <KL/ReplacedMediaInfoData.h>

#include <RL/BinaryData.h>
#include <RL/ISource.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>
#include <kilncore/utility/ImmutableString.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/TickTime.h>

#include <cstddef>
#include <cstdint>
#include <map>

namespace KL {

// A media item as the host's media model holds it: a file (or what stands for
// one) with streams of video and audio, preferences, and identity for the
// host's caches. The host calls these on any of its threads.
//
// The operations are in the order of the interface's slots; an implementation
// must keep that order. Operations whose purpose belongs to the host alone are
// named by what they answer (MediaInfoNoOpA, MediaInfoTrueA, ...).
class IMediaInfo : public kilncore::classref::Unknown {
 public:
  ~IMediaInfo() override;

  // The number of streams of `mediaType` (RL::kMediaType_Video or _Audio).
  virtual size_t GetNumStreams(kilncore::utility::Guid mediaType) const = 0;
  // Stream `index` of `mediaType`, or null.
  virtual kilncore::classref::InterfaceRef<RL::ISource> GetStream(kilncore::utility::Guid mediaType,
                                                                  size_t index) const = 0;
  virtual size_t GetNumStreamGroups() const = 0;
  virtual void GetStreamGroupIndices(size_t group, size_t& a, size_t& b, size_t& c) = 0;
  virtual void SetMediaHint(bool hint) = 0;
  // The identifier of the importer that made this item.
  virtual kilncore::utility::Guid GetImplementationID() const = 0;
  virtual kilncore::WideString GetInstanceString() const = 0;
  // The name the host shows for the item.
  virtual kilncore::WideString GetMediaDisplayName() const = 0;
  virtual kilncore::WideString GetMediaProducerDescription() const = 0;
  // The messaging station on which the item's messages are posted.
  virtual kilncore::utility::ImmutableString GetStationID() const = 0;
  // Bytes that change whenever the item's content does.
  virtual void GetModificationState(RL::BinaryData& out) const = 0;
  virtual void MediaInfoNoOpA() = 0;
  // Makes the stream source of `mediaType`; `outSource` is left as it was when
  // none is made. See the importer layer for the conform paths.
  virtual int32_t CreateSourceForStream(kilncore::utility::Guid mediaType, size_t streamIndex,
                                        const RL::BinaryData& prefs,
                                        const kilnmediatypes::FrameRate& frameRate,
                                        const kilncore::WideString& conformRequest,
                                        const kilncore::WideString& reservedPath,
                                        const kilncore::WideString& conformPathA,
                                        const kilncore::WideString& conformPathB,
                                        kilncore::classref::InterfaceRef<RL::ISource>& outSource) const = 0;
  // A reference to the item itself; returns 0.
  virtual int32_t GetMediaInfoRef(kilncore::classref::InterfaceRef<IMediaInfo>& outRef) const = 0;
  // Whether the item has a preferences dialog.
  virtual bool HasSetup() const = 0;
  virtual bool CanValidatePrefs() const = 0;
  virtual bool SetupOnDoubleClick() const = 0;
  // Shows the item's preferences dialog and updates `prefs`. Negative on
  // failure; the other arguments belong to the host.
  virtual int32_t OpenPreferences(RL::BinaryData& prefs,
                                  std::map<kilncore::WideString, kilncore::WideString>& settings,
                                  size_t reservedA, kilncore::classref::InterfaceRef<ISequence> sequence,
                                  const kilnmediatypes::TickTime& reservedTime, size_t reservedB,
                                  kilncore::WideString& outReserved) = 0;
  // True while the item isn't ready to be used.
  virtual bool IsPending() const = 0;
  virtual void MediaInfoNoOpB() = 0;
  virtual bool IsCacheable() const = 0;
  virtual void GetHashInfo(const ReplacedMediaInfoData& replaced, RL::BinaryData& out) const = 0;
  virtual void GetHashInfo(RL::BinaryData& out) const = 0;
  virtual kilncore::WideString GetFilenameForStream(size_t index) const = 0;
  virtual bool MediaInfoTrueA() const = 0;
  virtual void MediaInfoNoOpC() = 0;
  virtual bool MediaInfoFalseA() const = 0;
  // True for an item whose media is rendered by another application.
  virtual bool IsLinkedMedia() const = 0;
  virtual bool HasFrozenUnstretchableRegions() const = 0;
  virtual bool MediaInfoFalseB() const = 0;
  virtual void MediaInfoNoOpD() = 0;
  // The interface ends here; an importer's own class may add virtual operations
  // behind these slots.

 protected:
  IMediaInfo() = default;
};

}  // namespace KL
