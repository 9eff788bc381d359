#include <host/commands/ListCommand.h>

#include <host/cli/CommandLine.h>
#include <host/cli/HostError.h>
#include <host/commands/FarsideCommands.h>
#include <host/session/HostProjectListing.h>
#include <host/session/HostSession.h>
#include <host/session/ProgressView.h>

#include <ProjectXML/ProjectXMLError.h>
#include <TetherMedia/ProjectEnumeration.h>
#include <kilncore/string/UTFConversion.h>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include <cstdio>
#include <memory>

namespace tetherhost {

namespace {

// The listing as JSON: an array of {"id", "name", "type"}, where the type is
// "composition" or "folder".
std::string ListJson(const std::vector<tether::ItemInfo>& items) {
  rapidjson::StringBuffer buffer;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> json(buffer);
  json.StartArray();
  for (const tether::ItemInfo& item : items) {
    json.StartObject();
    json.Key("id");
    json.String(item.id.AsUTF8String());
    json.Key("name");
    json.String(kilncore::string::UTF16to8(item.name));
    json.Key("type");
    json.String(item.type == tether::ItemInfo::kTypeContainer ? "folder" : "composition");
    json.EndObject();
  }
  json.EndArray();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

// A host project or Final Cut Pro XML file, read by the host itself.
int ListHostProject(HostSession& session, const std::filesystem::path& project, bool json) {
  try {
    const HostProjectListing listing(project);
    session.Progress().Print(json ? listing.Json() : listing.Text());
    return 0;
  } catch (const ProjectXML::ProjectXMLError& error) {
    throw HostError(error.what());
  }
}

}  // namespace

int RunList(HostSession& session, const std::filesystem::path& project, bool json) {
  if (IsFarsideName(project.string())) return RunFarsideList(session, project.string(), json);
  if (!std::filesystem::exists(project)) {
    throw HostError("no such file: " + project.string(), static_cast<int32_t>(0xA00F0003u));
  }
  if (HostProjectListing::IsHostProject(project) || HostProjectListing::IsFinalCutXML(project)) {
    return ListHostProject(session, project, json);
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
    session.Progress().Print(json ? ListJson(items) : lines);
    return 0;
  });
}

void AddListCommand(CommandLine& commandLine) {
  auto project = std::make_shared<std::filesystem::path>();
  auto json = std::make_shared<bool>(false);
  CLI::App* list = commandLine.AddCommand(
      "list",
      "list a Marl project's compositions, a host project's bin tree, a Final Cut Pro XML file's sequences, or the "
      "assets of a Farside production",
      [project, json] {
        HostSession session;
        return RunList(session, *project, *json);
      });
  list->add_option("PROJECT", *project,
                   "the project file (.marlp, .tlmproj, .tlmprojx, .xml), or a Farside production as "
                   "farside:PRODUCTION[@VERSION]")
      ->required();
  list->add_flag("--json", *json, "print a JSON array instead of lines for people");
  AddFarsideOptions(*list);
}

}  // namespace tetherhost
