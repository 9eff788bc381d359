// The named requests of a host project's sequence: smart-render segments,
// the accelerated renderer's pixel formats by time, still ranges and the
// maximum render quality. Rules in docs/protocol.md, "Named requests of host
// project sequences".

#include <server/tolmen/SequenceItem.h>

#include <kilncore/string/UTFConversion.h>
#include <kilnmediatypes/PixelFormat.h>

#include <functional>
#include <map>
#include <stdexcept>
#include <vector>

namespace tetherserver {

namespace {

using kilnmediatypes::MakeFourCC;
using tether::AnyArray;
using tether::AnyObject;
using tether::AnyValue;
using tether::MakeAny;

// Arguments that aren't what the call asks for.
class MalformedArguments : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

const AnyArray& ArgumentsOf(const AnyValue& arguments, size_t count, const std::string& name) {
  const auto* array = arguments ? std::any_cast<AnyArray>(arguments.get()) : nullptr;
  if (!array || array->size() != count) {
    throw MalformedArguments(name + " takes " + std::to_string(count) + " arguments");
  }
  return *array;
}

int64_t IntegerOf(const AnyValue& value, const char* what) {
  if (value) {
    if (const auto* v = std::any_cast<int32_t>(value.get())) return *v;
    if (const auto* v = std::any_cast<int64_t>(value.get())) return *v;
    if (const auto* v = std::any_cast<uint32_t>(value.get())) return *v;
    if (const auto* v = std::any_cast<uint64_t>(value.get()); v && *v <= uint64_t{INT64_MAX}) {
      return static_cast<int64_t>(*v);
    }
  }
  throw MalformedArguments(std::string(what) + " is not an integer");
}

const AnyObject& ObjectOf(const AnyValue& value, const char* what) {
  const auto* object = value ? std::any_cast<AnyObject>(value.get()) : nullptr;
  if (!object) throw MalformedArguments(std::string(what) + " is not an object");
  return *object;
}

int64_t MemberOf(const AnyValue& value, const char* key, const char* what) {
  const AnyObject& object = ObjectOf(value, what);
  const auto found = object.find(key);
  if (found == object.end()) throw MalformedArguments(std::string(what) + " has no \"" + key + "\"");
  return IntegerOf(found->second, what);
}

bool BoolOf(const AnyValue& value, const char* what) {
  const auto* flag = value ? std::any_cast<bool>(value.get()) : nullptr;
  if (!flag) throw MalformedArguments(std::string(what) + " is not a boolean");
  return *flag;
}

std::string StringOf(const AnyValue& value, const char* what) {
  const auto* text = value ? std::any_cast<std::string>(value.get()) : nullptr;
  if (!text) throw MalformedArguments(std::string(what) + " is not a string");
  return *text;
}

AnyValue Time(int64_t ticks) { return MakeAny(AnyObject{{"ticks", MakeAny(ticks)}}); }

AnyValue Pair(AnyValue first, AnyValue second) { return MakeAny(AnyArray{std::move(first), std::move(second)}); }

AnyValue FormatOf(uint32_t fourcc) {
  return MakeAny(AnyObject{{"fourcc", MakeAny(fourcc)}, {"properties", MakeAny(uint32_t{0})}});
}

}  // namespace

int32_t SequenceItem::AnswerRequest(const std::string& name, const AnyValue& arguments, AnyValue& reply,
                                    std::string& message) const {
  static const std::map<std::string, std::pair<size_t, int>> kCalls{
      {"com.veldmoor.tether.Tolmen.DetermineSmartRenderSegmentsInRange", {7, 0}},
      {"com.veldmoor.tether.Tolmen.GetAcceleratedRendererTimelineData", {3, 1}},
      {"com.veldmoor.tether.Tolmen.GetStillRanges", {2, 2}},
      {"com.veldmoor.tether.Tolmen.GetMaximumRenderQuality", {2, 3}}};
  const auto call = kCalls.find(name);
  if (call == kCalls.end()) return SessionItem::AnswerRequest(name, arguments, reply, message);
  try {
    const AnyArray& args = ArgumentsOf(arguments, call->second.first, name);
    // The first two arguments name the item: its project and its identifier.
    if (StringOf(args[0], "the project path") != kilncore::string::UTF16to8(mProjectFile.FullPath()) ||
        kilncore::utility::Guid(StringOf(args[1], "the source id")) != mView.id) {
      throw MalformedArguments(name + " names another item than this one");
    }
    AnyArray value;
    switch (call->second.second) {
      case 0: {
        const int64_t start = MemberOf(args[2], "ticks", "the start time");
        const int64_t end = MemberOf(args[3], "ticks", "the end time");
        MemberOf(args[4], "fourcc", "the pixel format");
        BoolOf(args[5], "the first flag");
        BoolOf(args[6], "the second flag");
        value = SmartRenderSegments(start, end);
        break;
      }
      case 1:
        value = AcceleratedRanges(BoolOf(args[2], "the preview-files flag"));
        break;
      case 2:
        value = StillRanges();
        break;
      default:
        reply = MakeAny(AnyObject{{"value", MakeAny(mTimeline.GetSequence().maximumRenderQuality)}});
        return 0;
    }
    reply = MakeAny(AnyObject{{"value", MakeAny(std::move(value))}});
    return 0;
  } catch (const MalformedArguments& error) {
    message = error.what();
    return kMalformedRequest;
  }
}

bool SequenceItem::TakesOverMedia(const ProjectXML::Clip& clip, int64_t frame) const {
  if (clip.still) return false;
  const auto image = mMedia->FindImage(mTimeline.MediaPathAt(clip, frame));
  return image && image->width == mView.width && image->height == mView.height;
}

tether::AnyArray SequenceItem::SmartRenderSegments(int64_t startTicks, int64_t endTicks) const {
  AnyArray segments;
  const int64_t from = std::max<int64_t>(0, mTimeline.TicksToFrame(startTicks));
  const int64_t to = std::min(mTimeline.DurationFrames(),
                              endTicks > startTicks ? mTimeline.TicksToFrame(endTicks - 1) + 1 : from);
  if (from >= to) return segments;
  const std::vector<int64_t> cuts = mTimeline.CutsBetween(from, to);
  for (size_t i = 0; i + 1 < cuts.size();) {
    const ProjectXML::Clip* clip = mTimeline.TopmostVideoClipAt(cuts[i]);
    size_t j = i + 1;
    // One segment while the same clip stays on top.
    while (j + 1 < cuts.size() && mTimeline.TopmostVideoClipAt(cuts[j]) == clip) ++j;
    if (clip && TakesOverMedia(*clip, cuts[i])) {
      const int64_t a = cuts[i];
      const int64_t b = cuts[j];
      const int64_t media = SequenceTimeline::MediaFrameAt(*clip, a);
      const auto ticks = [this](int64_t frames) { return Time(mTimeline.FramesToTicks(frames)); };
      AnyObject segment{{"ClipID", MakeAny(static_cast<int64_t>(clip->id))},
                        {"StartTime", ticks(a)},
                        {"EndTime", ticks(b)},
                        {"SegmentOffset", ticks(a - clip->start)},
                        {"ClipStartTime", ticks(clip->start)},
                        {"ClipEndTime", ticks(SequenceTimeline::EndOf(*clip))},
                        {"ClipPath", MakeAny(mTimeline.MediaPathAt(*clip, a))},
                        {"MediaStartTime", ticks(media)},
                        {"MediaEndTime", ticks(media + (b - a))}};
      segments.push_back(Pair(ticks(a), MakeAny(std::move(segment))));
    }
    i = j;
  }
  return segments;
}

tether::AnyArray SequenceItem::AcceleratedRanges(bool usePreviewFiles) const {
  AnyArray ranges;
  const std::vector<int64_t> cuts = mTimeline.CutsBetween(0, mTimeline.DurationFrames());
  for (size_t i = 0; i + 1 < cuts.size(); ++i) {
    const ProjectXML::Clip* clip = mTimeline.TopmostVideoClipAt(cuts[i]);
    // A preview file stands where media is taken over: 8-bit only there.
    const bool preview = usePreviewFiles && clip && TakesOverMedia(*clip, cuts[i]);
    AnyArray formats{FormatOf(MakeFourCC('B', 'G', 'R', 'A'))};
    if (!preview) formats.push_back(FormatOf(MakeFourCC('R', 'G', 'B', 'F')));
    const AnyValue start = Time(mTimeline.FramesToTicks(cuts[i]));
    ranges.push_back(Pair(start, MakeAny(AnyObject{{"StartTime", start},
                                                   {"EndTime", Time(mTimeline.FramesToTicks(cuts[i + 1]))},
                                                   {"PixelFormats", MakeAny(std::move(formats))}})));
  }
  return ranges;
}

tether::AnyArray SequenceItem::StillRanges() const {
  AnyArray ranges;
  const std::vector<int64_t> cuts = mTimeline.CutsBetween(0, mTimeline.DurationFrames());
  int64_t open = -1;
  for (size_t i = 0; i < cuts.size(); ++i) {
    const ProjectXML::Clip* clip = i + 1 < cuts.size() ? mTimeline.TopmostVideoClipAt(cuts[i]) : nullptr;
    const bool still = clip && clip->still;
    if (still && open < 0) open = cuts[i];
    if (!still && open >= 0) {
      ranges.push_back(Pair(Time(mTimeline.FramesToTicks(open)), Time(mTimeline.FramesToTicks(cuts[i]))));
      open = -1;
    }
  }
  return ranges;
}

}  // namespace tetherserver
