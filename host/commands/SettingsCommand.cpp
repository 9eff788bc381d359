#include <host/commands/SettingsCommand.h>

#include <host/cli/CommandLine.h>
#include <host/cli/HostError.h>
#include <host/cli/OptionParsing.h>
#include <host/output/PngFile.h>
#include <host/session/FramePuller.h>
#include <host/session/HostSession.h>
#include <host/session/LinkedClip.h>
#include <host/session/ProgressView.h>

#include <TetherMedia/Prefs.h>

#include <kilnui/drawbot/ScriptedSupplier.h>
#include <kilnworkspace/workspace/GtkDrawSupplier.h>
#include <kilnworkspace/workspace/WorkspaceUtils.h>

#include <kilncore/string/UTFConversion.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>

namespace tetherhost {
namespace {

using kilnui::drawbot::ScriptedSupplier;
using kilnworkspace::workspace::WorkspaceUtils;

constexpr const char* kGuideLayersPopup = "RenderGuideLayersPopup";
constexpr int kCancelled = 1;

// "guides=on" -> true, "guides=off" -> false, "" -> nothing.
std::optional<bool> ParseSetting(const std::string& text) {
  if (text.empty()) return std::nullopt;
  const std::string prefix = "guides=";
  const std::optional<bool> value =
      text.rfind(prefix, 0) == 0 ? ParseOnOff(text.substr(prefix.size())) : std::nullopt;
  if (!value) throw std::invalid_argument("--set takes guides=on or guides=off, not '" + text + "'");
  return value;
}

// What shows the dialog: a script that sets the guide layers and presses OK,
// or a window on the display.
std::shared_ptr<kilnui::drawbot::SupplierInterface> ChooseSupplier(const std::optional<bool>& guides) {
  if (guides) {
    return std::make_shared<ScriptedSupplier>(std::vector<ScriptedSupplier::Step>{
        ScriptedSupplier::Choose(kGuideLayersPopup, *guides ? 1 : 0), ScriptedSupplier::Press("okButton")});
  }
  auto window = kilnworkspace::workspace::GtkDrawSupplier::Open();
  if (!window) {
    throw HostError("no display to show the settings dialog on (is DISPLAY set?); "
                    "use --set guides=on or --set guides=off to change the settings without one");
  }
  return window;
}

// The host's main window for as long as the command runs.
class MainWindow {
 public:
  explicit MainWindow(std::shared_ptr<kilnui::drawbot::SupplierInterface> supplier) {
    WorkspaceUtils::SetMainTopLevelWindow(std::make_shared<kilnworkspace::workspace::TopLevelWindow>(
        "tetherhost", std::make_shared<kilnworkspace::workspace::Workspace>(std::move(supplier))));
  }
  ~MainWindow() { WorkspaceUtils::SetMainTopLevelWindow(nullptr); }
  MainWindow(const MainWindow&) = delete;
  MainWindow& operator=(const MainWindow&) = delete;
};

tether::MarlRenderOptions OptionsOf(const RL::BinaryData& prefs) {
  tether::MarlRenderOptions options;
  const kilncore::WideString text = TetherMedia::PrefsToApplicationSpecificRenderOptions(prefs);
  if (!text.empty()) TetherMedia::ApplicationSpecificRenderOptionsToMarlRenderOptions(text, options);
  return options;
}

// The clip's preferences entry, as the host calls it; prints what came back.
void OpenPreferences(LinkedClip& clip) {
  // A clip whose blob carries no render options yet has nothing the dialog
  // could edit; it gets the default options first, as a host writes them once
  // a clip's settings are first opened.
  if (TetherMedia::PrefsToApplicationSpecificRenderOptions(clip.Prefs()).empty()) {
    clip.SetRenderOptions(tether::MarlRenderOptions());
  }
  RL::BinaryData prefs = clip.Prefs();
  std::map<kilncore::WideString, kilncore::WideString> settings;
  kilncore::WideString unused;
  const int32_t result = clip.Item()->OpenPreferences(prefs, settings, 0, nullptr,
                                                      kilnmediatypes::kTickTime_Invalid, 0, unused);
  HostError::ThrowIfFailed(result, "the render settings");
  const tether::MarlRenderOptions options = OptionsOf(prefs);
  std::printf("settings:      %s, guide layers %s\n", result == kCancelled ? "cancelled" : "OK",
              options.renderGuideLayers ? "on" : "off");
  std::printf("prefs:         %s %s\n", TetherMedia::PrefsToSourceID(prefs).AsUTF8String().c_str(),
              kilncore::string::UTF16to8(TetherMedia::PrefsToApplicationSpecificRenderOptions(prefs)).c_str());
  clip.SetRenderOptions(options);
}

void WriteFrame(const LinkedClip& clip, const SettingsOptions& options) {
  const ClipDescription description = clip.Describe();
  if (options.frame < 0 || options.frame >= description.frameCount) {
    throw HostError("frame " + std::to_string(options.frame) + " is not in the clip, which has " +
                    std::to_string(description.frameCount) + " frames");
  }
  const auto video = clip.VideoStream();
  FramePuller puller(*video, clip.Prefs(), description.frameRate, ParsePixelFormat("bgra8"), 0, 0);
  std::filesystem::create_directories(options.out);
  char name[32];
  std::snprintf(name, sizeof(name), "frame_%05lld.png", static_cast<long long>(options.frame));
  PngFile::Write(options.out / name, puller.Pull(options.frame));
  std::printf("frame:         %s in %s\n", name, options.out.string().c_str());
}

}  // namespace

void AddSettingsCommand(CommandLine& commandLine) {
  auto options = std::make_shared<SettingsOptions>();
  CLI::App* command = commandLine.AddCommand(
      "settings", "open a composition's render settings dialog, then write a frame with them", [options] {
        HostSession session;
        return RunSettings(session, *options);
      });
  command->add_option("PROJECT", options->project, "the project file")->required();
  command->add_option("--item", options->item, "the composition, by name or identifier (default: the first)");
  command->add_option("--set", options->set, "change the settings without a window: guides=on or guides=off");
  command->add_option("--frame", options->frame, "the frame written afterwards")
      ->check(CommandLine::Integer(0, std::numeric_limits<int32_t>::max()))
      ->capture_default_str();
  command->add_option("--out", options->out, "folder for the frame")->capture_default_str();
}

int RunSettings(HostSession& session, const SettingsOptions& options) {
  // Bad options and a missing display fail before any work.
  const MainWindow window(ChooseSupplier(ParseSetting(options.set)));
  std::optional<LinkedClip> clip;
  session.RunWithUserInterface([&] {
    clip.emplace(LinkedClip::Import(session.Module(), options.project, options.item));
    std::printf("item:          %s\n", clip->Describe().displayName.c_str());
    return 0;
  });
  // Dialogs belong to the main thread.
  OpenPreferences(*clip);
  return session.RunWithUserInterface([&] {
    WriteFrame(*clip, options);
    return 0;
  });
}

}  // namespace tetherhost
