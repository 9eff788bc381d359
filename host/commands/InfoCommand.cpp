#include <host/commands/InfoCommand.h>

#include <host/cli/CommandLine.h>
#include <host/commands/ClipReport.h>
#include <host/commands/ItemMetadata.h>
#include <host/session/HostSession.h>
#include <host/session/LinkQuestions.h>
#include <host/session/LinkedClip.h>
#include <host/session/MissingAssetsProbe.h>
#include <host/session/ProgressView.h>

#include <TetherMedia/MissingAssets.h>

#include <memory>

namespace tetherhost {

int RunInfo(HostSession& session, const InfoOptions& options) {
  return session.RunWithUserInterface([&] {
    const LinkedClip clip = LinkedClip::Import(session.Module(), options.project, options.item);
    const ClipDescription description = clip.Describe();
    const std::vector<tether::MissingFont> fonts = TetherMedia::GetMissingFonts();
    // The owner's own description of the item comes first, as the host's
    // media properties show it; then the streams, fonts and missing assets.
    const std::vector<std::string> lines = ItemMetadata::DescriptionLines(clip.Item());
    const auto lacking = MissingAssetsProbe::Ask(options.project);
    if (options.json) {
      const std::string json = ItemMetadata::WithDescriptionLines(DescriptionJson(description, fonts), lines);
      session.Progress().Print(ItemMetadata::WithStrings(json, "missing_media", MissingAssetsProbe::MediaFiles(lacking)));
    } else {
      session.Progress().Print(ItemMetadata::DescriptionLinesText(lines) + DescriptionText(description) +
                               MissingFontsText(fonts) +
                               (lacking ? MissingAssetsProbe::MediaText(*lacking) : std::string()) +
                               LinkText(ContainsLink(clip.Item())));
    }
    return 0;
  });
}

void AddInfoCommand(CommandLine& commandLine) {
  auto options = std::make_shared<InfoOptions>();
  CLI::App* info = commandLine.AddCommand("info", "describe a linked item as the host sees it", [options] {
    HostSession session;
    return RunInfo(session, *options);
  });
  info->add_option("PROJECT", options->project, "the project file")->required();
  info->add_option("--item", options->item, "the composition, by name or identifier (default: the first)");
  info->add_flag("--json", options->json, "print one JSON object instead of lines for people");
}

}  // namespace tetherhost
