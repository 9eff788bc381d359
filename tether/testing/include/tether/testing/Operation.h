#pragma once

#include <string_view>

namespace tether::testing {

// Every call that the scripted backend records, one value per operation of the
// client library. Behaviours are scripted and calls counted per operation.
enum class Operation {
  // Backend entry points (CreateTetherServer of each typed server).
  kCreateMarlServer,
  kCreateSprocketServer,
  kCreateTolmenServer,
  kCreateEaselServer,
  kCreateDarkslideServer,
  // Typed servers.
  kConnectLinkedServer,
  kCreateFileServerLink,
  kConnectFileServer,
  // Server.
  kSetProgressCallback,
  kOpenProject,
  kOpenProjectWithJSON,
  kOpenFarsideAsset,
  // FileServer.
  kOpenFile,
  // Project.
  kGetSource,
  kGetContainer,
  kGetItemsAsXML,
  kIsSourceLinked,
  kRuntimeFontChange,
  kGetMissingAssets,
  kGetFile,
  // Container.
  kGetContainerID,
  kGetContainedItems,
  // Source.
  kSourceQuery,  // any of the local getters; the arguments name it
  kInit,
  kGetVideoRenderer,
  kGetAudioRenderer,
  kSendRequest,
  kRenderXMP,
  kGetCaptionData,
  kSetCaptionSelectionData,
  kDoesSourceContainLink,
  kGetRuntimeGuid,
  // Renderers.
  kRenderVideo,
  kCancelVideoRender,
  kRenderAudio,
};

// The operation's name as the client library spells it ("RenderVideo").
std::string_view ToString(Operation operation);

}  // namespace tether::testing
