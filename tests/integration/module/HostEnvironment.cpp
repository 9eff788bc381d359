// The host's start-up and shutdown around all tests: the importer factory the
// module registers with, and the module's own Initialize and Shutdown.

#include <TetherMedia/Lifecycle.h>
#include <WF/ReferenceImporterFactory.h>

#include <gtest/gtest.h>

namespace {

class HostEnvironment : public ::testing::Environment {
 public:
  void SetUp() override {
    WF::RegisterReferenceImporterFactory();
    ASSERT_EQ(TetherMedia::Initialize(), 0);
  }
  void TearDown() override { TetherMedia::Shutdown(); }
};

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  ::testing::AddGlobalTestEnvironment(new HostEnvironment);
  return RUN_ALL_TESTS();
}
