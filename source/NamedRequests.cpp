#include <source/NamedRequests.h>

#include <kilncore/config/KilnException.h>
#include <kilncore/serialization/JSONAccess.h>
#include <kilncore/serialization/JSONBuild.h>
#include <kilncore/string/UTFConversion.h>

#include <any>
#include <cstdint>

namespace TetherMedia {

namespace json = kilncore::serialization;
using kilnmediatypes::PixelFormat;
using kilnmediatypes::TickTime;
using JSONValuePtr = NamedRequests::JSONValuePtr;

namespace {

// The arguments every call begins with: which project, which item.
JSONValuePtr ItemArguments(const tether::Source& source) {
  JSONValuePtr arguments = json::MakeJSONArray();
  json::AppendToArray(arguments, kilncore::string::UTF16to8(source.GetParentProjectFile().FullPath()));
  json::AppendToArray(arguments, source.GetID().AsUTF8String());
  return arguments;
}

// An integer as a server may store it: 32 or 64 bits, signed or not.
int64_t IntegerOf(const std::any& value) {
  if (const auto* v = std::any_cast<int32_t>(&value)) return *v;
  if (const auto* v = std::any_cast<int64_t>(&value)) return *v;
  if (const auto* v = std::any_cast<uint32_t>(&value)) return *v;
  return static_cast<int64_t>(std::any_cast<uint64_t>(value));
}

std::string StringMember(const JSONValuePtr& object, std::string_view key) {
  const JSONValuePtr value = json::GetVariantInObject(object, key);
  return value ? std::any_cast<const std::string&>(*value) : std::string();
}

TickTime TimeMember(const JSONValuePtr& object, std::string_view key) {
  return NamedRequests::ReadTime(json::GetVariantInObject(object, key));
}

const json::JSONArray& ArrayOf(const JSONValuePtr& value) { return std::any_cast<const json::JSONArray&>(*value); }

// Calls `read(first, second)` for each pair of the reply's "value"; nothing
// without one.
template <class Read>
void ForEachPair(const std::shared_ptr<std::any>& reply, Read read) {
  const JSONValuePtr value = json::GetVariantInObject(reply, "value");
  if (!value) return;
  for (const JSONValuePtr& entry : ArrayOf(value)) {
    const json::JSONArray& pair = ArrayOf(entry);
    if (pair.size() != 2) throw std::bad_any_cast();
    read(pair[0], pair[1]);
  }
}

RL::SmartRenderSegment ReadSegment(const JSONValuePtr& object) {
  RL::SmartRenderSegment segment;
  segment.ClipID = static_cast<int32_t>(NamedRequests::ReadInteger(object, "ClipID"));
  segment.StartTime = TimeMember(object, "StartTime");
  segment.EndTime = TimeMember(object, "EndTime");
  segment.SegmentOffset = TimeMember(object, "SegmentOffset");
  segment.ClipStartTime = TimeMember(object, "ClipStartTime");
  segment.ClipEndTime = TimeMember(object, "ClipEndTime");
  segment.ClipPath = kilncore::string::UTF8to16(StringMember(object, "ClipPath"));
  segment.MediaStartTime = TimeMember(object, "MediaStartTime");
  segment.MediaEndTime = TimeMember(object, "MediaEndTime");
  return segment;
}

AcceleratedRange ReadAcceleratedRange(const JSONValuePtr& object) {
  AcceleratedRange range;
  range.StartTime = TimeMember(object, "StartTime");
  range.EndTime = TimeMember(object, "EndTime");
  if (const JSONValuePtr formats = json::GetVariantInObject(object, "PixelFormats")) {
    for (const JSONValuePtr& format : ArrayOf(formats)) range.PixelFormats.push_back(NamedRequests::ReadPixelFormat(format));
  }
  return range;
}

}  // namespace

tether::Source::ReplyCallback NamedRequests::CompleteWithReply(const kilncore::async::Promise<void>& promise,
                                                               std::string_view name, ReplyReader read) {
  return [promise, name = std::string(name), read = std::move(read)](std::shared_ptr<std::any> reply, int64_t) {
    try {
      read(reply);
      promise.SetSuccess();
    } catch (const std::bad_any_cast&) {
      promise.SetException(
          std::make_exception_ptr(kilncore::config::kiln_exception("Malformed reply to " + name, kMalformedReply)));
    }
  };
}

tether::Source::ErrorCallback NamedRequests::FailWithError(const kilncore::async::Promise<void>& promise) {
  return [promise](int code, const kilncore::WideString& message, int64_t) {
    promise.SetException(
        std::make_exception_ptr(kilncore::config::kiln_exception(kilncore::string::UTF16to8(message), code)));
  };
}

JSONValuePtr NamedRequests::BuildSmartRenderSegmentsCall(const tether::Source& source, TickTime start, TickTime end,
                                                         const PixelFormat& format, bool flagA, bool flagB) {
  JSONValuePtr arguments = ItemArguments(source);
  json::AppendToArray(arguments, TimeToTree(start));
  json::AppendToArray(arguments, TimeToTree(end));
  json::AppendToArray(arguments, PixelFormatToTree(format));
  json::AppendToArray(arguments, std::any(flagA));
  json::AppendToArray(arguments, std::any(flagB));
  return json::BuildCall(kSmartRenderSegments, arguments);
}

JSONValuePtr NamedRequests::BuildAcceleratedTimelineDataCall(const tether::Source& source, bool usePreviewFiles) {
  JSONValuePtr arguments = ItemArguments(source);
  json::AppendToArray(arguments, std::any(usePreviewFiles));
  return json::BuildCall(kAcceleratedTimelineData, arguments);
}

JSONValuePtr NamedRequests::BuildStillRangesCall(const tether::Source& source) {
  return json::BuildCall(kStillRanges, ItemArguments(source));
}

JSONValuePtr NamedRequests::BuildMaximumRenderQualityCall(const tether::Source& source) {
  return json::BuildCall(kMaximumRenderQuality, ItemArguments(source));
}

NamedRequests::SegmentMap NamedRequests::ReadSegments(const std::shared_ptr<std::any>& reply) {
  SegmentMap segments;
  ForEachPair(reply, [&](const JSONValuePtr& key, const JSONValuePtr& segment) {
    segments.emplace(ReadTime(key), ReadSegment(segment));
  });
  return segments;
}

NamedRequests::AcceleratedMap NamedRequests::ReadAcceleratedRanges(const std::shared_ptr<std::any>& reply) {
  AcceleratedMap ranges;
  ForEachPair(reply, [&](const JSONValuePtr& key, const JSONValuePtr& range) {
    ranges.emplace(ReadTime(key), ReadAcceleratedRange(range));
  });
  return ranges;
}

std::vector<NamedRequests::TimeRange> NamedRequests::ReadStillRanges(const std::shared_ptr<std::any>& reply) {
  std::vector<TimeRange> ranges;
  ForEachPair(reply, [&](const JSONValuePtr& start, const JSONValuePtr& end) {
    ranges.emplace_back(ReadTime(start), ReadTime(end));
  });
  return ranges;
}

bool NamedRequests::ReadBool(const std::shared_ptr<std::any>& reply) {
  const JSONValuePtr value = json::GetVariantInObject(reply, "value");
  return value ? std::any_cast<bool>(*value) : false;
}

JSONValuePtr NamedRequests::TimeToTree(TickTime time) {
  JSONValuePtr object = json::MakeJSONObject();
  json::AddToObject(object, "ticks", std::any(time.GetTicks()));
  return object;
}

JSONValuePtr NamedRequests::PixelFormatToTree(const PixelFormat& format) {
  JSONValuePtr object = json::MakeJSONObject();
  json::AddToObject(object, "fourcc", std::any(format.fourcc));
  json::AddToObject(object, "properties", std::any(format.properties));
  return object;
}

TickTime NamedRequests::ReadTime(const JSONValuePtr& value) { return TickTime(ReadInteger(value, "ticks")); }

PixelFormat NamedRequests::ReadPixelFormat(const JSONValuePtr& value) {
  const JSONValuePtr properties = json::GetVariantInObject(value, "properties");
  return PixelFormat(static_cast<uint32_t>(ReadInteger(value, "fourcc")),
                     properties ? static_cast<uint32_t>(IntegerOf(*properties)) : kDefaultPixelFormatProperties);
}

int64_t NamedRequests::ReadInteger(const JSONValuePtr& object, std::string_view key) {
  const JSONValuePtr value = json::GetVariantInObject(object, key);
  return value ? IntegerOf(*value) : 0;
}

}  // namespace TetherMedia
