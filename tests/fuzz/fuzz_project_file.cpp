// Feeds arbitrary text to the reference server's project reader, as a file of
// each of the four extensions of the family. Project files are edited by
// people and other tools, so a bad one must be refused with an error, never
// by an exception, a crash or an out-of-bounds read. A project that opens
// must answer for every item of its own tree: its compositions are described
// and have a content state, and its folders list their contents.

#include <server/project/Project.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

constexpr const char* kPaths[] = {"/fuzz/project.marlp", "/fuzz/project.marlpx", "/fuzz/project.marlcap",
                                  "/fuzz/project.marlgraphic"};

void Walk(const tetherserver::Project& project) {
  for (const auto& entry : project.ListTree()) {
    if (project.IsContainer(entry.item.id)) {
      if (!project.GetContainedItems(entry.item.id)) std::abort();
      continue;
    }
    if (!project.DescribeSource(entry.item.id)) std::abort();
    (void)project.GetContentState(entry.item.id);
  }
  if (!project.GetContainedItems(kilncore::utility::Guid())) std::abort();
  (void)project.GetMissingAssets();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // The first byte picks the extension, so one corpus serves all four.
  const char* path = kPaths[data[0] % 4];
  const std::string_view text(reinterpret_cast<const char*>(data + 1), size - 1);
  try {
    const auto opened = tetherserver::Project::Parse(text, path);
    if (opened) Walk(**opened);
  } catch (...) {
    std::abort();
  }
  return 0;
}
