// What an item holds and lets go of: the order in which its connection objects
// are released, and which items the font manager watches.

#include "CreationTestSupport.h"

#include <KL/FarsideAvailability.h>
#include <KL/FontSetUpdateManager.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/Operation.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace TetherMedia {
namespace {

using namespace testing_support;
using tether::testing::ScopedBackend;
using Access = TetherMediaInfoTestAccess;
using ItemRef = kilncore::classref::InterfaceRef<TetherMediaInfo>;

// A reference that notes in `released` when its last owner lets it go. It
// points at nothing: only its release is looked at.
template <class T>
std::shared_ptr<T> Noting(std::vector<std::string>& released, std::string name) {
  const std::shared_ptr<void> owner(nullptr, [&released, name](void*) { released.push_back(name); });
  return std::shared_ptr<T>(owner, nullptr);
}

TEST(ItemReleaseTest, ProjectGoesFirstThenGenericServerThenFileServerThenTypedServer) {
  std::vector<std::string> released;
  {
    ItemRef item = Access::MakeItem();
    Access::SetConnections(*item, Noting<tether::GenericServer>(released, "typed"),
                           Noting<tether::Server>(released, "linked"),
                           Noting<tether::FileServer>(released, "file"),
                           Noting<tether::Project>(released, "project"));
  }
  EXPECT_EQ(released, (std::vector<std::string>{"project", "linked", "file", "typed"}));
}

class FontWatcherTest : public ::testing::Test {
 protected:
  // Every answer comes inside its call, so that no callback of the chain is
  // still being let go of on a worker thread when Create returns: the count of
  // live watchers then changes exactly when the item does.
  void SetUp() override {
    using tether::testing::Operation;
    for (const Operation operation :
         {Operation::kCreateMarlServer, Operation::kCreateSprocketServer, Operation::kCreateTolmenServer,
          Operation::kCreateDarkslideServer, Operation::kConnectLinkedServer, Operation::kCreateFileServerLink,
          Operation::kOpenProject, Operation::kOpenFile, Operation::kOpenFarsideAsset, Operation::kGetSource,
          Operation::kGetContainer}) {
      mBackend->Script(operation, tether::testing::Behaviour().With(tether::testing::Delivery::kSynchronous));
    }
  }
  void TearDown() override {
    KL::Utils::SetUseFontManager(true);
    KL::SetFarsideClientAvailable(false);
  }

  static size_t Watchers() { return KL::Utils::FontSetUpdateManager::GetInstance()->GetWatcherCount(); }

  // How many more watchers there are while an item of `name` is alive.
  size_t WatchersAddedByAFileItem(const std::string& name) {
    const size_t before = Watchers();
    RL::BinaryData prefs = UniquePrefs();
    ItemRef item;
    EXPECT_EQ(TetherMediaInfo::Create(item, mFiles.Make(name), prefs), 0);
    return Watchers() - before;
  }

  size_t WatchersAddedByARemoteItem(tether::FarsideAssetServerType serverType) {
    KL::SetFarsideClientAvailable(true);
    tether::FarsideAssetRequestInfo request;
    request.production = "Trailer";
    request.asset = "Titles";
    const size_t before = Watchers();
    RL::BinaryData prefs = UniquePrefs();
    ItemRef item;
    EXPECT_EQ(TetherMediaInfo::Create(item, request, serverType, prefs, boost::none), 0);
    return Watchers() - before;
  }

  ProjectFiles mFiles;
  ScopedBackend mBackend;
};

TEST_F(FontWatcherTest, MarlItemsWatchFontsForAsLongAsTheyLive) {
  const size_t before = Watchers();
  {
    RL::BinaryData prefs = UniquePrefs();
    ItemRef item;
    ASSERT_EQ(TetherMediaInfo::Create(item, mFiles.Make("Show.marlp"), prefs), 0);
    EXPECT_EQ(Watchers(), before + 1);
  }
  // Held by weak reference only: the item's release ends the watch.
  EXPECT_EQ(Watchers(), before);
  EXPECT_EQ(WatchersAddedByARemoteItem(tether::kFarsideAssetServerTypeMarl), 1u);
}

TEST_F(FontWatcherTest, ItemsOfOtherApplicationsDoNotWatchFonts) {
  for (const char* name : {"Scene.spkproj", "Edit.tlmproj", "Cut.xml", "Photos.dslcat"}) {
    EXPECT_EQ(WatchersAddedByAFileItem(name), 0u) << name;
  }
  EXPECT_EQ(WatchersAddedByARemoteItem(tether::kFarsideAssetServerTypeTolmen), 0u);
}

TEST_F(FontWatcherTest, NoItemWatchesWhenTheHostKeepsNoFontManager) {
  KL::Utils::SetUseFontManager(false);
  EXPECT_EQ(WatchersAddedByAFileItem("Show.marlp"), 0u);
  EXPECT_EQ(WatchersAddedByARemoteItem(tether::kFarsideAssetServerTypeMarl), 0u);
}

}  // namespace
}  // namespace TetherMedia
