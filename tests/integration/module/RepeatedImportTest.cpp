// A host that imports the same composition again right after the first import,
// a thousand times back to back in one process over one connection to the
// reference server, is never refused.

#include "ModuleRoadTest.h"

#include <kilncore/logging/ScopedLogCapture.h>

#include <cstddef>
#include <memory>

namespace TetherMedia::integration {
namespace {

using RepeatedImportTest = ModuleRoadTest;

constexpr int kImports = 1000;
constexpr int32_t kBrokenPromise = static_cast<int32_t>(0xF3610001u);

TEST_P(RepeatedImportTest, SameCompositionImportedAThousandTimesBackToBackIsNeverRefused) {
  const ExampleComposition example = mExamples.Find(kSimpleProject, kSimpleComposition);
  kilncore::logging::ScopedLogCapture capture;
  std::unique_ptr<HostClip> previous;
  for (int import = 0; import < kImports; ++import) {
    auto clip = std::make_unique<HostClip>(example.path, kSimpleComposition);
    ASSERT_EQ(clip->ImportResult(), 0) << "import " << import;
    ASSERT_TRUE(clip->Video()) << "import " << import;
    // The host still holds the previous clip while it imports the next one.
    previous = std::move(clip);
  }
  previous.reset();
  std::size_t brokenPromises = 0;
  for (const auto& record : capture.Records()) brokenPromises += record.code == kBrokenPromise ? 1 : 0;
  EXPECT_EQ(brokenPromises, 0u);
}

TETHER_INSTANTIATE_FOR_BOTH_SERVERS(RepeatedImportTest);

}  // namespace
}  // namespace TetherMedia::integration
