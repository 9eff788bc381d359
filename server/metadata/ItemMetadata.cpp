#include <metadata/ItemMetadata.h>

#include <KL/CaptionText.h>
#include <kilncore/string/UTFConversion.h>

#include <algorithm>
#include <utility>

namespace tetherserver::ItemMetadata {

XmpDescription DescribeForXmp(const tether::SourceInfo& info, std::vector<ItemMarker> markers) {
  XmpDescription description;
  description.title = kilncore::string::UTF16to8(info.name);
  description.creatorTool = kilncore::string::UTF16to8(info.producerDescription);
  description.frameRate = info.frameRate;
  description.dropFrame = info.isDropFrame;
  description.width = info.width;
  description.height = info.height;
  description.startTime = info.startTime;
  description.markers = std::move(markers);
  return description;
}

std::string RenderXMP(const tether::SourceInfo& info, std::vector<ItemMarker> markers,
                      const tether::RatioTime& start, const tether::RatioTime& duration) {
  return XmpPacket::Build(DescribeForXmp(info, std::move(markers)), start, duration);
}

tether::CaptionData CaptionsOfTracks(const std::vector<ProjectXML::CaptionTrack>& tracks, int64_t frameTicks) {
  tether::CaptionData data;
  if (tracks.empty()) return data;
  KL::CaptionDocument document;
  document.streamFormat = kSubtitleStreamFormat;
  for (size_t i = 0; i < tracks.size(); ++i) {
    KL::CaptionStream stream;
    stream.id = i + 1;
    stream.label = tracks[i].name;
    for (const ProjectXML::Caption& caption : tracks[i].captions) {
      // Times past 2^62 ticks are beyond any item, and past what a caption text holds.
      if (caption.end <= caption.start || caption.start < 0 || caption.end > (int64_t{1} << 62) / frameTicks) continue;
      stream.cues.push_back({caption.start * frameTicks, caption.end * frameTicks, caption.text});
    }
    std::stable_sort(stream.cues.begin(), stream.cues.end(),
                     [](const KL::CaptionCue& a, const KL::CaptionCue& b) { return a.start < b.start; });
    data.streams.push_back({stream.id, i == 0, stream.label});
    document.streams.push_back(std::move(stream));
  }
  data.serializedData = KL::CaptionText::Write(document);
  return data;
}

}  // namespace tetherserver::ItemMetadata
