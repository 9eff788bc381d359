#pragma once

#include <tether/AudioRenderOptions.h>
#include <tether/CaptionSelectionData.h>
#include <tether/FarsideAssetRequestInfo.h>
#include <tether/File.h>
#include <tether/MediaTypes.h>
#include <tether/ServerConnectionType.h>
#include <tether/SourceInfo.h>
#include <tether/VideoRenderOptions.h>
#include <tether/testing/Operation.h>

#include <kilncore/utility/Guid.h>

#include <any>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tether::testing {

// The arguments of each recorded operation; the record's `arguments` holds the
// one of its operation, or nothing for operations without arguments
// (CreateFileServerLink, ConnectFileServer, SetProgressCallback,
// RuntimeFontChange, GetMissingAssets, GetFile, GetContainerID,
// GetContainedItems, GetCaptionData, DoesSourceContainLink, GetRuntimeGuid).
struct CreateServerArgs {
  // Empty for the servers that have a single road (Easel, Darkslide).
  std::optional<ServerConnectionType> connectionType;
};
struct ConnectLinkedServerArgs {
  // Empty for the overload without a connection type.
  std::optional<ServerConnectionType> connectionType;
};
struct OpenProjectArgs {
  File file;
};
struct OpenProjectWithJSONArgs {
  File file;
  std::string json;
};
struct OpenFarsideAssetArgs {
  FarsideAssetRequestInfo request;
};
struct OpenFileArgs {
  File file;
};
// GetSource, GetContainer, IsSourceLinked.
struct IdArgs {
  kilncore::utility::Guid id;
};
struct GetItemsAsXMLArgs {
  std::vector<kilncore::utility::Guid> ids;
};
struct SourceQueryArgs {
  std::string getter;  // "GetFrameSize", ...
};
struct InitArgs {
  SourceInfo info;
  bool hasCallback = false;
};
struct GetVideoRendererArgs {
  VideoRenderOptions options;
};
struct GetAudioRendererArgs {
  AudioRenderOptions options;
  RatioTime position;
  uint32_t blockSamples = 0;
};
struct SendRequestArgs {
  std::any call;
};
struct RenderXMPArgs {
  RatioTime start;
  RatioTime duration;
};
struct SetCaptionSelectionDataArgs {
  CaptionSelectionData selection;
};
struct RenderVideoArgs {
  kilncore::utility::Guid identifier;
  RatioTime time;
};
// CancelVideoRender, RenderAudio.
struct JobArgs {
  kilncore::utility::Guid identifier;
};

// One recorded call.
struct CallRecord {
  // Position among all calls of the backend, from 0.
  uint64_t sequence = 0;
  Operation operation{};
  // The object called (see ScriptedBackend for the keys of each kind).
  std::string key;
  std::any arguments;

  // The arguments as the operation's struct; throws std::bad_any_cast if `A`
  // is the wrong struct.
  template <class A>
  const A& Args() const {
    return std::any_cast<const A&>(arguments);
  }
};

}  // namespace tether::testing
