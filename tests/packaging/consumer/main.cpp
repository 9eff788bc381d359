// Imports the first composition of a project through an installed TetherMedia,
// as a host would: platform up, IPC backend installed, module initialised and
// found through the importer factory, ImportFile, then one frame of video.
// Prints the composition and the frame's size; exits non-zero on a failure.

#include <TetherMedia/Lifecycle.h>
#include <TetherMedia/ProjectEnumeration.h>

#include <KL/IMediaInfo.h>
#include <KL/IVideoSource.h>
#include <RL/IPane.h>
#include <RL/MediaType.h>
#include <WF/IImporterFactory.h>
#include <WF/IMediaModule.h>
#include <WF/ReferenceImporterFactory.h>
#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/classref/ClassFactory.h>
#include <kilncore/string/UTFConversion.h>
#include <tether/Backend.h>
#include <tether/ipc/IpcBackend.h>

#include <cstdio>
#include <string>

namespace {

constexpr uint32_t kModuleCode = 0x5454484Du;  // 'TTHM'

kilncore::classref::InterfaceRef<WF::IMediaModule> FindModule() {
  kilncore::classref::InterfaceRef<WF::IImporterFactory> factory =
      kilncore::classref::CreateClassInstanceRef(WF::kImporterFactoryClassID);
  for (const auto& module : factory->GetMediaModules()) {
    if (module && module->GetModuleCode() == kModuleCode) return module;
  }
  return nullptr;
}

int Import(WF::IMediaModule& module, const std::string& path) {
  const auto items = TetherMedia::GetCompsInfoForMarlp(kilncore::string::UTF8to16(path));
  if (items.empty()) {
    std::fprintf(stderr, "consumer: no composition in %s\n", path.c_str());
    return 1;
  }
  std::printf("composition: %s\n", kilncore::string::UTF16to8(items.front().name).c_str());
  const kilncore::utility::Guid first = items.front().id;
  TetherMedia::SetSelectSource([first](kilncore::WideString&, kilncore::utility::Guid& sourceID) {
    sourceID = first;
    return 0;
  });
  kilncore::classref::InterfaceRef<KL::IMediaInfo> item;
  RL::BinaryData prefs;
  bool prefsChanged = false;
  const int imported = module.ImportFile(item, kilncore::string::UTF8to16(path), 0, 0, prefs, prefsChanged, false,
                                         true, u"", 0, nullptr, 0, nullptr);
  TetherMedia::SetSelectSource({});
  if (imported < 0 || !item) {
    std::fprintf(stderr, "consumer: import failed with 0x%08X\n", static_cast<unsigned>(imported));
    return 1;
  }
  kilnmediatypes::FrameRate rate;
  kilncore::classref::InterfaceRef<RL::ISource> stream;
  if (item->CreateSourceForStream(RL::kMediaType_Video, 0, prefs, rate, u"", u"", u"", u"", stream) < 0) return 1;
  const kilncore::classref::InterfaceRef<KL::IVideoSource> video(stream);
  RL::FrameFormat format;
  RL::RectT<int> bounds;
  video->GetFrameSize(bounds);
  format.pixelFormat = kilnmediatypes::kPixelFormat_BGRA_4444_8u;
  format.width = bounds.Width();
  format.height = bounds.Height();
  video->GetPixelAspectRatio(format.pixelAspectRatio);
  format.fieldType = video->GetFieldType();
  KL::IVideoSource::Frame frame;
  if (video->SelectFrameFormat(kilnmediatypes::TickTime(0), format) < 0) {
    std::fprintf(stderr, "consumer: frame 0 has no format\n");
    return 1;
  }
  // A blocking request can be released just before its frame is filed; the
  // frame is in the cache by then, so one more request finds it there.
  if (video->GetFrame(kilnmediatypes::TickTime(0), format, prefs, false, frame) < 0 || !frame) {
    video->GetFrame(kilnmediatypes::TickTime(0), format, prefs, false, frame);
  }
  if (!frame) {
    std::fprintf(stderr, "consumer: frame 0 could not be had\n");
    return 1;
  }
  std::printf("frame 0: %d x %d, %zu bytes\n", format.width, format.height, frame->GetDataSize());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: consumer PROJECT\n");
    return 2;
  }
  kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateRunning);
  WF::RegisterReferenceImporterFactory();
  tether::ipc::InstallDefaultIpcBackend();
  TetherMedia::Initialize();
  int status = 1;
  if (auto module = FindModule()) status = Import(*module, argv[1]);
  kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateTerminating);
  TetherMedia::Shutdown();
  tether::InstallBackend(nullptr);
  return status;
}
