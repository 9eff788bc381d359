#include <host/commands/ImportCommand.h>

#include <host/commands/ClipReport.h>
#include <host/commands/FarsideCommands.h>
#include <host/commands/ItemMetadata.h>

#include <host/cli/CommandLine.h>
#include <host/cli/FrameRange.h>
#include <host/cli/Formatted.h>
#include <host/cli/HostError.h>
#include <host/cli/Interruption.h>
#include <host/cli/OptionParsing.h>
#include <host/cli/ReadableNames.h>
#include <host/output/CaptionFile.h>
#include <host/output/ContactSheet.h>
#include <host/output/PngFile.h>
#include <host/output/RawFrameWriter.h>
#include <host/output/StreamTarget.h>
#include <host/output/StreamedWav.h>
#include <host/output/WavFile.h>
#include <host/output/Y4mWriter.h>
#include <host/session/AudioPuller.h>
#include <host/session/FramePuller.h>
#include <host/session/HostSession.h>
#include <host/session/LinkedClip.h>
#include <host/session/MissingAssetsProbe.h>
#include <host/session/ProgressView.h>

#include <TetherMedia/MissingAssets.h>
#include <TetherMedia/Prefs.h>

#include <algorithm>
#include <cstdlib>
#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>

namespace tetherhost {
namespace {

constexpr int64_t kDefaultFrameCount = 12;
constexpr uint32_t kAudioBlockFrames = 4096;
// Audio larger than this is written only when asked (--large-audio): a clip
// that lasts years would otherwise fill the disk before anyone noticed.
constexpr uint64_t kLargestAudioUnasked = uint64_t{8} << 30;

// The frames to write: those asked for, every one of which must be in the
// clip, or twelve spread over it.
FrameRange ChooseFrames(const std::string& text, int64_t frameCount) {
  if (!text.empty()) {
    const FrameRange asked = FrameRange::Parse(text);
    if (asked.ClippedTo(frameCount).frames().size() != asked.frames().size()) {
      throw std::invalid_argument("--frames " + text + ": the clip has " +
                                  (frameCount > 0 ? "frames 0-" + std::to_string(frameCount - 1) : "no frames"));
    }
    return asked;
  }
  if (frameCount <= 0) return {};
  const int64_t step = std::max<int64_t>(1, frameCount / kDefaultFrameCount);
  return FrameRange::Parse("0-" + std::to_string(frameCount - 1) + "/" + std::to_string(step))
      .ClippedTo(std::min(frameCount, step * kDefaultFrameCount));
}

std::filesystem::path FrameFile(const std::filesystem::path& folder, int64_t frame) {
  char name[32];
  std::snprintf(name, sizeof(name), "frame_%05lld.png", static_cast<long long>(frame));
  return folder / name;
}

// The ffmpeg command that turns the written PNG files into a movie at the
// clip's rate: a numbered sequence when the frames follow one another, else
// every file in name order.
std::string MovieCommand(const FrameRange& frames, const std::filesystem::path& folder,
                         kilnmediatypes::FrameRate rate) {
  const auto [numerator, denominator] = RateFraction(rate);
  bool consecutive = true;
  for (size_t i = 1; i < frames.frames().size(); ++i) {
    consecutive = consecutive && frames.frames()[i] == frames.frames()[i - 1] + 1;
  }
  const std::string input = consecutive ? "-start_number " + std::to_string(frames.frames().front()) + " -i '" +
                                              (folder / "frame_%05d.png").string() + "'"
                                        : "-pattern_type glob -i '" + (folder / "frame_*.png").string() + "'";
  return "ffmpeg -framerate " + std::to_string(numerator) + "/" + std::to_string(denominator) + " " + input +
         " -pix_fmt yuv420p movie.mp4";
}

// Where the frames go: PNG files and a contact sheet, or (--y4m, --raw) one
// stream each, to a file or standard output.
class FrameOutputs {
 public:
  FrameOutputs(const ImportOptions& options, const ClipDescription& description, bool deep)
      : mOptions(options), mDescription(description), mDeep(deep), mSheet(4, 480) {
    if (!options.y4m.empty()) mY4mTarget.emplace(options.y4m);
    if (!options.raw.empty()) {
      mRawTarget.emplace(options.raw);
      mRaw.emplace(mRawTarget->file());
    }
    if (ToFiles()) std::filesystem::create_directories(options.out);
  }

  bool ToFiles() const { return mOptions.y4m.empty() && mOptions.raw.empty(); }

  void Write(FramePuller& puller, int64_t frame) {
    Rgba16Image deepImage;
    RgbaImage image;
    if (mDeep) {
      deepImage = puller.PullDeep(frame);
      image = deepImage.Narrowed();
    } else {
      image = puller.Pull(frame);
    }
    if (ToFiles()) {
      const PixelAspect aspect{mDescription.pixelAspectNumerator, mDescription.pixelAspectDenominator};
      if (mDeep) {
        PngFile::Write(FrameFile(mOptions.out, frame), deepImage, aspect);
      } else {
        PngFile::Write(FrameFile(mOptions.out, frame), image, aspect);
      }
      mSheet.Add(image);
    }
    if (mY4mTarget) WriteY4m(image);
    if (mRaw) {
      if (mDeep) {
        mRaw->Write(deepImage);
      } else {
        mRaw->Write(image);
      }
      mRawSize = {image.width(), image.height()};
    }
  }

  // Ends every output and says what was written where.
  std::string Finish(const FrameRange& frames, size_t done) {
    std::string report;
    const auto [numerator, denominator] = RateFraction(mDescription.frameRate);
    if (ToFiles()) {
      if (done > 0) PngFile::Write(mOptions.out / "contact-sheet.png", mSheet.Compose());
      report += Formatted("frames:        %zu PNG files (%s) and contact-sheet.png in %s\n", done,
                          mDeep ? "16 bits a channel" : "8 bits a channel", mOptions.out.string().c_str());
      if (done > 0) report += "as a movie:    " + MovieCommand(frames, mOptions.out, mDescription.frameRate) + "\n";
    }
    if (mY4mTarget) {
      mY4mTarget->Finish();
      report += Formatted("y4m:           %zu frames at %lld/%lld fps to %s\n", done, static_cast<long long>(numerator),
                          static_cast<long long>(denominator), Name(mOptions.y4m).c_str());
    }
    if (mRawTarget) {
      mRawTarget->Finish();
      report += Formatted("raw:           %zu frames to %s; read with: ffmpeg -f rawvideo -pixel_format %s -video_size %dx%d "
                          "-framerate %lld/%lld -i %s\n",
                          done, Name(mOptions.raw).c_str(), RawFrameWriter::PixelFormatName(mDeep).c_str(),
                          mRawSize.first, mRawSize.second, static_cast<long long>(numerator),
                          static_cast<long long>(denominator),
                          StreamTarget::IsStandardOutput(mOptions.raw) ? "-" : ("'" + mOptions.raw.string() + "'").c_str());
    }
    return report;
  }

 private:
  static std::string Name(const std::filesystem::path& where) {
    return StreamTarget::IsStandardOutput(where) ? "standard output" : where.string();
  }

  void WriteY4m(const RgbaImage& image) {
    if (!mY4m) {
      // The stream's size is the frames': the header waits for the first.
      const auto [numerator, denominator] = RateFraction(mDescription.frameRate);
      mY4m.emplace(mY4mTarget->file(),
                   Y4mFormat{image.width(), image.height(), numerator, denominator, mDescription.pixelAspectNumerator,
                             mDescription.pixelAspectDenominator, mDescription.fieldType});
    }
    mY4m->Write(image);
  }

  const ImportOptions& mOptions;
  const ClipDescription& mDescription;
  const bool mDeep;
  ContactSheet mSheet;
  std::optional<StreamTarget> mY4mTarget;
  std::optional<Y4mWriter> mY4m;
  std::optional<StreamTarget> mRawTarget;
  std::optional<RawFrameWriter> mRaw;
  std::pair<int32_t, int32_t> mRawSize{0, 0};
};

void WriteFrames(const LinkedClip& clip, const ClipDescription& description, const ImportOptions& options,
                 ProgressView& progress) {
  const FrameRange frames = ChooseFrames(options.frames, description.frameCount);
  if (frames.empty()) throw HostError("the clip has no frames to write");
  auto [width, height] = options.size.empty() ? std::pair<int32_t, int32_t>(0, 0) : ParseFrameSize(options.size);
  const auto video = clip.VideoStream();
  const kilnmediatypes::PixelFormat format = ParsePixelFormat(options.format);
  FramePuller puller(*video, clip.Prefs(), description.frameRate, format, width, height);
  FrameOutputs outputs(options, description, format == kilnmediatypes::kPixelFormat_RGBA_4444_32f);
  size_t done = 0;
  for (const int64_t frame : frames.frames()) {
    if (Interruption::Requested()) break;
    progress.Report(static_cast<double>(done) / frames.frames().size(), "Rendering frame " + std::to_string(frame));
    try {
      outputs.Write(puller, frame);
    } catch (const HostError&) {
      // The frame's wait was cancelled by Ctrl-C: the frames before it stand.
      if (!Interruption::Requested()) throw;
      break;
    }
    ++done;
  }
  progress.Print(outputs.Finish(frames, done));
  if (Interruption::Requested()) throw Interrupted("interrupted after " + std::to_string(done) + " frames");
}

// What the audio file will hold; checked before any frame is written, so that
// a clip without audio, or audio too large to write unasked, fails at once.
struct AudioPlan {
  int64_t frames = 0;
  uint64_t bytes = 0;
};

AudioPlan PlanAudio(const LinkedClip& clip, const ClipDescription& description, const ImportOptions& options) {
  if (description.audioStreams == 0 || description.audioChannels == 0) {
    throw HostError("the clip has no audio to write to " + options.audio.string());
  }
  AudioPlan plan;
  const auto audio = clip.AudioStream();
  if (!audio) throw HostError("the clip has no audio to write to " + options.audio.string());
  const AudioPuller puller(*audio, kAudioBlockFrames);
  plan.frames = puller.FrameAt(description.duration);
  plan.bytes = static_cast<uint64_t>(plan.frames) * puller.channels() * WavFile::kBytesPerSample;
  if (plan.bytes > kLargestAudioUnasked && !options.largeAudio) {
    throw HostError("the audio would take " + ByteSizeText(plan.bytes) + " (" + std::to_string(plan.frames) +
                    " samples of " + std::to_string(puller.channels()) +
                    " channels); add --large-audio to write it anyway");
  }
  return plan;
}

void WriteAudio(const LinkedClip& clip, const ImportOptions& options, const AudioPlan& plan,
                ProgressView& progress) {
  const auto audio = clip.AudioStream();
  AudioPuller puller(*audio, kAudioBlockFrames);
  const auto channels = static_cast<int32_t>(puller.channels());
  // A file is written whole and moved into place; standard output gets a WAV
  // whose header, written first, already holds the sizes.
  std::optional<WavFile> file;
  std::optional<StreamedWav> stream;
  if (StreamTarget::IsStandardOutput(options.audio)) {
    stream.emplace(stdout, puller.sampleRate(), channels, plan.frames, puller.Labels());
  } else {
    if (options.audio.has_parent_path()) std::filesystem::create_directories(options.audio.parent_path());
    file.emplace(options.audio, puller.sampleRate(), channels, puller.Labels());
  }
  const char* const interrupted = "interrupted while writing the audio; no file was left";
  for (int64_t frame = 0; frame < plan.frames; frame += kAudioBlockFrames) {
    if (Interruption::Requested()) throw Interrupted(interrupted);
    progress.Report(static_cast<double>(frame) / plan.frames, "Reading audio");
    const kilnaudiotoolkit::AudioBuffer* read = nullptr;
    try {
      read = &puller.Read(frame);
    } catch (const HostError&) {
      if (Interruption::Requested()) throw Interrupted(interrupted);
      throw;
    }
    const kilnaudiotoolkit::AudioBuffer& block = *read;
    const std::vector<const float*> samples(block.GetChannels(), block.GetChannels() + block.GetChannelCount());
    const int64_t count = std::min<int64_t>(kAudioBlockFrames, plan.frames - frame);
    if (file) file->Append(samples, count);
    if (stream) stream->Append(samples, count);
  }
  if (file) file->Close();
  progress.Print(Formatted("audio:         %lld samples at %d Hz, %u channels (%s) to %s\n",
                           static_cast<long long>(plan.frames), puller.sampleRate(), puller.channels(),
                           ByteSizeText(plan.bytes).c_str(),
                           stream ? "standard output" : options.audio.string().c_str()));
}

}  // namespace

int RunImport(HostSession& session, const ImportOptions& options) {
  const std::optional<bool> guides = ParseOnOff(options.guides);
  ParsePixelFormat(options.format);  // a bad option fails before any work
  if (!options.size.empty()) ParseFrameSize(options.size);
  if (!options.frames.empty()) FrameRange::Parse(options.frames);
  if (!options.captions.empty() && !CaptionFile::IsKnownFormat(options.captions)) {
    throw std::invalid_argument("--captions " + options.captions.string() +
                                ": write captions as WebVTT (.vtt) or SubRip (.srt)");
  }
  if (options.captionStream && options.captions.empty()) {
    throw std::invalid_argument("--caption-stream needs --captions FILE to write the stream to");
  }
  if (options.out == "-") {
    throw std::invalid_argument("--out is a folder for PNG files; '-' (standard output) is not one: use --y4m - or --raw -");
  }
  int toStandardOutput = 0;
  for (const auto* target : {&options.y4m, &options.raw, &options.audio}) {
    toStandardOutput += StreamTarget::IsStandardOutput(*target) ? 1 : 0;
  }
  if (toStandardOutput > 1) throw std::invalid_argument("only one of --y4m, --raw and --audio can be '-'");
  // Standard output carries data: the report goes to standard error.
  if (toStandardOutput > 0) session.Progress().SetReportStream(stderr);
  return session.RunWithUserInterface([&] {
    LinkedClip clip = IsFarsideName(options.project.string())
                          ? ImportFarsideAsset(session.Module(), options.project.string(), options.item)
                          : LinkedClip::Import(session.Module(), options.project, options.item, options.renderOptions);
    if (guides) {
      // The clip's own options, changed in one switch, as a settings dialog does.
      tether::MarlRenderOptions renderOptions;
      const kilncore::WideString current = TetherMedia::PrefsToApplicationSpecificRenderOptions(clip.Prefs());
      if (!current.empty()) TetherMedia::ApplicationSpecificRenderOptionsToMarlRenderOptions(current, renderOptions);
      renderOptions.renderGuideLayers = *guides;
      clip.SetRenderOptions(renderOptions);
    }
    const ClipDescription description = clip.Describe();
    const auto lacking = MissingAssetsProbe::Ask(options.project);
    session.Progress().Print(DescriptionText(description) + MissingFontsText(TetherMedia::GetMissingFonts()) +
                             (lacking ? MissingAssetsProbe::MediaText(*lacking) : std::string()));
    AudioPlan audio;
    if (!options.audio.empty()) audio = PlanAudio(clip, description, options);
    if (!options.xmp.empty()) session.Progress().Print(ItemMetadata::WriteXmp(clip.Item(), options.xmp));
    if (!options.captions.empty()) {
      session.Progress().Print(ItemMetadata::WriteCaptions(clip.Item(), options.captions, options.captionStream));
    }
    WriteFrames(clip, description, options, session.Progress());
    if (!options.audio.empty()) WriteAudio(clip, options, audio, session.Progress());
    return 0;
  });
}

void AddImportCommand(CommandLine& commandLine) {
  auto options = std::make_shared<ImportOptions>();
  // Where frames go unless --out says: TETHERHOST_OUT, as in the set-up script.
  if (const char* out = std::getenv("TETHERHOST_OUT"); out != nullptr && *out != '\0') options->out = out;
  CLI::App* import = commandLine.AddCommand(
      "import",
      "import a linked item (composition, sequence, scene, document, photo, remote asset) and write its frames "
      "and audio",
      [options] {
        HostSession session;
        return RunImport(session, *options);
      });
  import->add_option("PROJECT", options->project,
                     "the project file, or a remote name (farside:PRODUCTION[@VERSION], an asset name or a "
                     "linked-asset text)")
      ->required();
  import->add_option("--item", options->item, "the composition, by name or identifier (default: the first)");
  import->add_option("--frames", options->frames,
                     "frames, such as 0-9, 0-100/10 or 1,5,9 (default: 12 spread over the clip)");
  import->add_option("--render-options", options->renderOptions,
                     "the owner's render options (JSON) to import the clip with, such as a Sprocket project's");
  import->add_option("--size", options->size, "frame size WxH (default: the clip's own)");
  import->add_option("--format", options->format, "pixel format: bgra8 (8-bit PNG) or rgba32f (16-bit PNG)")
      ->capture_default_str();
  import->add_option("--guides", options->guides, "draw guide layers: on or off (default: as the clip has it)");
  import->add_option("--out", options->out, "folder for the frames and the contact sheet (also TETHERHOST_OUT)")
      ->capture_default_str();
  import->add_option("--audio", options->audio, "write the clip's audio to this WAV file, or to standard output for '-'");
  import->add_option("--y4m", options->y4m,
                     "write the frames as one YUV4MPEG2 stream to this file, or to standard output for '-', "
                     "instead of PNG files");
  import->add_option("--raw", options->raw,
                     "write the frames as raw RGBA (8 or 16 bits) to this file, or '-', instead of PNG files");
  import->add_flag("--large-audio", options->largeAudio, "write audio even when it takes more than 8 GiB");
  AddFarsideOptions(*import);
  import->add_option("--xmp", options->xmp, "write the clip's XMP packet to this file");
  import->add_option("--captions", options->captions,
                     "write one caption stream to this file, as WebVTT (.vtt) or SubRip (.srt)");
  import->add_option("--caption-stream", options->captionStream,
                     "the caption stream to select and write, by index from 0 (default: the selected one)");
}

}  // namespace tetherhost
