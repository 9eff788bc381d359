#pragma once

#include <source/AcceleratedRange.h>

#include <RL/SmartRenderSegment.h>

#include <kilncore/async/Promise.h>
#include <kilncore/serialization/JSONTypes.h>
#include <kilnmediatypes/PixelFormat.h>
#include <kilnmediatypes/TickTime.h>
#include <tether/Source.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace TetherMedia {

// The named calls that a host project's own server answers through
// tether::Source::SendRequest, and the readers of their replies.
//
// A call's arguments always begin with the project path (the UTF-8 full path
// of the source's parent project file) and the source's identifier text. A
// time travels as {"ticks": n}, a pixel format as {"fourcc": n,
// "properties": n}. Every reply is an object whose "value" is an array of
// two-element arrays; a reply without "value" is an empty result.
//
// Reading: an integer may come as a 32-bit or 64-bit value, signed or not; a
// missing key reads as 0 or as an empty string; a value of another type throws
// std::bad_any_cast. A pixel format without "properties" gets
// kDefaultPixelFormatProperties. Of two entries with the same key, the first
// stays.
class NamedRequests {
 public:
  using JSONValuePtr = kilncore::serialization::JSONValuePtr;
  using TimeRange = std::pair<kilnmediatypes::TickTime, kilnmediatypes::TickTime>;
  using SegmentMap = std::map<kilnmediatypes::TickTime, RL::SmartRenderSegment>;
  using AcceleratedMap = std::map<kilnmediatypes::TickTime, AcceleratedRange>;

  static constexpr std::string_view kSmartRenderSegments =
      "com.veldmoor.tether.Tolmen.DetermineSmartRenderSegmentsInRange";
  static constexpr std::string_view kAcceleratedTimelineData =
      "com.veldmoor.tether.Tolmen.GetAcceleratedRendererTimelineData";
  static constexpr std::string_view kStillRanges = "com.veldmoor.tether.Tolmen.GetStillRanges";
  static constexpr std::string_view kMaximumRenderQuality = "com.veldmoor.tether.Tolmen.GetMaximumRenderQuality";
  // What a pixel format object without "properties" stands for.
  static constexpr uint32_t kDefaultPixelFormatProperties = 0x78000;

  // --- Calls.

  static JSONValuePtr BuildSmartRenderSegmentsCall(const tether::Source& source, kilnmediatypes::TickTime start,
                                                   kilnmediatypes::TickTime end,
                                                   const kilnmediatypes::PixelFormat& format, bool flagA, bool flagB);
  static JSONValuePtr BuildAcceleratedTimelineDataCall(const tether::Source& source, bool usePreviewFiles);
  static JSONValuePtr BuildStillRangesCall(const tether::Source& source);
  static JSONValuePtr BuildMaximumRenderQualityCall(const tether::Source& source);

  // --- Binding a call's answer to the promise of its wait.

  using ReplyReader = std::function<void(const std::shared_ptr<std::any>& reply)>;

  // The reply callback of the call `name`: runs `read` on the reply and
  // completes `promise`; a reply that `read` can't take (std::bad_any_cast)
  // fails it with kMalformedReply, so that the wait ends at once.
  static tether::Source::ReplyCallback CompleteWithReply(const kilncore::async::Promise<void>& promise,
                                                         std::string_view name, ReplyReader read);
  // The error callback: fails `promise` with the server's code and message.
  static tether::Source::ErrorCallback FailWithError(const kilncore::async::Promise<void>& promise);

  // The code of a reply that doesn't have the form of its call's answer.
  static constexpr int32_t kMalformedReply = static_cast<int32_t>(0xA00F0001u);

  // --- Replies. Each throws std::bad_any_cast on a value of the wrong type.

  static SegmentMap ReadSegments(const std::shared_ptr<std::any>& reply);
  static AcceleratedMap ReadAcceleratedRanges(const std::shared_ptr<std::any>& reply);
  static std::vector<TimeRange> ReadStillRanges(const std::shared_ptr<std::any>& reply);
  // The reply's "value" as a bool; false when there is none.
  static bool ReadBool(const std::shared_ptr<std::any>& reply);

  // --- The element forms, for the server side and for tests.

  static JSONValuePtr TimeToTree(kilnmediatypes::TickTime time);
  static JSONValuePtr PixelFormatToTree(const kilnmediatypes::PixelFormat& format);
  static kilnmediatypes::TickTime ReadTime(const JSONValuePtr& value);
  static kilnmediatypes::PixelFormat ReadPixelFormat(const JSONValuePtr& value);
  // An integer member of `object`: 0 if missing.
  static int64_t ReadInteger(const JSONValuePtr& object, std::string_view key);
};

}  // namespace TetherMedia
