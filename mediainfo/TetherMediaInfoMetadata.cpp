// The metadata of a linked item that only its server has: its XMP packet, its
// captions, and the lines that describe it in the host's media properties.
// Each server answer is one request made synchronous with ServerWait.

#include <mediainfo/TetherMediaInfo.h>

#include <mediainfo/ServerConnectionWaits.h>
#include <requests/ServerWait.h>
#include <source/TetherSource.h>

#include <KL/CaptioningSource.h>
#include <RL/AudioUtils.h>
#include <RL/ColorSpaceUtils.h>
#include <RL/RectT.h>
#include <Sill/Timecode.h>
#include <WF/ImportableFileTypeUtils.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/config/Localizer.h>
#include <kilncore/logging/Log.h>
#include <kilncore/string/NumberToString.h>
#include <kilncore/string/UTFConversion.h>
#include <kilncore/threads/RecursiveMutex.h>
#include <kilnmediatypes/RatioTime.h>

#include <cstdio>
#include <exception>
#include <memory>

namespace TetherMedia {

namespace {

using kilncore::classref::InterfaceRef;
using kilncore::threads::ScopedRecursiveLock;

// The frame length of the film rate 24000/1001, the one rate shown with three
// decimals: "23.98" would name no rate anyone uses.
constexpr int64_t kFilmRateTicks = 10594584000;

kilncore::WideString Translate(kilncore::WideStringView text) {
  return kilncore::config::Localizer::Get().Localize(text);
}

// Frames (or samples) a second of a frame length; 0.0 without a rate.
double PerSecond(const kilnmediatypes::FrameRate& rate) {
  if (rate.GetTicksPerFrame() == kilnmediatypes::FrameRate::kNoRateTicks || rate.GetTicksPerFrame() == 0) return 0.0;
  return static_cast<double>(kilnmediatypes::kTicksPerSecond) / static_cast<double>(rate.GetTicksPerFrame());
}

kilncore::WideString FrameSizeLine(TetherSource& linked) {
  RL::RectT<int> bounds;
  linked.GetFrameSize(bounds);
  char text[64];
  std::snprintf(text, sizeof text, "%i x %i", bounds.right, bounds.bottom);
  return kilncore::string::UTF8to16(text);
}

kilncore::WideString DurationAndRateLine(TetherSource& linked, kilnmediatypes::TimeDisplay display) {
  kilnmediatypes::TickTime duration;
  linked.GetDuration(duration);
  kilnmediatypes::FrameRate rate;
  linked.GetFrameRate(rate);
  const int decimals = rate.GetTicksPerFrame() == kFilmRateTicks ? 3 : 2;
  return Sill::Timecode(duration, rate, display).GetString() + u", " +
         kilncore::string::NumberToString(PerSecond(rate), 1, decimals, kilncore::string::kNumberToStringNoFlags, 31) +
         u" " + Translate(u"$$$/TetherMedia/fps=fps");
}

kilncore::WideString ColorSpaceLine(TetherSource& linked) {
  kilnmediatypes::color::ColorSpace space;
  linked.GetColorSpace(space);
  return Translate(u"$$$/TetherMedia/ColorSpace=Color Space: ") +
         kilncore::string::UTF8to16(RL::ColorSpaceUtils::KilnColorSpaceToString(space, 0));
}

kilncore::WideString AudioLine(TetherSource& linked) {
  kilnmediatypes::FrameRate sampleRate;
  linked.GetSampleRate(sampleRate);
  char hertz[64];
  std::snprintf(hertz, sizeof hertz, "%.0f", PerSecond(sampleRate));
  const kilncore::WideString delimiter = Translate(u"$$$/TetherMedia/AudioPartDelimiter= - ");
  return kilncore::string::UTF8to16(hertz) + Translate(u"$$$/TetherMedia/SampleRateSuffixHz= Hz") + delimiter +
         RL::AudioUtils::CreateAudioSampleTypeString(linked.GetAudioSourceKind()) + delimiter +
         RL::AudioUtils::CreateAudioChannelTypeString(linked.GetAudioChannelType(), 0, 0);
}

}  // namespace

int32_t TetherMediaInfo::ReadXMP(bool /*reservedA*/, bool /*reservedB*/, int32_t /*reservedC*/,
                                 RL::BinaryData& out) {
  const std::shared_ptr<tether::Source> source = GetSourceSnapshot();
  const InterfaceRef<TetherSource> linked = LinkedSource();
  if (!linked || !source) return kGeneralFailure;
  // The work area is settled once, for good: later reads ask for the same span.
  if (mXMPRenderWorkAreaIn == kilnmediatypes::kTickTime_Invalid) mXMPRenderWorkAreaIn = kilnmediatypes::TickTime(0);
  if (mXMPRenderWorkAreaOut == kilnmediatypes::kTickTime_Invalid) {
    kilnmediatypes::TickTime duration;
    linked->GetDuration(duration);
    mXMPRenderWorkAreaOut = duration;
  }
  RebroadcastTetherProgress("$$$/TetherMedia/ReadingXMP=Reading XMP...", {}, mFilePath, mSourceID, -1.0);
  auto code = std::make_shared<int>(kGeneralFailure);
  auto data = std::make_shared<RL::BinaryData>();
  const kilnmediatypes::TickTime in = mXMPRenderWorkAreaIn;
  const kilnmediatypes::TickTime length(mXMPRenderWorkAreaOut.GetTicks() - in.GetTicks());
  const int32_t result = ServerWait::Block([&](const kilncore::async::Promise<void>& promise) {
    source->RenderXMP(kilnmediatypes::TimeToRatioTime(in), kilnmediatypes::TimeToRatioTime(length),
                      BindWaitForXMP(promise, data, code));
  });
  // A failed wait answers with the shared result as it started; the slot itself
  // isn't read, since a late callback may still write it.
  if (result < 0) return kGeneralFailure;
  std::swap(out, *data);
  return result;
}

int32_t TetherMediaInfo::GetCaptioningSource(InterfaceRef<KL::ICaptioningSource>& out) {
  std::shared_ptr<tether::Source> source;
  {
    ScopedRecursiveLock lock(mMutex);
    source = mSource;
    if (mCaptionsResolved) {
      out = mCaptioningSource;
      return 0;
    }
    // Fetched once in the item's life, whatever comes of it.
    mCaptionsResolved = true;
  }
  if (source && WF::ImportableFileTypeUtils::IsTolmenProject(mFilePath)) {
    auto data = std::make_shared<tether::CaptionData>();
    const int32_t code = ServerWait::Block([&](const kilncore::async::Promise<void>& promise) {
      source->GetCaptionData([promise, data](tether::ConnectionStatus status, const tether::CaptionData& result) {
        ServerConnectionWaits::WaitForCaptionData(promise, data, status, result);
      });
    });
    if (code >= 0) {
      mCaptionData = *data;
      if (!mCaptionData.serializedData.empty()) {
        mCaptioningSource = KL::CreateCaptioningSource(mCaptionData.serializedData, nullptr);
        try {
          // A text that the host can't read leaves no source, and asking it for
          // its format is the host's null-reference failure: reported here as
          // this operation's result rather than thrown into the host.
          const uint32_t format = mCaptioningSource->GetStreamFormat();
          const InterfaceRef<TetherSource> linked = LinkedSource();
          if (linked) linked->SetSequenceTag(format);
        } catch (...) {
          kilncore::logging::LogException(std::current_exception(), "TetherMediaInfo::GetCaptioningSource",
                                          "the server's caption text could not be read");
          return kilncore::config::ExtractResultFromException(std::current_exception());
        }
      }
    }
  }
  out = mCaptioningSource;
  return 0;
}

void TetherMediaInfo::SelectCaptionStream(uint64_t index) {
  tether::CaptionSelectionData selection;
  selection.version = 1;
  selection.streamIndex = static_cast<int32_t>(static_cast<uint32_t>(index & 0xFFFFFFFFu));
  const std::shared_ptr<tether::Source> source = GetSourceSnapshot();
  if (!source || !WF::ImportableFileTypeUtils::IsTolmenProject(mFilePath)) return;
  auto accepted = std::make_shared<bool>(false);
  // The outcome is dropped: the host's operation has no result, and the
  // captions already fetched stay as they were.
  ServerWait::Block([&](const kilncore::async::Promise<void>& promise) {
    source->SetCaptionSelectionData(selection, [promise, accepted](tether::ConnectionStatus status, bool result) {
      ServerConnectionWaits::WaitForCaptionSelectionData(promise, accepted, status, result);
    });
  });
}

uint64_t TetherMediaInfo::GetSelectedCaptionStream() {
  for (const tether::CaptionStreamEntry& entry : mCaptionData.streams) {
    if (entry.selected) return entry.streamID;
  }
  return static_cast<uint64_t>(-1);
}

int32_t TetherMediaInfo::GetAnalysisLines(int32_t /*reservedA*/, std::vector<kilncore::WideString>& lines,
                                          int32_t /*reservedB*/, kilnmediatypes::TimeDisplay display,
                                          int32_t /*reservedC*/, int32_t /*reservedD*/) {
  const InterfaceRef<TetherSource> linked = LinkedSource();
  const std::shared_ptr<tether::Source> source = GetSourceSnapshot();
  if (!linked || !source || !RL::ColorSpaceUtils::CanSupportAdvancedColorWorkflow()) return 0;
  lines.push_back(GetMediaDisplayName());
  if (source->HasVideo()) {
    lines.push_back(FrameSizeLine(*linked));
    lines.push_back(DurationAndRateLine(*linked, display));
    lines.push_back(ColorSpaceLine(*linked));
  }
  if (source->HasAudio()) {
    if (linked->GetAudioChannelCount() != 0) {
      lines.push_back(AudioLine(*linked));
    } else {
      // Translated as the host expects, then left out: an item whose audio
      // tracks are all disabled shows no audio line at all.
      Translate(u"$$$/TetherMedia/AudioTracksDisabled=All Audio Tracks Disabled");
    }
  }
  return 0;
}

bool TetherMediaInfo::AnalysisQueryA() { return false; }

uint32_t TetherMediaInfo::AnalysisFlags() { return 0x80000000u; }

void TetherMediaInfo::AnalysisNoOp() {}

}  // namespace TetherMedia
