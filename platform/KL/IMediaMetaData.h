#pragma once

#include <KL/IClipLoggingInfo.h>
#include <KL/MediaSceneRecord.h>
#include <KL/MetaDataType.h>

#include <RL/BinaryData.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>
#include <kilncore/utility/ImmutableString.h>
#include <kilnmediatypes/FieldType.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/PAR.h>
#include <kilnmediatypes/TickTime.h>
#include <kilnmediatypes/TimeDisplay.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kilnmetadata {
class Path;
}

namespace KL {

// The metadata side of a media item: times, reels, XMP. Operations are in slot
// order.
class IMediaMetaData : public kilncore::classref::Unknown {
 public:
  ~IMediaMetaData() override;

  virtual bool CanWriteTimecode() const = 0;
  virtual int32_t SetTimeInfo(const RL::BinaryData& prefs, const kilnmediatypes::TickTime& origTime,
                              const kilnmediatypes::TickTime& altTime, const kilncore::WideString& origReel,
                              const kilncore::WideString& altReel, const kilncore::WideString& comment,
                              const kilnmediatypes::FrameRate& rate, bool dropFrame,
                              bool useAlternateStart) = 0;
  // The start time of the media.
  virtual kilnmediatypes::TickTime GetOrigTime() const = 0;
  virtual kilnmediatypes::TickTime GetAltTime() const = 0;
  virtual kilnmediatypes::TickTime GetAuxTime() const = 0;
  virtual kilncore::WideString GetLogComment() const = 0;
  virtual std::string GetAuxText() const = 0;
  virtual kilncore::WideString GetOrigReel() const = 0;
  virtual kilncore::WideString GetAltReel() const = 0;
  virtual bool GetIsDropFrame() const = 0;
  virtual bool MetaDataFalseA() const = 0;
  virtual kilnmediatypes::PixelAspectRatio GetPixelAspectRatio() const = 0;
  virtual kilnmediatypes::FieldType GetFieldType() const = 0;
  virtual bool GetUseAlternateStart() const = 0;
  virtual kilnmediatypes::TimeDisplay GetTimeDisplay() const = 0;
  virtual int32_t InjectMetadata(kilncore::classref::InterfaceRef<IClipLoggingInfo> info) = 0;
  virtual int32_t GetXMPCaptureProperties(RL::BinaryData& outProperties) = 0;
  virtual int32_t UpdateXMPMetadataFromMedia(bool force) = 0;
  // The item's XMP packet into `out`; the first three arguments belong to the
  // host.
  virtual int32_t ReadXMP(bool reservedA, bool reservedB, int32_t reservedC, RL::BinaryData& out) = 0;
  virtual int32_t WriteMetaDatum(const RL::BinaryData& prefs, MetaDataType type, void* value,
                                 const RL::BinaryData& key, bool flagA, bool flagB, int* outResult,
                                 const std::vector<kilnmetadata::Path>& paths) = 0;
  virtual std::vector<MediaSceneRecord> GetMediaScenes() = 0;
  virtual bool GetIsPreviewRenderNoAlphaDetected() = 0;
  // The state of the item's metadata under `key`, into `out`.
  virtual int32_t GetMetadataState(kilncore::utility::Guid& out, const std::string& key) = 0;
  virtual kilncore::utility::ImmutableString GetMetaDataStationID() const = 0;
  virtual bool CanWriteXMPToFile() const = 0;
  virtual bool CanWriteXMPToFileAlias() const = 0;

 protected:
  IMediaMetaData() = default;
};

}  // namespace KL
