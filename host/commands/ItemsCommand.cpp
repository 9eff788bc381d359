#include <host/commands/ItemsCommand.h>

#include <host/cli/CommandLine.h>
#include <host/cli/HostError.h>
#include <host/session/HostSession.h>

#include <TetherMedia/ProjectEnumeration.h>

#include <KL/IClipProjectItem.h>
#include <KL/INode.h>
#include <KL/IProjectItemContainer.h>
#include <KL/IProperties.h>
#include <KL/IUniqueSerializeable.h>
#include <KL/Keel.h>
#include <KL/MasterClipUtils.h>

#include <kilncore/string/UTFConversion.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <optional>

namespace tetherhost {

namespace {

using kilncore::classref::InterfaceRef;

constexpr int32_t kFileMissing = static_cast<int32_t>(0xA00F0003u);

std::optional<std::string> Text(KL::IProperties& properties, const kilncore::utility::ImmutableString& key) {
  KL::SerializeableValue<std::string> value;
  if (!properties.ReadProperty(key, value)) return std::nullopt;
  return value.Get();
}

std::optional<bool> Flag(KL::IProperties& properties, const kilncore::utility::ImmutableString& key) {
  KL::SerializeableValue<bool> value;
  if (!properties.ReadProperty(key, value)) return std::nullopt;
  return value.Get();
}

// "bin", "sequence NAME" or "clip NAME".
std::string KindOf(const InterfaceRef<KL::IProjectItem>& item) {
  if (InterfaceRef<KL::IProjectItemContainer>(item)) return "bin";
  const InterfaceRef<KL::IClipProjectItem> clip(item);
  if (!clip || !clip->GetMasterClip()) return "item";
  const std::string name = kilncore::string::UTF16to8(clip->GetMasterClip()->GetName());
  return (KL::MasterClipUtils::GetSequence(clip->GetMasterClip()) ? "sequence " : "clip ") + name;
}

void Print(const InterfaceRef<KL::IProjectItem>& item) {
  const InterfaceRef<KL::INode> node(item);
  const InterfaceRef<KL::IUniqueSerializeable> unique(item);
  const InterfaceRef<KL::IProperties> properties(item);
  std::printf("%s  node %llu  %s", unique ? unique->GetUniqueID().AsUTF8String().c_str() : "-",
              node ? static_cast<unsigned long long>(node->GetNodeID()) : 0ull, KindOf(item).c_str());
  if (!properties) {
    std::printf("\n");
    return;
  }
  if (const auto original = Text(*properties, KL::kOriginalProjectItemGuid)) {
    std::printf("  imported, was %s", original->c_str());
  }
  if (const auto from = Text(*properties, KL::kOriginalProjectItemProjectPath)) std::printf(" of %s", from->c_str());
  if (const auto notImported = Flag(*properties, KL::kProjectItemMarkedForNotImportPropertyKey)) {
    std::printf("  not imported: %s%s", *notImported ? "true" : "false",
                properties->IsPropertyReadOnly(KL::kProjectItemMarkedForNotImportPropertyKey) ? " (read-only)" : "");
  }
  std::printf("\n");
}

}  // namespace

void AddItemsCommand(CommandLine& commandLine) {
  auto options = std::make_shared<ItemsOptions>();
  CLI::App* command = commandLine.AddCommand("items", "load items of a host project as the host's import does", [options] {
    HostSession session;
    return RunItems(session, *options);
  });
  command->add_option("PROJECT", options->project, "the host project file")->required();
  command->add_option("--ids", options->ids, "the items' identifiers")->required();
}

int RunItems(HostSession& session, const ItemsOptions& options) {
  if (!std::filesystem::exists(options.project)) {
    throw HostError("no such file: " + options.project.string(), kFileMissing);
  }
  std::vector<kilncore::utility::Guid> ids;
  for (const std::string& text : options.ids) {
    const kilncore::utility::Guid id(text);
    if (id.IsNil()) throw std::invalid_argument("not an item identifier: " + text);
    ids.push_back(id);
  }
  return session.RunWithUserInterface([&] {
    std::vector<InterfaceRef<KL::IProjectItem>> items;
    const int32_t result =
        TetherMedia::GetProjectItemsFromProject(kilncore::string::UTF8to16(options.project.string()), ids, items);
    if (result < 0) {
      throw HostError("the items of " + options.project.string() + " could not be loaded", result);
    }
    for (const auto& item : items) Print(item);
    return 0;
  });
}

}  // namespace tetherhost
