#pragma once

#include <tether/AnyTree.h>
#include <tether/AudioRenderOptions.h>
#include <tether/CaptionData.h>
#include <tether/CaptionSelectionData.h>
#include <tether/FarsideAssetRequestInfo.h>
#include <tether/File.h>
#include <tether/ItemInfo.h>
#include <tether/MediaTypes.h>
#include <tether/MissingAssets.h>
#include <tether/SourceInfo.h>
#include <tether/VideoRenderOptions.h>

#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

#include <vector>

// The client library's records as value trees on the wire, both ways. Writers
// never fail; readers throw WireError for anything missing, mistyped or out of
// range (a zero denominator, say), so that a bad record fails its request.
namespace tether::wire {

AnyValue ToTree(const kilncore::utility::Guid& guid);
kilncore::utility::Guid GuidFromTree(const AnyValue& tree);

// Wide texts travel as UTF-8.
AnyValue ToTree(const kilncore::WideString& text);
kilncore::WideString WideFromTree(const AnyValue& tree);

// [numerator, denominator], the denominator above 0.
AnyValue RatioToTree(const RatioTime& time);
RatioTime RatioFromTree(const AnyValue& tree);

AnyValue ToTree(const File& file);
File FileFromTree(const AnyValue& tree);

AnyValue ToTree(const FarsideAssetRequestInfo& request);
FarsideAssetRequestInfo AssetRequestFromTree(const AnyValue& tree);

AnyValue ToTree(const SourceInfo& info);
SourceInfo SourceInfoFromTree(const AnyValue& tree);

AnyValue ToTree(const VideoRenderOptions& options);
VideoRenderOptions VideoRenderOptionsFromTree(const AnyValue& tree);

AnyValue ToTree(const AudioRenderOptions& options);
AudioRenderOptions AudioRenderOptionsFromTree(const AnyValue& tree);

AnyValue ToTree(const std::vector<ItemInfo>& items);
std::vector<ItemInfo> ItemsFromTree(const AnyValue& tree);

AnyValue ToTree(const MissingAssets& assets);
MissingAssets MissingAssetsFromTree(const AnyValue& tree);

AnyValue ToTree(const CaptionData& data);
CaptionData CaptionDataFromTree(const AnyValue& tree);

AnyValue ToTree(const CaptionSelectionData& selection);
CaptionSelectionData CaptionSelectionFromTree(const AnyValue& tree);

}  // namespace tether::wire
