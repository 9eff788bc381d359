#pragma once

#include <server/project/Composition.h>
#include <server/project/Project.h>

#include <kilncore/string/WideString.h>
#include <kilncore/utility/Guid.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace TetherMedia::integration {

// One composition of a sample project: where its file is, and what the file
// says of it.
struct ExampleComposition {
  kilncore::WideString path;  // the private copy of the project file
  std::shared_ptr<const tetherserver::Project> project;
  const tetherserver::Composition* composition = nullptr;
};

// Private copies of the Marl samples, one folder per test, removed at the end.
// A copy per test keeps each import's path its own: the module refuses a
// second opening of a path and item whose first opening is still registered,
// and a test must not depend on how fast an earlier one let go.
class ExampleProjects {
 public:
  ExampleProjects();
  ~ExampleProjects();
  ExampleProjects(const ExampleProjects&) = delete;
  ExampleProjects& operator=(const ExampleProjects&) = delete;

  // Every composition of every sample, in file-name order and then in the
  // order of each project's tree.
  std::vector<ExampleComposition> AllCompositions() const;
  // The composition `id` of the sample `fileName`; fails the test if absent.
  ExampleComposition Find(const std::string& fileName, const kilncore::utility::Guid& id) const;
  // A path in the private folder, for files a test makes itself.
  std::filesystem::path PathFor(const std::string& fileName) const { return mFolder / fileName; }
  // Another copy of the sample `fileName`, for a second clip of one item.
  kilncore::WideString SecondCopy(const std::string& fileName) const;

 private:
  std::vector<ExampleComposition> CompositionsOf(const std::filesystem::path& copy) const;

  std::filesystem::path mFolder;
};

// The simple sample: one 1920x1080 composition at 25 fps with stereo audio.
inline const char kSimpleProject[] = "simple.marlp";
inline const kilncore::utility::Guid kSimpleComposition(u"5E1A0C3B-6F2D-4A8E-9B71-0C2D3E4F5A01");
// The template sample, whose composition has a guide layer.
inline const char kTitleTemplate[] = "title.marlgraphic";
inline const kilncore::utility::Guid kTitleComposition(u"7D3F0B2A-1C4E-4F6A-8B9C-0D1E2F3A4B5C");

}  // namespace TetherMedia::integration
