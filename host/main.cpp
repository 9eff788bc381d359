// tetherhost: the reference host. It starts the host's platform, loads the
// module through its exported entry points and the importer factory, and uses
// it as a host does: lists a project's compositions, imports one and pulls its
// frames and audio, or plays it. `demo` shows the module's start-up alone.

#include <TetherMedia/Lifecycle.h>
#include <TetherMedia/Prefs.h>
#include <TetherMedia/RequestFutures.h>

#include <WF/IImporterFactory.h>
#include <WF/IMediaModule.h>
#include <WF/ReferenceImporterFactory.h>
#include <kilncore/classref/ClassFactory.h>
#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/async/UntypedFuture.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/string/UTFConversion.h>

#include <CLI/CLI.hpp>

#include <host/cli/HostError.h>
#include <host/commands/ImportCommand.h>
#include <host/commands/ListCommand.h>
#include <host/commands/PlayCommand.h>
#include <host/session/HostSession.h>
#include <host/session/ServerLossWatch.h>
#include <tether/ServerFailure.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>

namespace {

using kilncore::string::UTF16to8;

std::string Hex(int32_t code) {
  char text[16];
  std::snprintf(text, sizeof(text), "0x%08X", static_cast<uint32_t>(code));
  return text;
}

// The host's side of start-up: the application is running, and the importer
// layer has its factory, before any module is initialised.
void StartPlatform() {
  kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateRunning);
  WF::RegisterReferenceImporterFactory();
  std::printf("platform: application running, importer factory registered\n");
}

void ShowModules() {
  kilncore::classref::InterfaceRef<WF::IImporterFactory> factory =
      kilncore::classref::CreateClassInstanceRef(WF::kImporterFactoryClassID);
  for (const auto& module : factory->GetMediaModules()) {
    const uint32_t code = module->GetModuleCode();
    const char fourcc[5] = {static_cast<char>(code >> 24), static_cast<char>(code >> 16),
                            static_cast<char>(code >> 8), static_cast<char>(code), 0};
    std::printf("importer: \"%s\" (%s), code '%s', revision %d, recognises key %u: %s\n",
                UTF16to8(module->GetModuleName()).c_str(),
                UTF16to8(module->GetModuleDisplayName()).c_str(), fourcc,
                module->GetModuleRevision(), code,
                module->RecognizesImporterKey(kilncore::string::UTF8to16(std::to_string(code)))
                    ? "yes"
                    : "no");
  }
}

// A clip's prefs blob: which item it shows, and how the owner renders it.
void ShowPrefsBlob() {
  const auto sourceID = kilncore::utility::Guid::CreateUnique();
  const RL::BinaryData prefs = TetherMedia::SourceIDToPrefs(sourceID);
  std::printf("prefs: item %s packs into %zu bytes and reads back as %s\n",
              sourceID.AsUTF8String().c_str(), prefs.GetSize(),
              TetherMedia::PrefsToSourceID(prefs).AsUTF8String().c_str());
}

// An import the host cancels: the request table ends it with "User Canceled".
void ShowCancellableRequest() {
  const kilncore::WideString path = u"/projects/demo.marlp";
  const auto sourceID = kilncore::utility::Guid::CreateUnique();
  auto pair = TetherMedia::CreateRequestFuture(path, sourceID);
  TetherMedia::CancelRequest(path, sourceID);
  kilncore::async::WaitForUntypedUntil(pair.future,
                                       std::chrono::steady_clock::now() + std::chrono::seconds(5),
                                       true);
  std::printf("request: cancelled by path and item, ended with %s\n",
              Hex(kilncore::config::ExtractResultFromException(pair.future.GetException())).c_str());
}

// Termination fails whatever is still open, then the module shuts down.
void StopPlatform(kilncore::async::FuturePromisePair<void> open) {
  kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateTerminating);
  std::printf("termination: an open request ended with %s\n",
              Hex(kilncore::config::ExtractResultFromException(open.future.GetException())).c_str());
  TetherMedia::Shutdown();
  std::printf("module: shut down\n");
}

int RunDemo() {
  StartPlatform();
  TetherMedia::Initialize();
  std::printf("module: initialised, implementation %s, progress station %s\n",
              TetherMedia::GetTetherImplementationID().AsUTF8String().c_str(),
              TetherMedia::GetProgressStation().AsUTF8().c_str());
  ShowModules();
  ShowPrefsBlob();
  ShowCancellableRequest();
  StopPlatform(TetherMedia::CreateRequestFuture());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"tetherhost: a reference host for the TetherMedia module"};
  app.require_subcommand(1);
  auto* demo = app.add_subcommand("demo", "start the platform and the module and show what they do");

  std::filesystem::path listProject;
  auto* list = app.add_subcommand("list", "list the compositions of a Marl project");
  list->add_option("PROJECT", listProject, "the project file")->required();

  tetherhost::ImportOptions import;
  auto* importCommand = app.add_subcommand("import", "import a composition and write its frames and audio");
  importCommand->add_option("PROJECT", import.project, "the project file")->required();
  importCommand->add_option("--item", import.item, "the composition, by name or identifier (default: the first)");
  importCommand->add_option("--frames", import.frames, "frames, such as 0-9, 0-100/10 or 1,5,9 (default: 12 spread over the clip)");
  importCommand->add_option("--size", import.size, "frame size WxH (default: the clip's own)");
  importCommand->add_option("--format", import.format, "pixel format: bgra8 or rgba32f")->capture_default_str();
  importCommand->add_option("--guides", import.guides, "draw guide layers: on or off (default: as the clip has it)");
  importCommand->add_option("--out", import.out, "folder for the frames and the contact sheet")->capture_default_str();
  importCommand->add_option("--audio", import.audio, "write the clip's audio to this WAV file");

  tetherhost::PlayOptions play;
  bool unpaced = false;
  auto* playCommand = app.add_subcommand("play", "play a composition as a host's player does and report how it went");
  playCommand->add_option("PROJECT", play.project, "the project file")->required();
  playCommand->add_option("--item", play.item, "the composition, by name or identifier (default: the first)");
  playCommand->add_option("--seconds", play.seconds, "how much of the clip to play")->capture_default_str();
  playCommand->add_option("--prefetch", play.prefetch, "frames rendered ahead of the play head")->capture_default_str();
  playCommand->add_option("--loops", play.loops, "passes over the same range")->capture_default_str();
  playCommand->add_option("--size", play.size, "frame size WxH (default: the clip's own)");
  playCommand->add_option("--format", play.format, "pixel format: bgra8 or rgba32f")->capture_default_str();
  playCommand->add_flag("--unpaced", unpaced, "pull frames as fast as they come instead of at the frame rate");

  CLI11_PARSE(app, argc, argv);
  play.paced = !unpaced;
  try {
    if (*demo) return RunDemo();
    tetherhost::HostSession session;
    if (*list) return tetherhost::RunList(session, listProject);
    if (*importCommand) return tetherhost::RunImport(session, import);
    if (*playCommand) return tetherhost::RunPlay(session, play);
  } catch (const tetherhost::HostError& e) {
    // A lost server is the cause of whatever failed after it; else the
    // server's own reason, when it gave one, completes the module's code.
    const auto loss = tetherhost::ServerLossWatch::LossLine();
    std::string line = loss ? *loss : e.Describe();
    if (const auto failure = tether::LastServerFailure(); failure && !loss) {
      line += ": " + failure->message;
    }
    std::fprintf(stderr, "tetherhost: %s\n", line.c_str());
    return 1;
  } catch (const std::invalid_argument& e) {
    std::fprintf(stderr, "tetherhost: %s\n", e.what());
    return 2;
  } catch (const std::exception& e) {
    std::fprintf(stderr, "tetherhost: %s\n", e.what());
    return 1;
  }
  return 0;
}
