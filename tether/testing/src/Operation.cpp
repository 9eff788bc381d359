#include <tether/testing/Operation.h>

namespace tether::testing {

std::string_view ToString(Operation operation) {
  switch (operation) {
    case Operation::kCreateMarlServer: return "MarlServer::CreateTetherServer";
    case Operation::kCreateSprocketServer: return "SprocketServer::CreateTetherServer";
    case Operation::kCreateTolmenServer: return "TolmenServer::CreateTetherServer";
    case Operation::kCreateEaselServer: return "EaselServer::CreateTetherServer";
    case Operation::kCreateDarkslideServer: return "DarkslideServer::CreateTetherServer";
    case Operation::kConnectLinkedServer: return "ConnectLinkedServer";
    case Operation::kCreateFileServerLink: return "CreateFileServerLink";
    case Operation::kConnectFileServer: return "ConnectFileServer";
    case Operation::kSetProgressCallback: return "SetProgressCallback";
    case Operation::kOpenProject: return "OpenProject";
    case Operation::kOpenProjectWithJSON: return "OpenProjectWithJSON";
    case Operation::kOpenFarsideAsset: return "OpenFarsideAsset";
    case Operation::kOpenFile: return "OpenFile";
    case Operation::kGetSource: return "GetSource";
    case Operation::kGetContainer: return "GetContainer";
    case Operation::kGetItemsAsXML: return "GetItemsAsXML";
    case Operation::kIsSourceLinked: return "IsSourceLinked";
    case Operation::kRuntimeFontChange: return "RuntimeFontChange";
    case Operation::kGetMissingAssets: return "GetMissingAssets";
    case Operation::kGetFile: return "GetFile";
    case Operation::kGetContainerID: return "Container::GetID";
    case Operation::kGetContainedItems: return "GetContainedItems";
    case Operation::kSourceQuery: return "Source getter";
    case Operation::kInit: return "Init";
    case Operation::kGetVideoRenderer: return "GetVideoRenderer";
    case Operation::kGetAudioRenderer: return "GetAudioRenderer";
    case Operation::kSendRequest: return "SendRequest";
    case Operation::kRenderXMP: return "RenderXMP";
    case Operation::kGetCaptionData: return "GetCaptionData";
    case Operation::kSetCaptionSelectionData: return "SetCaptionSelectionData";
    case Operation::kDoesSourceContainLink: return "DoesSourceContainLink";
    case Operation::kGetRuntimeGuid: return "GetRuntimeGuid";
    case Operation::kRenderVideo: return "RenderVideo";
    case Operation::kCancelVideoRender: return "CancelVideoRender";
    case Operation::kRenderAudio: return "RenderAudio";
  }
  return "unknown operation";
}

}  // namespace tether::testing
