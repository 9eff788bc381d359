#include <source/TetherSource.h>

#include <module/RenderOptionsReaders.h>

#include <Pane/SharedPaneCache.h>
#include <Pane/WrapPaneAroundBinaryReference.h>

#include <kilncore/config/KilnException.h>
#include <kilncore/debug/TraceSite.h>
#include <kilnmediatypes/RatioTime.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <exception>
#include <sstream>
#include <string>

namespace TetherMedia {

using kilncore::threads::ScopedRecursiveLock;
using kilncore::utility::Guid;
using kilnmediatypes::TickTime;

namespace {

constexpr const char* kChannel = "TetherMedia";

std::string TimeText(const boost::rational<int64_t>& time) {
  std::ostringstream text;
  text << time;
  return text.str();
}

}  // namespace

int32_t TetherSource::GetFrame(TickTime time, const RL::FrameFormat& format, const RL::BinaryData& prefs,
                               bool cacheOnly, Frame& outFrame) {
  return RequestFrame(cacheOnly ? RequestMode::kCacheOnly : RequestMode::kBlocking, time, format, prefs, outFrame);
}

int32_t TetherSource::GetFrameWithHint(TickTime time, const RL::FrameFormat& format, const RL::BinaryData& prefs,
                                       int32_t, bool cacheOnly, Frame& outFrame) {
  return GetFrame(time, format, prefs, cacheOnly, outFrame);
}

int32_t TetherSource::RenderFrameAsync(TickTime time, const RL::FrameFormat& format, const RL::BinaryData& prefs) {
  Frame ignored;
  return RequestFrame(RequestMode::kBackground, time, format, prefs, ignored);
}

TickTime TetherSource::GetStretchAdjustment(TickTime time, const RL::BinaryData& prefs) {
  if (!HasFrozenUnstretchableRegions()) return TickTime(0);
  try {
    const TickTime offset(ParseMarlRenderOptions(BuildRenderOptionsJSON(prefs)).GetStretchOffset());
    return std::min(time, offset);
  } catch (const std::exception& error) {
    // Empty options, or a per-clip source's number, are no Marl options: the
    // frame is then rendered at the host's time rather than not at all.
    static kilncore::debug::TraceSite site(kChannel, 10);
    if (site.Enabled()) site.Write(std::string("No stretch offset in the render options: ") + error.what());
    return TickTime(0);
  }
}

int32_t TetherSource::RequestFrame(RequestMode mode, TickTime time, const RL::FrameFormat& format,
                                   const RL::BinaryData& prefs, Frame& outFrame) {
  const TickTime renderTime = time - GetStretchAdjustment(time, prefs);
  Guid identifier;
  static_cast<KL::IVideoSource*>(this)->GetIdentifierForSourceVideo(identifier, renderTime, format, prefs);

  // A frame that the host has seen once costs no message to the server.
  outFrame = Pane::SharedPaneCache::Instance().RetrieveFromCache(identifier);
  if (mode == RequestMode::kCacheOnly || outFrame) return 0;

  boost::shared_ptr<PendingRender> entry;
  Request request;
  Guid requestID;
  bool start = false;
  {
    ScopedRecursiveLock lock(mStateMutex);
    const auto found = mPendingRenders.find(identifier);
    if (found != mPendingRenders.end()) {
      // On its way already. A blocking caller isn't attached to it: it waits
      // on no request, ends at once as cancelled, and the host asks again.
      if (mode == RequestMode::kBackground) return 0;
      entry = found->second;
      start = entry->retries != 0;
    } else {
      entry = boost::make_shared<PendingRender>();
      entry->time = kilnmediatypes::TimeToRatioTime(renderTime);
      entry->format = format;
      entry->appOptions = BuildRenderOptionsJSON(prefs);
      if (mode == RequestMode::kBlocking) {
        AddRequest(request, requestID);
        entry->promise = std::move(request.promise);
      }
      mPendingRenders.emplace(identifier, entry);
      start = true;
    }
  }

  if (start) StartFrameRender(entry, identifier);
  if (mode != RequestMode::kBlocking) return 0;

  int32_t result = WaitForRequest(request, requestID);
  if (result >= 0) {
    ScopedRecursiveLock lock(mStateMutex);
    outFrame = entry->frame;
    if (!outFrame) result = kRenderFailed;
  }
  return result;
}

void TetherSource::StartFrameRender(const boost::shared_ptr<PendingRender>& entry, const Guid& identifier) {
  const std::shared_ptr<tether::VideoRenderer> renderer =
      FindOrCreateVideoRenderer(entry->format, entry->appOptions, true);
  // Without a renderer the entry waits in the table for a cancel.
  if (!renderer) return;

  static kilncore::debug::TraceSite site(kChannel, 10);
  if (site.Enabled()) site.Write("Rendering frame at time " + TimeText(entry->time));

  // The answer may come after this object is gone; it then does nothing.
  const std::weak_ptr<kilncore::classref::UnknownBase> weakSelf = GetWeakReference();
  renderer->RenderVideo(
      [weakSelf, self = this, identifier](const Guid&,
                                          const std::shared_ptr<processcoordination::BinaryReference>& reference,
                                          int status) {
        const auto alive = weakSelf.lock();
        if (!alive) return;
        // The entry is ours by the identifier we sent, whatever the answer
        // names.
        self->OnVideoRendered(identifier, reference, status, true);
      },
      identifier, entry->time);
}

void TetherSource::OnVideoRendered(const Guid& identifier,
                                   const std::shared_ptr<processcoordination::BinaryReference>& reference,
                                   int32_t status, bool mayRetry) {
  Frame frame;
  if (status == 0 && reference) {
    // The frame enters the shared cache before the table hears of it, so a
    // host that finds the entry gone finds the frame.
    if (Pane::WrapPaneAroundBinaryReference(reference, identifier, frame) >= 0) {
      Pane::SharedPaneCache::Instance().InsertIntoCache(frame, identifier, kFrameCacheRetention);
    } else {
      frame.Reset();
    }
  }
  FinishFrameRender(identifier, frame, status, mayRetry);
}

void TetherSource::FinishFrameRender(const Guid& identifier, const Frame& frame, int32_t status, bool mayRetry) {
  boost::shared_ptr<PendingRender> entry;
  bool retry = false;
  {
    ScopedRecursiveLock lock(mStateMutex);
    const auto found = mPendingRenders.find(identifier);
    // A late answer after a cancel: its frame is in the cache all the same.
    if (found == mPendingRenders.end()) return;
    entry = found->second;
    if (frame || !mayRetry) {
      mPendingRenders.erase(found);
    } else if (++entry->retries < kMaxRenderAttempts) {
      retry = true;
    } else {
      mPendingRenders.erase(found);
    }
  }

  if (!frame && retry) {
    StartFrameRender(entry, identifier);
    return;
  }
  if (!frame) {
    if (status != kRenderCanceledStatus) {
      static kilncore::debug::TraceSite site(kChannel, 0);
      if (site.Enabled()) site.Write("RenderVideo failed for time " + TimeText(entry->time));
    }
    entry->promise.SetException(
        std::make_exception_ptr(kilncore::config::kiln_exception("Synchronous FinishPane failed", status)));
  } else {
    static kilncore::debug::TraceSite site(kChannel, 10);
    if (site.Enabled()) site.Write("Frame received at time " + TimeText(entry->time));
    entry->promise.SetSuccess();
  }
  // Stored only after the waiter has been released: a waiter that looks
  // first finds no frame and reports a failed render. Kept on purpose; the
  // frame is in the cache for the host's next request.
  ScopedRecursiveLock lock(mStateMutex);
  entry->frame = frame;
}

std::shared_ptr<tether::VideoRenderer> TetherSource::FindRendererLocked(
    const tether::VideoRenderOptions& options) const {
  const auto found = std::find_if(mVideoRenderers.begin(), mVideoRenderers.end(),
                                  [&](const VideoRendererEntry& entry) { return entry.options == options; });
  return found == mVideoRenderers.end() ? nullptr : found->renderer;
}

std::shared_ptr<tether::VideoRenderer> TetherSource::FindOrCreateVideoRenderer(
    const RL::FrameFormat& format, const kilncore::WideString& appOptionsJSON, bool create) {
  const tether::VideoRenderOptions options = BuildVideoRenderOptions(format, appOptionsJSON);
  std::shared_ptr<tether::Source> source;
  {
    ScopedRecursiveLock lock(mStateMutex);
    if (auto renderer = FindRendererLocked(options)) return renderer;
    source = mSource;
  }
  if (!create || !source) return nullptr;

  Request request;
  Guid requestID;
  AddRequest(request, requestID);
  // The callback owns the promise: if the library drops the callback without
  // calling it, the promise breaks and the wait ends.
  auto made = std::make_shared<std::shared_ptr<tether::VideoRenderer>>();
  source->GetVideoRenderer(
      [promise = std::move(request.promise), made](tether::ConnectionStatus status,
                                                   const std::shared_ptr<tether::VideoRenderer>& renderer) {
        if (status != tether::kConnectionStatusOK) {
          promise.SetException(std::make_exception_ptr(
              kilncore::config::kiln_exception("CreateSynchronousVideoRenderer failed", kRenderFailed)));
          return;
        }
        if (renderer) *made = renderer;
        promise.SetSuccess();
      },
      options);
  if (WaitForRequest(request, requestID) < 0 || !*made) return nullptr;

  // Another thread may have made a renderer for the same options meanwhile:
  // the pool keeps one per distinct options.
  ScopedRecursiveLock lock(mStateMutex);
  if (auto renderer = FindRendererLocked(options)) return renderer;
  mVideoRenderers.push_back(VideoRendererEntry{options, *made});
  return *made;
}

int32_t TetherSource::CancelFrameRender(TickTime time, const RL::FrameFormat& format, const RL::BinaryData& prefs) {
  Guid identifier;
  GetIdentifierForSourceVideo(identifier, time, format, prefs);
  OnVideoRendered(identifier, nullptr, kRenderCanceledStatus, false);
  if (const auto renderer = FindOrCreateVideoRenderer(format, BuildRenderOptionsJSON(prefs), false)) {
    renderer->CancelVideoRender(identifier);
  }
  return 0;
}

bool TetherSource::IsFramePending(TickTime time, const RL::FrameFormat& format, int32_t,
                                  const RL::BinaryData& prefs) {
  Guid identifier;
  GetIdentifierForSourceVideo(identifier, time, format, prefs);
  ScopedRecursiveLock lock(mStateMutex);
  return mPendingRenders.contains(identifier);
}

}  // namespace TetherMedia
