#pragma once

#include <tether/AnyTree.h>
#include <tether/AudioRenderOptions.h>
#include <tether/CaptionData.h>
#include <tether/FarsideAssetRequestInfo.h>
#include <tether/File.h>
#include <tether/ItemInfo.h>
#include <tether/MissingAssets.h>
#include <tether/SourceInfo.h>
#include <tether/VideoRenderOptions.h>

#include <kilncore/utility/Guid.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tetherserver {

// One item that a session serves: its description and its pictures and sound.
// Implementations are called from several threads at once.
class SessionItem {
 public:
  virtual ~SessionItem() = default;

  virtual tether::SourceInfo Describe() const = 0;

  // The bytes a frame for `options` needs (BGRA, rows without padding), or 0 if
  // the options can't be served.
  virtual size_t FrameBytes(const tether::VideoRenderOptions& options) const = 0;
  // Renders the frame at `time` into `target` (at least FrameBytes bytes).
  // Returns 0 or a failure status.
  virtual int32_t RenderFrame(const tether::VideoRenderOptions& options, const tether::RatioTime& time,
                              unsigned char* target, size_t size) const = 0;
  // Renders as RenderFrame does, but may give up as soon as `stopped` answers
  // true (the render was cancelled), so that a slow frame frees its worker
  // early; the status then doesn't matter, no answer is sent for it. By
  // default the frame is drawn whole.
  virtual int32_t RenderFrameUnlessStopped(const tether::VideoRenderOptions& options, const tether::RatioTime& time,
                                           unsigned char* target, size_t size,
                                           const std::function<bool()>& /*stopped*/) const {
    return RenderFrame(options, time, target, size);
  }
  // Fills `frames` interleaved sample frames of the options' channels, from
  // sample `start` on. Returns 0 or a failure status.
  virtual int32_t RenderAudio(const tether::AudioRenderOptions& options, int64_t start, uint32_t frames,
                              float* target) const = 0;
  // The sample rate (Hz) of `options`, 0 if unsupported.
  virtual uint32_t SampleRate(const tether::AudioRenderOptions& options) const = 0;

  // The item's captions; empty when it has none.
  virtual tether::CaptionData Captions() const { return {}; }

  // The item's XMP packet of the span [start, start + duration), in seconds
  // from its first frame; empty when the item has none.
  virtual std::string RenderXMP(const tether::RatioTime& /*start*/, const tether::RatioTime& /*duration*/) const {
    return {};
  }

  // Answers the owning application's named request `name` (the method of a
  // call made by kilncore::serialization::BuildCall) with its `arguments`.
  // 0 with the answer in `reply`, or a negative code with a message for the
  // user in `message`. By default no name is known.
  virtual int32_t AnswerRequest(const std::string& name, const tether::AnyValue& arguments, tether::AnyValue& reply,
                                std::string& message) const;

  // Whether the item itself holds a link to an item of another project,
  // directly or through the projects it links.
  virtual bool ContainsLink() const { return false; }
  // The item's runtime identifier: a function of what the machine lends its
  // pictures (its fonts). Nothing lets the session make one from the content
  // state and the server's font generation.
  virtual std::optional<kilncore::utility::Guid> RuntimeGuid() const { return std::nullopt; }

  // Test hooks of the synthetic content: requests that are never answered,
  // to test what a client does with requests in flight.
  virtual bool HangsRenders() const { return false; }
  virtual bool HangsRendererCreation(const tether::VideoRenderOptions&) const { return false; }
};

// The code of a named request whose name the item doesn't know, and of one
// whose arguments aren't what the name asks for.
inline constexpr int32_t kUnknownRequest = -2;
inline constexpr int32_t kMalformedRequest = -3;

// A project that a session opened.
class SessionProject {
 public:
  virtual ~SessionProject() = default;
  virtual tether::MissingAssets GetMissingAssets() const = 0;
  // The entries of container `id` (nil: the top level); nothing if no such
  // container.
  virtual std::optional<std::vector<tether::ItemInfo>> GetContainedItems(const kilncore::utility::Guid& id) const = 0;
  // The item `id`, or null.
  virtual std::shared_ptr<const SessionItem> GetItem(const kilncore::utility::Guid& id) const = 0;
  // The items `ids` (compositions or folders) as a project XML text (UTF-8),
  // or nothing if one of them is no item of this project.
  virtual std::optional<std::string> ItemsAsXML(const std::vector<kilncore::utility::Guid>& ids) const = 0;
  // Whether the item `id` (of any project) is used from this project, through
  // links followed into nested projects. By default: whether it is one of
  // this project's own items.
  virtual bool IsSourceLinked(const kilncore::utility::Guid& id) const { return GetItem(id) != nullptr; }
  // How many times the project's content was replaced since it was opened
  // (an edited file read again). Renderers made before a replacement draw
  // the item's new content from then on (CurrentItem).
  virtual uint64_t ContentGeneration() const { return 0; }
  // The item `id` of the current content, without looking at the file.
  virtual std::shared_ptr<const SessionItem> CurrentItem(const kilncore::utility::Guid& id) const { return GetItem(id); }
  // A value that changes when the fonts this project resolves to changed.
  // Nothing lets the session answer with the server's font generation.
  virtual std::optional<uint32_t> RuntimeFontChange() const { return std::nullopt; }
};

// The progress keys of an opening project. The first argument of each is the
// project's path; a missing font adds its family and style.
inline constexpr char kOpeningProgressType[] = "$$$/TetherServer/OpeningProject=Opening ^1";
inline constexpr char kMissingFontProgressType[] = "$$$/TetherServer/MissingFont=The font ^2 ^3 of ^1 is missing";
// The progress key of an XMP packet being made; the argument is the item's name.
inline constexpr char kRenderingXMPProgressType[] = "$$$/TetherServer/RenderingXMP=Writing the metadata of ^1";

// Receives progress reports while a project opens: the progress key (UTF-8,
// "$$$/key=default text"), the value (0..1, negative for unknown) and the
// key's arguments.
using ProgressSink =
    std::function<void(const std::string& type, double value, const std::vector<std::string>& arguments)>;

// The server's notes on a file that a file server opened.
struct FileNotes {
  std::string kind;     // UTF-8
  std::string message;  // UTF-8, for the user; empty when there is nothing to say
  int32_t detail = 0;
};

// What a server serves: opens projects of the applications it knows.
class SessionContent {
 public:
  virtual ~SessionContent() = default;
  // Whether typed servers of `application` ("Marl", "Tolmen", ...) are offered.
  virtual bool SupportsApplication(const std::string& application) const = 0;
  // Opens `file` (with the application's options `json`, possibly empty).
  // Null with `status` set on failure.
  virtual std::shared_ptr<const SessionProject> OpenProject(const std::string& application, const tether::File& file,
                                                            const std::string& json, int32_t& status,
                                                            const ProgressSink& progress) const = 0;
  // Whether the typed server of `application` connects a file server
  // (typed.connect-file-server).
  virtual bool ServesFiles(const std::string& /*application*/) const { return false; }
  // A file server's road: the item of the plain file `file`. Null with
  // `status` set on failure.
  virtual std::shared_ptr<const SessionItem> OpenFile(const std::string& /*application*/, const tether::File& /*file*/,
                                                      FileNotes& /*notes*/, int32_t& status) const {
    status = 5;
    return nullptr;
  }
  // A remote asset: the item that `request` names. Null with `status` set on
  // failure.
  virtual std::shared_ptr<const SessionItem> OpenFarsideAsset(const std::string& /*application*/,
                                                              const tether::FarsideAssetRequestInfo& /*request*/,
                                                              int32_t& status) const {
    status = 5;
    return nullptr;
  }
};

}  // namespace tetherserver
