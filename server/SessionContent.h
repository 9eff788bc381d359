#pragma once

#include <tether/AudioRenderOptions.h>
#include <tether/File.h>
#include <tether/ItemInfo.h>
#include <tether/MissingAssets.h>
#include <tether/SourceInfo.h>
#include <tether/VideoRenderOptions.h>

#include <kilncore/utility/Guid.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
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
  // Fills `frames` interleaved sample frames of the options' channels, from
  // sample `start` on. Returns 0 or a failure status.
  virtual int32_t RenderAudio(const tether::AudioRenderOptions& options, int64_t start, uint32_t frames,
                              float* target) const = 0;
  // The sample rate (Hz) of `options`, 0 if unsupported.
  virtual uint32_t SampleRate(const tether::AudioRenderOptions& options) const = 0;

  // Test hooks of the synthetic content: requests that are never answered,
  // to test what a client does with requests in flight.
  virtual bool HangsRenders() const { return false; }
  virtual bool HangsRendererCreation(const tether::VideoRenderOptions&) const { return false; }
};

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
                                                            const std::string& json, int32_t& status) const = 0;
};

}  // namespace tetherserver
