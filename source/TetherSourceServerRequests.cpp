#include <source/TetherSource.h>

#include <source/NamedRequests.h>

#include <KL/MediaFactory.h>
#include <WF/CallbackInstanceIDMap.h>
#include <WF/ImportableFileTypeUtils.h>
#include <WF/VideoStreamWithSequenceFieldTypeSuiteObject.h>

#include <kilncore/serialization/JSONBuild.h>

#include <memory>
#include <utility>

namespace TetherMedia {

using kilncore::classref::InterfaceRef;
using kilncore::threads::ScopedRecursiveLock;
using kilnmediatypes::TickTime;

namespace {

bool IsTolmenItem(const tether::Source& source) {
  return WF::ImportableFileTypeUtils::IsTolmenProject(source.GetParentProjectFile().FullPath());
}

// Smart rendering is also offered for Final Cut Pro XML, which the host's own
// server opens as a plain file.
bool IsSmartRenderableItem(const tether::Source& source) {
  const tether::File file = source.GetParentProjectFile();
  const kilncore::WideString& path = file.FullPath();
  return WF::ImportableFileTypeUtils::IsTolmenProject(path) || WF::ImportableFileTypeUtils::IsFCPProject(path);
}

}  // namespace

int32_t TetherSource::SendNamedRequest(tether::Source& source, const kilncore::serialization::JSONValuePtr& call,
                                       const ReplyReader& read) {
  Request request;
  kilncore::utility::Guid id;
  AddRequest(request, id);
  // The callbacks hold the only promises: a reply that can't be read, or a
  // callback that the library drops, ends the wait at once instead of leaving
  // it to the deadline.
  kilncore::async::Promise<void> promise = std::move(request.promise);
  source.SendRequest(*call, NamedRequests::CompleteWithReply(promise, NamedRequestName(call), read),
                     NamedRequests::FailWithError(promise));
  promise.Reset();
  return WaitForRequest(request, id);
}

std::string TetherSource::NamedRequestName(const kilncore::serialization::JSONValuePtr& call) {
  std::string name;
  kilncore::serialization::JSONValuePtr arguments;
  kilncore::serialization::ReadCall(call, name, arguments);
  return name;
}

void TetherSource::DetermineSmartRenderSegmentsInRange(TickTime start, TickTime end,
                                                       const kilnmediatypes::PixelFormat& format, bool flagA,
                                                       bool flagB, int32_t /*reserved*/,
                                                       std::map<TickTime, RL::SmartRenderSegment>& outSegments) {
  const std::shared_ptr<tether::Source> source = CopySource();
  if (!source || !IsSmartRenderableItem(*source)) return;
  auto holder = std::make_shared<NamedRequests::SegmentMap>();
  const int32_t result = SendNamedRequest(
      *source, NamedRequests::BuildSmartRenderSegmentsCall(*source, start, end, format, flagA, flagB),
      [holder](const std::shared_ptr<std::any>& reply) { *holder = NamedRequests::ReadSegments(reply); });
  if (result < 0) return;
  outSegments.swap(*holder);
  ResolveClipStreams(source, outSegments);
}

void TetherSource::ResolveClipStreams(const std::shared_ptr<tether::Source>& source,
                                      std::map<TickTime, RL::SmartRenderSegment>& segments) {
  for (auto& [time, segment] : segments) {
    const auto clipID = static_cast<uint32_t>(segment.ClipID);
    if (const int32_t known = FindClipStreamInstanceID(clipID); known != 0) {
      segment.ClipID = known;
      continue;
    }
    InterfaceRef<TetherSource> perClip;
    Create(perClip, source, clipID);
    InterfaceRef<KL::IVideoStream> stream;
    if (KL::MediaFactory::CreateGeneratedVideoStream(InterfaceRef<KL::IVideoSource>(perClip), stream) < 0) continue;
    auto suite = std::make_shared<WF::VideoStreamWithSequenceFieldTypeSuiteObject>();
    suite->SetVideoStream(stream);
    segment.ClipID = AdoptClipStream(clipID, InterfaceRef<kilncore::classref::UnknownBase>(suite));
  }
}

void TetherSource::RefreshFromServer(bool TetherSource::*dirty, const CallBuilder& build,
                                     const TableReplacer& replace) {
  std::shared_ptr<tether::Source> source;
  bool fetch = false;
  {
    ScopedRecursiveLock lock(mStateMutex);
    fetch = this->*dirty && mSource && IsTolmenItem(*mSource);
    // Cleared before the call: a failed fetch is not tried again until the
    // next change sets the flag.
    this->*dirty = false;
    source = mSource;
  }
  if (!fetch) return;
  // The reply may come after the host has let go of this source.
  std::weak_ptr<kilncore::classref::UnknownBase> weak = GetWeakReference();
  SendNamedRequest(*source, build(*source), [weak, replace](const std::shared_ptr<std::any>& reply) {
    const std::shared_ptr<kilncore::classref::UnknownBase> owner = weak.lock();
    if (auto* self = dynamic_cast<TetherSource*>(owner.get())) replace(*self, reply);
  });
}

void TetherSource::RefreshAcceleratedTimelineData() {
  const bool usePreviewFiles = mUsePreviewFiles.load();
  RefreshFromServer(
      &TetherSource::mAcceleratedDataDirty,
      [usePreviewFiles](const tether::Source& source) {
        return NamedRequests::BuildAcceleratedTimelineDataCall(source, usePreviewFiles);
      },
      [](TetherSource& self, const std::shared_ptr<std::any>& reply) {
        self.ReplaceAcceleratedRanges(NamedRequests::ReadAcceleratedRanges(reply));
      });
}

void TetherSource::RefreshStillRanges() {
  RefreshFromServer(
      &TetherSource::mStillRangesDirty, &NamedRequests::BuildStillRangesCall,
      [](TetherSource& self, const std::shared_ptr<std::any>& reply) {
        self.ReplaceStillRanges(NamedRequests::ReadStillRanges(reply));
      });
}

}  // namespace TetherMedia
