// A host project's sequence of 1,000 clips: parsing its file alone, against
// the server's smart-render segments of the whole sequence; and the still
// range lookups of a linked source over 10,000 ranges, against a bare
// std::map lookup of as many ranges. Compare the pairs' times: a lookup must
// stay within a small factor of the map's, and grow logarithmically
// (run with --benchmark_filter=StillRange to see 1,000 against 10,000).

#include <source/TetherSource.h>

#include <server/tolmen/MediaCache.h>
#include <server/tolmen/SequenceItem.h>

#include <ProjectXML/ProjectXMLReader.h>

#include <kilncore/serialization/JSONBuild.h>
#include <tether/AnyTree.h>

#include <benchmark/benchmark.h>

#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using kilnmediatypes::TickTime;

constexpr int kClips = 1000;
constexpr int64_t kFrameTicks = 10160640000;  // 25 fps

// Clips of 20 frames end to end; every fourth is a still, and every tenth has
// a title above it for 5 frames, which splits its segment in two.
std::string SequenceText() {
  const std::string shot = std::string(TETHER_BENCH_EXAMPLES_FOLDER) + "/host/shot.png";
  std::string text =
      "<tolmenProject><sequence name='Long' id='5E7A1C0D-0000-4000-8000-0000000000B1' node='1' width='64' "
      "height='36' rate='25/1'><videoTrack>";
  for (int i = 0; i < kClips; ++i) {
    text += "<clip id='" + std::to_string(i + 1) + "' media='" + shot + "' start='" + std::to_string(i * 20) +
            "' in='0' out='20'" + (i % 4 == 3 ? " still='true'" : "") + "/>";
  }
  text += "</videoTrack><videoTrack>";
  for (int i = 0; i < kClips; i += 10) {
    text += "<clip id='" + std::to_string(kClips + i + 1) + "' media='" + shot + "' start='" +
            std::to_string(i * 20 + 5) + "' in='0' out='5' still='true'/>";
  }
  return text + "</videoTrack></sequence></tolmenProject>";
}

void BM_ParseSequenceOf1000Clips(benchmark::State& state) {
  const std::string text = SequenceText();
  for (auto _ : state) benchmark::DoNotOptimize(ProjectXML::ProjectXMLReader::Read(text));
}
BENCHMARK(BM_ParseSequenceOf1000Clips)->Unit(benchmark::kMillisecond);

void BM_SmartRenderSegmentsOf1000Clips(benchmark::State& state) {
  const ProjectXML::ProjectDocument document = ProjectXML::ProjectXMLReader::Read(SequenceText());
  const tether::File file(u"/bench/long.tlmproj");
  const tetherserver::SequenceItem item(document.items[0], file, std::make_shared<tetherserver::MediaCache>());
  tether::AnyArray arguments{
      tether::MakeAny(std::string("/bench/long.tlmproj")), tether::MakeAny(document.items[0].id.AsUTF8String()),
      tether::MakeAny(tether::AnyObject{{"ticks", tether::MakeAny(int64_t{0})}}),
      tether::MakeAny(tether::AnyObject{{"ticks", tether::MakeAny(int64_t{kClips} * 20 * kFrameTicks)}}),
      tether::MakeAny(tether::AnyObject{{"fourcc", tether::MakeAny(0x42475241u)}}), tether::MakeAny(false),
      tether::MakeAny(false)};
  const auto packed = tether::MakeAny(std::move(arguments));
  size_t segments = 0;
  for (auto _ : state) {
    tether::AnyValue reply;
    std::string message;
    item.AnswerRequest("com.veldmoor.tether.Tolmen.DetermineSmartRenderSegmentsInRange", packed, reply, message);
    segments = std::any_cast<const tether::AnyArray&>(*std::any_cast<const tether::AnyObject&>(*reply).at("value")).size();
  }
  state.counters["segments"] = static_cast<double>(segments);
}
BENCHMARK(BM_SmartRenderSegmentsOf1000Clips)->Unit(benchmark::kMillisecond);

std::vector<std::pair<TickTime, TickTime>> Ranges(int64_t count) {
  std::vector<std::pair<TickTime, TickTime>> ranges;
  for (int64_t i = 0; i < count; ++i) ranges.emplace_back(TickTime(i * 100), TickTime(i * 100 + 50));
  return ranges;
}

void BM_StillRangeAt(benchmark::State& state) {
  kilncore::classref::InterfaceRef<TetherMedia::TetherSource> source;
  TetherMedia::TetherSource::Create(source, nullptr, 0);
  source->ReplaceStillRanges(Ranges(state.range(0)));
  std::mt19937_64 random(7);
  std::uniform_int_distribution<int64_t> time(0, state.range(0) * 100);
  TetherMedia::TetherSource::TimeRange range;
  for (auto _ : state) {
    source->GetStillRangeAt(TickTime(time(random)), range);
    benchmark::DoNotOptimize(range);
  }
}
BENCHMARK(BM_StillRangeAt)->Arg(1000)->Arg(10000);

void BM_BareMapLookup(benchmark::State& state) {
  std::map<int64_t, int64_t> ranges;
  for (const auto& [start, end] : Ranges(state.range(0))) ranges.emplace(start.GetTicks(), end.GetTicks());
  std::mt19937_64 random(7);
  std::uniform_int_distribution<int64_t> time(0, state.range(0) * 100);
  for (auto _ : state) {
    const int64_t at = time(random);
    auto found = ranges.upper_bound(at);
    benchmark::DoNotOptimize(found != ranges.begin() && std::prev(found)->second > at);
  }
}
BENCHMARK(BM_BareMapLookup)->Arg(1000)->Arg(10000);

}  // namespace

BENCHMARK_MAIN();
