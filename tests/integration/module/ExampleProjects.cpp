#include "ExampleProjects.h"

#include <kilncore/string/UTFConversion.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace TetherMedia::integration {

using kilncore::utility::Guid;

ExampleProjects::ExampleProjects()
    : mFolder(std::filesystem::temp_directory_path() / ("tether-module-" + Guid::CreateUnique().AsUTF8String())) {
  std::filesystem::create_directories(mFolder);
  for (const auto& entry : std::filesystem::directory_iterator(TETHER_TEST_EXAMPLES_FOLDER)) {
    if (entry.is_regular_file()) std::filesystem::copy_file(entry.path(), mFolder / entry.path().filename());
  }
}

ExampleProjects::~ExampleProjects() {
  std::error_code ignored;
  std::filesystem::remove_all(mFolder, ignored);
}

std::vector<ExampleComposition> ExampleProjects::CompositionsOf(const std::filesystem::path& copy) const {
  std::vector<ExampleComposition> result;
  auto opened = tetherserver::Project::Open(copy);
  EXPECT_TRUE(opened) << copy << ": " << opened.error.message;
  if (!opened) return result;
  std::shared_ptr<const tetherserver::Project> project = *opened;
  for (const tether::ItemInfo& item : project->ListCompositions()) {
    result.push_back({kilncore::string::UTF8to16(copy.string()), project, project->FindComposition(item.id)});
  }
  return result;
}

std::vector<ExampleComposition> ExampleProjects::AllCompositions() const {
  // The samples themselves, not what tests added to the folder since, and only
  // Marl's: the other owners' samples beside them are files of other formats.
  static const std::set<std::string> kMarlExtensions{".marlp", ".marlpx", ".marlgraphic", ".marlcap"};
  std::vector<std::filesystem::path> names;
  for (const auto& entry : std::filesystem::directory_iterator(TETHER_TEST_EXAMPLES_FOLDER)) {
    if (entry.is_regular_file() && kMarlExtensions.count(entry.path().extension().string()) != 0) {
      names.push_back(entry.path().filename());
    }
  }
  std::sort(names.begin(), names.end());
  std::vector<ExampleComposition> result;
  for (const auto& name : names) {
    std::vector<ExampleComposition> compositions = CompositionsOf(mFolder / name);
    result.insert(result.end(), compositions.begin(), compositions.end());
  }
  return result;
}

kilncore::WideString ExampleProjects::SecondCopy(const std::string& fileName) const {
  const std::filesystem::path copy = mFolder / ("second " + fileName);
  std::filesystem::copy_file(mFolder / fileName, copy, std::filesystem::copy_options::overwrite_existing);
  return kilncore::string::UTF8to16(copy.string());
}

ExampleComposition ExampleProjects::Find(const std::string& fileName, const Guid& id) const {
  for (const ExampleComposition& example : CompositionsOf(mFolder / fileName)) {
    if (example.composition->id == id) return example;
  }
  ADD_FAILURE() << "no composition " << id.AsUTF8String() << " in " << fileName;
  return {};
}

}  // namespace TetherMedia::integration
