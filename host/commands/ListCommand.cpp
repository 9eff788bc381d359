#include <host/commands/ListCommand.h>

#include <host/cli/CommandLine.h>
#include <host/cli/HostError.h>
#include <host/session/HostSession.h>
#include <host/session/ProgressView.h>

#include <TetherMedia/ProjectEnumeration.h>
#include <kilncore/string/UTFConversion.h>

#include <cstdio>
#include <memory>

namespace tetherhost {

int RunList(HostSession& session, const std::filesystem::path& project) {
  if (!std::filesystem::exists(project)) {
    throw HostError("no such file: " + project.string(), static_cast<int32_t>(0xA00F0003u));
  }
  return session.RunWithUserInterface([&] {
    const auto items = TetherMedia::GetCompsInfoForMarlp(kilncore::string::UTF8to16(project.string()));
    if (items.empty()) {
      throw HostError("no composition could be listed in " + project.string() +
                      " (the server could not open it, or it holds none)");
    }
    std::string lines;
    for (const tether::ItemInfo& item : items) {
      lines += item.id.AsUTF8String() + "  " + kilncore::string::UTF16to8(item.name) + "\n";
    }
    session.Progress().Print(lines);
    return 0;
  });
}

void AddListCommand(CommandLine& commandLine) {
  auto project = std::make_shared<std::filesystem::path>();
  CLI::App* list = commandLine.AddCommand("list", "list the compositions of a Marl project", [project] {
    HostSession session;
    return RunList(session, *project);
  });
  list->add_option("PROJECT", *project, "the project file")->required();
}

}  // namespace tetherhost
