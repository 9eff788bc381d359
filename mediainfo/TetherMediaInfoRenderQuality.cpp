#include <mediainfo/TetherMediaInfo.h>

#include <requests/ServerWait.h>
#include <source/NamedRequests.h>

#include <WF/ImportableFileTypeUtils.h>

#include <memory>

namespace TetherMedia {

bool TetherMediaInfo::GetMaximumRenderQuality() {
  // Only a host project's server knows a sequence's limit; every other item,
  // and a request that fails, may render at the highest quality.
  auto result = std::make_shared<bool>(true);
  const std::shared_ptr<tether::Source> source = GetSourceSnapshot();
  if (!source || !WF::ImportableFileTypeUtils::IsTolmenProject(mFilePath)) return true;
  const kilncore::serialization::JSONValuePtr call = NamedRequests::BuildMaximumRenderQualityCall(*source);
  ServerWait::Block([&](const kilncore::async::Promise<void>& promise) {
    source->SendRequest(*call,
                        NamedRequests::CompleteWithReply(promise, NamedRequests::kMaximumRenderQuality,
                                                         [result](const std::shared_ptr<std::any>& reply) {
                                                           *result = NamedRequests::ReadBool(reply);
                                                         }),
                        NamedRequests::FailWithError(promise));
  });
  return *result;
}

}  // namespace TetherMedia
