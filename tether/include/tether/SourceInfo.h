#pragma once

#include <tether/CapsuleParams.h>
#include <tether/FarsideAssetRequestInfo.h>
#include <tether/FarsideProductionRequestInfo.h>
#include <tether/File.h>
#include <tether/MediaTypes.h>

#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tether {

// The description of a linked item as its server gives it.
//
// Members are in the order of the wire record, with the defaults of an item
// that the server hasn't described yet. The source's own getters (Source.h) are
// the supported way to read most of these; the record travels whole so that it
// can be stored, patched (Source::Init) and handed back.
struct SourceInfo {
  // The file that holds the item.
  File file;
  // The remote asset the item was opened from; empty for a local item.
  FarsideAssetRequestInfo assetRequest;
  FarsideProductionRequestInfo productionRequest;
  // The item's name inside its file.
  kilncore::WideString name;
  // The application that produced the item, for the user.
  kilncore::WideString producerDescription;
  // The identifier of the item inside its file.
  kilncore::utility::Guid sourceID;
  RatioTime startTime{0, 1};
  PixelAspectRatio pixelAspectRatio;
  // Version of the server's description format.
  uint32_t formatVersion = 1;
  // The frame's origin and size in pixels.
  uint32_t originX = 0;
  uint32_t originY = 0;
  uint32_t width = 0;
  uint32_t height = 0;
  FrameRate frameRate = kNoFrameRate;
  std::vector<PixelFormat> nativePixelFormats;
  // Alpha kind and field type of the rendered frames (4: any field type).
  int32_t alphaKind = 3;
  FieldType fieldType = 4;
  std::vector<AudioChannelLabel> audioChannelLayout;
  FrameRate audioSampleRate = kNoFrameRate;
  // The server's content state: changes whenever the item's content changes.
  kilncore::utility::Guid contentState;
  bool hasVideo = false;
  bool hasAudio = false;
  RatioTime duration{0, 1};
  RatioTime workInPoint = kInvalidRatioTime;
  RatioTime workOutPoint = kInvalidRatioTime;
  // Matte colour of straight alpha, each in 0..1.
  float matteColorR = 0.0f;
  float matteColorG = 0.0f;
  float matteColorB = 0.0f;
  RatioTime tickCount{0, 1};
  bool isRenderable = true;
  bool isDropFrame = false;
  RatioTime previewInPoint = kInvalidRatioTime;
  RatioTime previewOutPoint = kInvalidRatioTime;
  bool hasFrozenUnstretchableRegions = false;
  bool isSequence = false;
  // The owning application's render options for this item, JSON in UTF-8.
  std::string appSpecificRenderOptions;
  CapsuleParams capsuleParams;
  ColorSpace colorSpace;
  bool isColorManaged = false;
  // A remote item's name for the user, shown after the source's name.
  kilncore::WideString assetDisplayName;
  // The server's maximum render quality, in percent.
  int32_t maxRenderQualityPercent = 100;
  bool hasCaptions = false;
  bool isTemplate = false;
  // Items this one links to, the files it depends on, and its markers (UTF-8).
  std::vector<kilncore::utility::Guid> linkedSources;
  std::vector<kilncore::WideString> dependencyPaths;
  std::vector<std::string> markers;
  int64_t revision = 0;
  // Further data of the owning application, JSON in UTF-8.
  std::string extraJSON;

  friend bool operator==(const SourceInfo&, const SourceInfo&) = default;
};

}  // namespace tether
