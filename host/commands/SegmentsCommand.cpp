#include <host/commands/SegmentsCommand.h>

#include <host/cli/CommandLine.h>
#include <host/cli/HostError.h>
#include <host/session/HostSession.h>

#include <TetherMedia/Prefs.h>

#include <KL/IMediaInfo.h>
#include <KL/IVideoSource.h>
#include <RL/IRenderableExtendedStillInfo.h>
#include <RL/ISmartRenderSegmentInfo.h>
#include <RL/MediaType.h>
#include <kilncore/string/UTFConversion.h>
#include <kilnmediatypes/PixelFormat.h>

#include <CLI/CLI.hpp>

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

// The linked clip's video stream, opened as a host opens a clip it already
// has: its prefs name the item, so nothing is picked.
InterfaceRef<KL::IVideoSource> OpenSequence(HostSession& session, const SegmentsOptions& options) {
  const kilncore::utility::Guid id(options.item);
  if (id.IsNil()) throw std::invalid_argument("not an item identifier: " + options.item);
  RL::BinaryData prefs = TetherMedia::SourceIDToPrefs(id);
  bool prefsChanged = false;
  InterfaceRef<KL::IMediaInfo> item;
  const int code = session.Module().ImportFile(item, kilncore::string::UTF8to16(options.project.string()), 0, 0,
                                               prefs, prefsChanged, /*hasPrefs=*/true,
                                               /*allowUserInterface=*/false, u"", 0, nullptr, 0, nullptr);
  if (code < 0 || !item) throw HostError("linking " + options.item + " of " + options.project.string() + " failed", code);
  InterfaceRef<RL::ISource> stream;
  kilnmediatypes::FrameRate rate;
  if (const InterfaceRef<KL::IVideoSource> video = item->GetStream(RL::kMediaType_Video, 0)) video->GetFrameRate(rate);
  HostError::ThrowIfFailed(
      item->CreateSourceForStream(RL::kMediaType_Video, 0, prefs, rate, u"", u"", u"", u"", stream),
      "opening the video stream");
  return InterfaceRef<KL::IVideoSource>(stream);
}

}  // namespace

void AddSegmentsCommand(CommandLine& commandLine) {
  auto options = std::make_shared<SegmentsOptions>();
  CLI::App* command = commandLine.AddCommand("segments", "print a linked sequence's smart-render segments and still ranges", [options] {
    HostSession session;
    return RunSegments(session, *options);
  });
  command->add_option("PROJECT", options->project, "the host project or Final Cut Pro XML file")->required();
  command->add_option("--item", options->item, "the sequence's identifier")->required();
  command->add_option("--range", options->range, "frames A-B, end exclusive (default: the whole sequence)");
}

int RunSegments(HostSession& session, const SegmentsOptions& options) {
  if (!std::filesystem::exists(options.project)) {
    throw HostError("no such file: " + options.project.string(), kFileMissing);
  }
  const auto range = options.range.empty() ? std::pair<int64_t, int64_t>{0, -1} : ParseRange(options.range);
  return session.RunWithUserInterface([&] {
    const InterfaceRef<KL::IVideoSource> video = OpenSequence(session, options);
    kilnmediatypes::FrameRate rate;
    video->GetFrameRate(rate);
    TickTime duration;
    InterfaceRef<RL::ISource>(video)->GetDuration(duration);
    const int64_t frameTicks = rate.HasRate() ? rate.GetTicksPerFrame() : 1;
    const TickTime start(range.first * frameTicks);
    const TickTime end = range.second < 0 ? duration : TickTime(range.second * frameTicks);
    const auto frames = [&](TickTime time) { return static_cast<long long>(time.GetTicks() / frameTicks); };

    std::map<TickTime, RL::SmartRenderSegment> segments;
    InterfaceRef<RL::ISmartRenderSegmentInfo>(video)->DetermineSmartRenderSegmentsInRange(
        start, end, kilnmediatypes::kPixelFormat_BGRA_4444_8u, false, false, 0, segments);
    std::printf("segments (frames, clip stream instance id, media frames, file):\n");
    for (const auto& [at, segment] : segments) {
      std::printf("  %lld-%lld  %d  %lld-%lld  %s\n", frames(segment.StartTime), frames(segment.EndTime),
                  segment.ClipID, frames(segment.MediaStartTime), frames(segment.MediaEndTime),
                  kilncore::string::UTF16to8(segment.ClipPath).c_str());
    }
    std::vector<std::pair<TickTime, TickTime>> stills;
    InterfaceRef<RL::IRenderableExtendedStillInfo>(video)->GetStillRangesInRange(start, end, stills);
    std::printf("still ranges (frames):\n");
    for (const auto& [first, last] : stills) std::printf("  %lld-%lld\n", frames(first), frames(last));
    return 0;
  });
}

}  // namespace tetherhost
