// A host that imports the same item again right after the first import (the
// same path and source, back to back, in one process) is never refused: the
// first request has left the request table by the time its Create returns.

#include "CreationTestSupport.h"

#include <kilncore/logging/ScopedLogCapture.h>
#include <tether/testing/Operation.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

namespace TetherMedia {
namespace {

using namespace testing_support;
using tether::testing::Operation;
using tether::testing::ScopedBackend;
using Access = TetherMediaInfoTestAccess;
using ItemRef = kilncore::classref::InterfaceRef<TetherMediaInfo>;

constexpr int kCreations = 1000;
constexpr int32_t kBrokenPromise = static_cast<int32_t>(0xF3610001u);

std::size_t BrokenPromisesLogged(const kilncore::logging::ScopedLogCapture& capture) {
  std::size_t count = 0;
  for (const auto& record : capture.Records()) count += record.code == kBrokenPromise ? 1 : 0;
  return count;
}

class RepeatedCreationTest : public ::testing::Test {
 protected:
  ProjectFiles mFiles;
  ScopedBackend mBackend;
};

TEST_F(RepeatedCreationTest, SameItemCreatedAThousandTimesBackToBackIsNeverRefused) {
  const auto path = mFiles.Make("Show.marlp");
  kilncore::logging::ScopedLogCapture capture;
  ItemRef previous;
  for (int creation = 0; creation < kCreations; ++creation) {
    RL::BinaryData prefs = ItemPrefs();
    ItemRef item;
    ASSERT_EQ(TetherMediaInfo::Create(item, path, prefs), 0) << "creation " << creation;
    ASSERT_TRUE(Access::HasLinkedSource(*item));
    // The host still holds the clip of the previous import while it makes the
    // next one.
    previous = item;
  }
  EXPECT_EQ(mBackend->Calls(Operation::kCreateMarlServer).size(), static_cast<std::size_t>(kCreations));
  EXPECT_EQ(BrokenPromisesLogged(capture), 0u);
}

}  // namespace
}  // namespace TetherMedia
