#pragma once

#include "SessionContent.h"

#include <server/project/Composition.h>
#include <server/render/RenderSettings.h>
#include <server/tolmen/MediaCache.h>
#include <server/tolmen/SequenceTimeline.h>

#include <ProjectXML/ProjectDocument.h>

#include <memory>
#include <optional>
#include <string>

namespace tetherserver {

// One sequence of a host project, as a source of the server.
//
// A frame shows the topmost enabled video clip at its time: a PNG image (a
// still, or the frame of an image sequence) scaled to the frame; media that is
// missing or can't be read as an offline slate (dark red, with the clip's
// source timecode); a gap black. Audio mixes the enabled clips of every audio
// track: a WAV file's samples, or else a 440 Hz tone at a quarter of full
// scale; gaps are silence. Every frame carries the frame stamp. A render whose
// application options are a clip number (a per-clip stream of smart
// rendering) shows that clip alone, where it stands in the sequence. The rules are
// in docs/project-format.md, "Rendering a sequence".
class SequenceItem : public SessionItem {
 public:
  // `projectFile` names the project file; `media` is shared by the items of
  // one opened project.
  SequenceItem(const ProjectXML::Item& item, const tether::File& projectFile, std::shared_ptr<MediaCache> media);

  tether::SourceInfo Describe() const override;
  size_t FrameBytes(const tether::VideoRenderOptions& options) const override;
  int32_t RenderFrame(const tether::VideoRenderOptions& options, const tether::RatioTime& time,
                      unsigned char* target, size_t size) const override;
  int32_t RenderAudio(const tether::AudioRenderOptions& options, int64_t start, uint32_t frames,
                      float* target) const override;
  uint32_t SampleRate(const tether::AudioRenderOptions& options) const override;
  // One stream per caption track of the sequence (docs/captions.md).
  tether::CaptionData Captions() const override;
  std::string RenderXMP(const tether::RatioTime& start, const tether::RatioTime& duration) const override;
  int32_t AnswerRequest(const std::string& name, const tether::AnyValue& arguments, tether::AnyValue& reply,
                        std::string& message) const override;

  // Whether one of the sequence's clips links an item of another project.
  bool ContainsLink() const override;
  // Nil: a sequence's pictures owe nothing to the fonts a project picks (its
  // slate's font is the server's own choice), so a font change never makes
  // the host draw it again.
  std::optional<kilncore::utility::Guid> RuntimeGuid() const override { return kilncore::utility::Guid(); }

  const SequenceTimeline& GetTimeline() const { return mTimeline; }

 private:
  // The sequence as a composition without layers: what the frame size, rate,
  // field order, render options and stamp are resolved against.
  static Composition MakeView(const ProjectXML::Item& item);
  // The offline slate's letters for `clip` at sequence frame `frame`: the
  // source timecode, the clip's name and its media path, drawn with the
  // machine's fonts, or the timecode in burn-in digits where that can't be.
  void AddSlateText(const ProjectXML::Clip& clip, int64_t frame, Composition& canvas) const;
  void DrawFrame(const SequenceTimeline& timeline, int64_t ticks, const RenderSettings& settings,
                 const FrameBuffer& target) const;
  // The clip number of a per-clip render (app-specific options that are a
  // decimal number), or nothing for a render of the whole sequence.
  static std::optional<uint32_t> ClipNumberOf(const kilncore::WideString& options);
  // Whether `clip`'s media can be taken over unchanged at `frame`: a moving
  // picture (not a still) whose frames are readable images of the sequence's
  // size. The server's pictures are 8-bit and unfiltered.
  bool TakesOverMedia(const ProjectXML::Clip& clip, int64_t frame) const;
  // The values of the named requests' replies.
  tether::AnyArray SmartRenderSegments(int64_t startTicks, int64_t endTicks) const;
  tether::AnyArray AcceleratedRanges(bool usePreviewFiles) const;
  tether::AnyArray StillRanges() const;

  const tether::File mProjectFile;
  const Composition mView;
  const SequenceTimeline mTimeline;
  const std::shared_ptr<MediaCache> mMedia;
};

}  // namespace tetherserver
