#pragma once

#include <KL/VideoFormatRecord.h>

#include <RL/BinaryData.h>
#include <RL/FrameFormat.h>
#include <RL/IPane.h>
#include <RL/RectT.h>

#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/classref/Unknown.h>
#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>
#include <kilncore/utility/ImmutableString.h>
#include <kilnmediatypes/ColorProfile.h>
#include <kilnmediatypes/FieldType.h>
#include <kilnmediatypes/FrameRate.h>
#include <kilnmediatypes/PAR.h>
#include <kilnmediatypes/PixelFormat.h>
#include <kilnmediatypes/TickTime.h>
#include <kilnmediatypes/color/ColorSpace.h>

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace KL {

// The video stream of a media item: its format, and frames on request.
//
// Operations are in the order of the interface's slots; an implementation must
// keep that order. Results of int32_t are 0 or above on success. Operations
// whose purpose belongs to the host alone are named by what they answer
// (VideoQueryA answers a yes/no question, VideoCountA a number, ...).
class IVideoSource : public kilncore::classref::Unknown {
 public:
  using Frame = kilncore::classref::InterfaceRef<RL::IPane>;
  using TimeSpan = std::pair<kilnmediatypes::TickTime, kilnmediatypes::TickTime>;

  ~IVideoSource() override;

  virtual int32_t GetFrameRate(kilnmediatypes::FrameRate& out) = 0;
  virtual int32_t GetFrameSize(RL::RectT<int>& out) = 0;
  virtual int32_t GetVideoKind() = 0;
  virtual int32_t GetVideoExtent(std::pair<int64_t, int64_t>& out) = 0;
  virtual int32_t GetPixelAspectRatio(kilnmediatypes::PixelAspectRatio& out) = 0;
  virtual bool VideoQueryA() = 0;
  virtual kilnmediatypes::FieldType GetFieldType() = 0;
  virtual kilnmediatypes::FieldType GetNativeFieldType() = 0;
  virtual bool VideoQueryB() = 0;
  // How the frames carry alpha; 3 is a matted alpha.
  virtual int32_t GetAlphaKind() = 0;
  virtual bool VideoQueryC() = 0;
  virtual bool HasMatteAlpha() = 0;
  // The matte colour as the bytes R, G, B.
  virtual int32_t GetAlphaMatteColor(std::array<uint8_t, 3>& out) = 0;
  virtual bool VideoQueryD() = 0;
  virtual int32_t GetNativePixelFormats(std::vector<kilnmediatypes::PixelFormat>& out) = 0;
  virtual void VideoNoOpA() = 0;
  virtual void SetSequenceTag(uint32_t tag) = 0;
  virtual bool MatchesSequenceTag(uint32_t tag) = 0;
  virtual bool GetAlternateIdentifier(kilncore::utility::Guid& out) = 0;
  virtual bool VideoQueryE() = 0;
  // A four-character code of the kind of source, first character in the high
  // byte.
  virtual uint32_t GetSourceCode() = 0;
  virtual int32_t GetSourceDescription(kilncore::WideString& out) = 0;
  virtual bool VideoQueryF() = 0;
  virtual int32_t AttachFrameA(kilnmediatypes::TickTime time, const RL::FrameFormat& format, Frame frame) = 0;
  virtual bool VideoQueryG() = 0;
  virtual int32_t AttachFrameB(kilnmediatypes::TickTime time, const RL::FrameFormat& format, Frame frame) = 0;
  // GetFrame with a hint about how the frame will be used.
  virtual int32_t GetFrameWithHint(kilnmediatypes::TickTime time, const RL::FrameFormat& format,
                                   const RL::BinaryData& prefs, int32_t hint, bool cacheOnly,
                                   Frame& outFrame) = 0;
  // The frame at `time` in `format`, rendered with the item's `prefs`. With
  // `cacheOnly`, only a frame that is ready at once is given.
  virtual int32_t GetFrame(kilnmediatypes::TickTime time, const RL::FrameFormat& format,
                           const RL::BinaryData& prefs, bool cacheOnly, Frame& outFrame) = 0;
  virtual bool VideoQueryH() = 0;
  virtual bool VideoQueryI() = 0;
  virtual int32_t VideoCountA() = 0;
  virtual int32_t GetVideoOffset(int64_t& out) = 0;
  virtual bool VideoQueryJ() = 0;
  virtual int32_t SelectFrameFormatWithHint(kilnmediatypes::TickTime time, RL::FrameFormat& inOutFormat,
                                            int32_t hint) = 0;
  // Makes the wanted `inOutFormat` into what will really be delivered at `time`.
  virtual int32_t SelectFrameFormat(kilnmediatypes::TickTime time, RL::FrameFormat& inOutFormat) = 0;
  // The identifier of the frame at `time` in `format` with `prefs`: equal for
  // equal pixels, the key of the host's frame cache.
  virtual int32_t GetIdentifierForSourceVideo(kilncore::utility::Guid& out, kilnmediatypes::TickTime time,
                                              const RL::FrameFormat& format, const RL::BinaryData& prefs) = 0;
  virtual int32_t GetDefaultIdentifier(kilncore::utility::Guid& out) = 0;
  // Changes whenever the stream's content changes.
  virtual int32_t GetContentState(kilncore::utility::Guid& out) = 0;
  virtual bool IsColorManagedExternally() = 0;
  virtual bool HasColorSpace() = 0;
  virtual int32_t GetColorSpace(kilnmediatypes::color::ColorSpace& out) = 0;
  virtual int32_t AppendColorSpaces(const RL::BinaryData& prefs,
                                    std::vector<kilnmediatypes::color::ColorSpace>& inOut) = 0;
  virtual int32_t GetDefaultColorSpaceA(kilnmediatypes::color::ColorSpace& out) = 0;
  virtual int32_t GetPreferredColorSpace(kilnmediatypes::color::ColorSpace& out) = 0;
  virtual bool VideoQueryK() = 0;
  virtual int32_t GetVideoSpan(TimeSpan& out, kilnmediatypes::TickTime a, kilnmediatypes::TickTime b,
                               bool& outFlag) = 0;
  virtual int32_t GetVideoLabel(kilncore::utility::ImmutableString& out) = 0;
  virtual int32_t VideoCountB() = 0;
  virtual int32_t VideoCountC() = 0;
  virtual int32_t VideoCountD() = 0;
  virtual int32_t VideoCountE() = 0;
  virtual bool VideoQueryL() = 0;
  virtual int32_t GetVideoFormatRecord(VideoFormatRecord& out) = 0;
  virtual int32_t VideoCountF() = 0;
  // The font state that the frames were made with.
  virtual int32_t GetRuntimeFontGuid(kilncore::utility::Guid& out) = 0;
  virtual bool VideoQueryM() = 0;
  virtual int32_t GetDefaultColorSpaceB(kilnmediatypes::color::ColorSpace& out) = 0;
  virtual int32_t GetColorProfile(kilnmediatypes::ColorProfile& out) = 0;
  virtual int32_t GetDefaultIdentifierB(kilncore::utility::Guid& out) = 0;
  virtual bool VideoQueryN() = 0;

 protected:
  IVideoSource() = default;
};

}  // namespace KL
