#include <host/commands/SegmentsCommand.h>

#include <host/cli/CommandLine.h>
#include <host/cli/HostError.h>
#include <host/output/PngFile.h>
#include <host/session/FramePuller.h>
#include <host/session/HostSession.h>
#include <host/session/LinkedClip.h>

#include <TetherMedia/ITetherMediaInfo.h>
#include <TetherMedia/Prefs.h>

#include <KL/IMediaInfo.h>
#include <KL/IVideoSource.h>
#include <KL/IVideoStream.h>
#include <RL/IRenderableExtendedStillInfo.h>
#include <RL/ISmartRenderSegmentInfo.h>
#include <RL/MediaType.h>
#include <WF/CallbackInstanceIDMap.h>
#include <WF/VideoStreamWithSequenceFieldTypeSuiteObject.h>
#include <kilncore/string/UTFConversion.h>
#include <kilnmediatypes/PixelFormat.h>

#include <CLI/CLI.hpp>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <vector>

namespace tetherhost {

namespace {

using kilncore::classref::InterfaceRef;
using kilnmediatypes::TickTime;

constexpr int32_t kFileMissing = static_cast<int32_t>(0xA00F0003u);
// Accelerated ranges are found by asking for a format at every frame: about a
// second's work for this many, which bounds a sequence of absurd length.
constexpr int64_t kMaxProbedFrames = 1'000'000;

// "A-B" as two frame numbers, B above A.
std::pair<int64_t, int64_t> ParseRange(const std::string& text) {
  long long first = 0;
  long long last = 0;
  char rest = 0;
  if (std::sscanf(text.c_str(), "%lld-%lld%c", &first, &last, &rest) != 2 || first < 0 || last <= first) {
    throw std::invalid_argument("not a frame range A-B: " + text);
  }
  return {first, last};
}

// The linked sequence's video stream, opened as a host opens a clip it
// already has: its prefs name the item, so nothing is picked.
struct OpenedSequence {
  InterfaceRef<KL::IMediaInfo> item;
  RL::BinaryData prefs;
  InterfaceRef<KL::IVideoSource> video;
};

OpenedSequence OpenSequence(HostSession& session, const SegmentsOptions& options) {
  const kilncore::utility::Guid id(options.item);
  if (id.IsNil()) throw std::invalid_argument("not an item identifier: " + options.item);
  OpenedSequence opened;
  opened.prefs = TetherMedia::SourceIDToPrefs(id);
  bool prefsChanged = false;
  const int code = session.Module().ImportFile(opened.item, kilncore::string::UTF8to16(options.project.string()), 0, 0,
                                               opened.prefs, prefsChanged, /*hasPrefs=*/true,
                                               /*allowUserInterface=*/false, u"", 0, nullptr, 0, nullptr);
  if (code < 0 || !opened.item) {
    throw HostError("linking " + options.item + " of " + options.project.string() + " failed", code);
  }
  // Set before the stream exists, so that its first format query fetches
  // the ranges for this setting.
  if (const InterfaceRef<TetherMedia::ITetherMediaInfo> linked(opened.item); linked) {
    linked->SetUsePreviewFiles(options.previewFiles);
  }
  InterfaceRef<RL::ISource> stream;
  kilnmediatypes::FrameRate rate;
  if (const InterfaceRef<KL::IVideoSource> video = opened.item->GetStream(RL::kMediaType_Video, 0)) {
    video->GetFrameRate(rate);
  }
  HostError::ThrowIfFailed(
      opened.item->CreateSourceForStream(RL::kMediaType_Video, 0, opened.prefs, rate, u"", u"", u"", u"", stream),
      "opening the video stream");
  opened.video = InterfaceRef<KL::IVideoSource>(stream);
  return opened;
}

// A run of frames [start, end) and what holds there.
struct AcceleratedRun {
  int64_t start = 0;
  int64_t end = 0;
  kilnmediatypes::PixelFormat format;
};

std::string FourCCText(const kilnmediatypes::PixelFormat& format) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) text += static_cast<char>((format.fourcc >> shift) & 0xFF);
  return text;
}

// What the sequence tells a smart renderer, in frames.
struct Report {
  std::map<TickTime, RL::SmartRenderSegment> segments;
  std::vector<std::pair<TickTime, TickTime>> stills;
  std::vector<AcceleratedRun> accelerated;
  // The accelerated ranges stop short of the range's end (kMaxProbedFrames).
  bool acceleratedCut = false;
};

// The format settled for a float export at each frame of [first, last),
// gathered into runs: the accelerated ranges as the host meets them.
std::vector<AcceleratedRun> AcceleratedRuns(KL::IVideoSource& video, int64_t first, int64_t last,
                                            const kilnmediatypes::FrameRate& rate) {
  std::vector<AcceleratedRun> runs;
  for (int64_t frame = first; frame < last; ++frame) {
    const RL::FrameFormat format =
        WantedFormat(video, TickTime(frame, rate), kilnmediatypes::kPixelFormat_RGBA_4444_32f);
    if (!runs.empty() && runs.back().end == frame && runs.back().format == format.pixelFormat) {
      runs.back().end = frame + 1;
    } else {
      runs.push_back(AcceleratedRun{frame, frame + 1, format.pixelFormat});
    }
  }
  return runs;
}

// The per-clip stream that the segment holding `time` names, or null.
InterfaceRef<KL::IVideoSource> PerClipStreamAt(const Report& report, TickTime time) {
  for (const auto& [at, segment] : report.segments) {
    if (segment.StartTime > time || time >= segment.EndTime) continue;
    auto* suite = dynamic_cast<WF::VideoStreamWithSequenceFieldTypeSuiteObject*>(
        WF::FindCallbackInstance(segment.ClipID).Get());
    if (!suite || !suite->GetVideoStream()) return {};
    return suite->GetVideoStream()->GetVideoSource();
  }
  return {};
}

class Printer {
 public:
  explicit Printer(int64_t frameTicks) : mFrameTicks(frameTicks) {}

  long long Frames(TickTime time) const { return static_cast<long long>(time.GetTicks() / mFrameTicks); }

  std::string Text(const Report& report) const {
    std::string out = "segments (frames, clip stream instance id, media frames, file):\n";
    char line[256];
    for (const auto& [at, segment] : report.segments) {
      std::snprintf(line, sizeof(line), "  %lld-%lld  %d  %lld-%lld  ", Frames(segment.StartTime),
                    Frames(segment.EndTime), segment.ClipID, Frames(segment.MediaStartTime),
                    Frames(segment.MediaEndTime));
      out += line + kilncore::string::UTF16to8(segment.ClipPath) + "\n";
    }
    out += "still ranges (frames):\n";
    for (const auto& [first, last] : report.stills) {
      std::snprintf(line, sizeof(line), "  %lld-%lld\n", Frames(first), Frames(last));
      out += line;
    }
    out += "accelerated ranges (frames, pixel format of a float export):\n";
    if (report.acceleratedCut) {
      out += "  (the first " + std::to_string(kMaxProbedFrames) + " frames; --range shows others)\n";
    }
    for (const AcceleratedRun& run : report.accelerated) {
      std::snprintf(line, sizeof(line), "  %lld-%lld  %s\n", static_cast<long long>(run.start),
                    static_cast<long long>(run.end), FourCCText(run.format).c_str());
      out += line;
    }
    return out;
  }

  std::string Json(const Report& report) const {
    rapidjson::StringBuffer buffer;
    rapidjson::PrettyWriter<rapidjson::StringBuffer> json(buffer);
    const auto frames = [&](const char* key, TickTime time) {
      json.Key(key);
      json.Int64(Frames(time));
    };
    json.StartObject();
    json.Key("segments");
    json.StartArray();
    for (const auto& [at, segment] : report.segments) {
      json.StartObject();
      frames("start", segment.StartTime);
      frames("end", segment.EndTime);
      json.Key("clipStream");
      json.Int(segment.ClipID);
      frames("segmentOffset", segment.SegmentOffset);
      frames("clipStart", segment.ClipStartTime);
      frames("clipEnd", segment.ClipEndTime);
      frames("mediaStart", segment.MediaStartTime);
      frames("mediaEnd", segment.MediaEndTime);
      json.Key("file");
      json.String(kilncore::string::UTF16to8(segment.ClipPath));
      json.EndObject();
    }
    json.EndArray();
    json.Key("stillRanges");
    json.StartArray();
    for (const auto& [first, last] : report.stills) {
      json.StartObject();
      frames("start", first);
      frames("end", last);
      json.EndObject();
    }
    json.EndArray();
    json.Key("acceleratedRanges");
    json.StartArray();
    for (const AcceleratedRun& run : report.accelerated) {
      json.StartObject();
      json.Key("start");
      json.Int64(run.start);
      json.Key("end");
      json.Int64(run.end);
      json.Key("pixelFormat");
      json.String(FourCCText(run.format));
      json.EndObject();
    }
    json.EndArray();
    json.Key("acceleratedRangesCut");
    json.Bool(report.acceleratedCut);
    json.EndObject();
    return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
  }

 private:
  int64_t mFrameTicks;
};

}  // namespace

void AddSegmentsCommand(CommandLine& commandLine) {
  auto options = std::make_shared<SegmentsOptions>();
  CLI::App* command = commandLine.AddCommand(
      "segments", "print a linked sequence's smart-render segments, still ranges and accelerated ranges", [options] {
        HostSession session;
        return RunSegments(session, *options);
      });
  command->add_option("PROJECT", options->project, "the host project or Final Cut Pro XML file")->required();
  command->add_option("--item", options->item, "the sequence's identifier")->required();
  command->add_option("--range", options->range, "frames A-B, end exclusive (default: the whole sequence)");
  command->add_flag("--json", options->json, "print one JSON object instead of lines for people");
  command->add_flag("--preview-files", options->previewFiles, "play from preview files, as the host may");
  CLI::Option* frame = command->add_option("--frame", options->frame,
                                           "write this frame of the per-clip stream of the segment that holds it");
  CLI::Option* out = command->add_option("--out", options->out, "the PNG file of --frame");
  frame->needs(out);
  out->needs(frame);
}

int RunSegments(HostSession& session, const SegmentsOptions& options) {
  if (!std::filesystem::exists(options.project)) {
    throw HostError("no such file: " + options.project.string(), kFileMissing);
  }
  const auto range = options.range.empty() ? std::pair<int64_t, int64_t>{0, -1} : ParseRange(options.range);
  if (!options.out.empty() && options.frame < 0) throw std::invalid_argument("--frame needs a frame number of 0 or more");
  return session.RunWithUserInterface([&] {
    const OpenedSequence opened = OpenSequence(session, options);
    KL::IVideoSource& video = *opened.video;
    kilnmediatypes::FrameRate rate;
    video.GetFrameRate(rate);
    TickTime duration;
    InterfaceRef<RL::ISource>(opened.video)->GetDuration(duration);
    const int64_t frameTicks = rate.HasRate() ? rate.GetTicksPerFrame() : 1;
    const int64_t firstFrame = range.first;
    const int64_t lastFrame = range.second < 0 ? duration.GetTicks() / frameTicks : range.second;
    const TickTime start(firstFrame * frameTicks);
    const TickTime end(lastFrame * frameTicks);

    Report report;
    InterfaceRef<RL::ISmartRenderSegmentInfo>(opened.video)
        ->DetermineSmartRenderSegmentsInRange(start, end, kilnmediatypes::kPixelFormat_BGRA_4444_8u, false, false, 0,
                                              report.segments);
    InterfaceRef<RL::IRenderableExtendedStillInfo>(opened.video)->GetStillRangesInRange(start, end, report.stills);
    report.acceleratedCut = lastFrame - firstFrame > kMaxProbedFrames;
    report.accelerated = AcceleratedRuns(video, firstFrame, std::min(lastFrame, firstFrame + kMaxProbedFrames), rate);
    const Printer printer(frameTicks);
    std::string text = options.json ? printer.Json(report) : printer.Text(report);

    if (!options.out.empty()) {
      const InterfaceRef<KL::IVideoSource> perClip = PerClipStreamAt(report, TickTime(options.frame * frameTicks));
      if (!perClip) {
        throw HostError("no segment holds frame " + std::to_string(options.frame) +
                        ": no clip's media is taken over there, so no per-clip stream draws it");
      }
      FramePuller puller(*perClip, opened.prefs, rate, kilnmediatypes::kPixelFormat_BGRA_4444_8u, 0, 0);
      PngFile::Write(options.out, puller.Pull(options.frame));
      if (!options.json) text += "frame " + std::to_string(options.frame) + " of its clip's stream: " + options.out.string() + "\n";
    }
    std::fputs(text.c_str(), stdout);
    return 0;
  });
}

}  // namespace tetherhost
