// The host's questions about what a linked item depends on, and the item's
// reaction to a change of the machine's fonts.

#include "RefreshTestSupport.h"

#include <Crate/ApplicationType.h>
#include <KL/FarsideAvailability.h>
#include <KL/IClipProjectItem.h>
#include <KL/IFarsideProjectItem.h>
#include <KL/IMasterClip.h>
#include <KL/IProject.h>
#include <KL/ISequence.h>
#include <kilncore/classref/QueryMapEntries.h>
#include <kilncore/classref/UnknownBase.h>
#include <kilncore/config/KilnException.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/CallRecord.h>
#include <tether/testing/Operation.h>
#include <tether/testing/ScriptedProjectSetup.h>

#include <gtest/gtest.h>

namespace TetherMedia {
namespace {

using namespace testing_support;
using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using tether::testing::Behaviour;
using tether::testing::Operation;
using tether::testing::ScopedBackend;
using Access = TetherMediaInfoTestAccess;
using ItemRef = InterfaceRef<TetherMediaInfo>;

const Guid kSequence(u"5E000000-1111-4222-8333-000000000001");
const Guid kFontsA(u"F0000000-1111-4222-8333-00000000000A");
const Guid kFontsB(u"F0000000-1111-4222-8333-00000000000B");

// A sequence clip of the host's project: an item, its master clip and the
// sequence behind it, in one object. `remote` makes it answer as an item of a
// remote production too.
class SequenceClip : public KL::IProjectItem,
                     public KL::IClipProjectItem,
                     public KL::IMasterClip,
                     public KL::ISequence,
                     public KL::IFarsideProjectItem {
 public:
  SequenceClip(bool sequence, bool remote) : mSequence(sequence), mRemote(remote) {}
  InterfaceRef<KL::IMasterClip> GetMasterClip() override {
    return InterfaceRef<KL::IMasterClip>(GetSharedFromThis(), static_cast<KL::IMasterClip*>(this));
  }
  kilncore::WideString GetName() const override { return u"Edit"; }
  kilncore::WideString GetMediaPath() const override { return {}; }
  Guid GetSequenceID() const override { return kSequence; }
  kilncore::utility::ImmutableString GetAssetText() const override {
    return kilncore::utility::ImmutableString("Titles");
  }
  InterfaceRef<KL::IProject> GetProxyProject() const override { return mProxy; }
  InterfaceRef<KL::IProject> mProxy;

 protected:
  void* QueryMap(const std::string_view& name) override {
    if (void* answer = kilncore::classref::AnswerQuery<KL::IProjectItem, KL::IClipProjectItem, KL::IMasterClip>(
            this, name)) {
      return answer;
    }
    if (mSequence) {
      if (void* answer = kilncore::classref::AnswerQuery<KL::ISequence>(this, name)) return answer;
    }
    if (mRemote) return kilncore::classref::AnswerQuery<KL::IFarsideProjectItem>(this, name);
    return nullptr;
  }

 private:
  bool mSequence;
  bool mRemote;
};

// A bin: an item that is no clip.
class Bin : public KL::IProjectItem {
 protected:
  void* QueryMap(const std::string_view& name) override {
    return kilncore::classref::AnswerQuery<KL::IProjectItem>(this, name);
  }
};

// A proxy project with nothing in it.
class NullProject : public KL::IProject {
 public:
  int32_t RunProjectLoad(const InterfaceRef<KL::IProjectLoadSupport>&,
                         const InterfaceRef<kilncore::classref::UnknownBase>&) override {
    return 0;
  }
  InterfaceRef<KL::IProjectItem> GetRootItem() override { return {}; }

 protected:
  void* QueryMap(const std::string_view& name) override {
    return kilncore::classref::AnswerQuery<KL::IProject>(this, name);
  }
};

class DependenciesTest : public ::testing::Test {
 protected:
  ItemRef Open(const std::string& name) {
    mPath = mFiles.Make(name);
    RL::BinaryData prefs = ItemPrefs();
    ItemRef item;
    EXPECT_EQ(TetherMediaInfo::Create(item, mPath, prefs), 0);
    EXPECT_TRUE(mBackend->WaitForIdle());
    return item;
  }
  ItemRef OpenRemote() {
    KL::SetFarsideClientAvailable(true);
    tether::FarsideAssetRequestInfo request;
    request.serverAddress = "https://farside.example";
    request.production = "Trailer";
    request.asset = "Titles";
    RL::BinaryData prefs = ItemPrefs();
    ItemRef item;
    EXPECT_EQ(TetherMediaInfo::Create(item, request, tether::kFarsideAssetServerTypeMarl, prefs, boost::none), 0);
    EXPECT_TRUE(mBackend->WaitForIdle());
    return item;
  }
  void TearDown() override { KL::SetFarsideClientAvailable(false); }

  static InterfaceRef<KL::IProjectItem> Clip(bool sequence, bool remote,
                                              InterfaceRef<KL::IProject> proxy = {}) {
    auto clip = std::make_shared<SequenceClip>(sequence, remote);
    clip->mProxy = proxy;
    return InterfaceRef<KL::IProjectItem>(InterfaceRef<SequenceClip>(clip));
  }

  void SetFontAnswers(std::vector<unsigned int> values) {
    tether::testing::ScriptedProjectSetup project;
    project.fontChangeValues = std::move(values);
    mBackend->SetDefaultProject(project);
  }
  void SetRuntimeGuid(const Guid& runtime) {
    mBackend->UpdateSource(ItemID().AsUTF8String(),
                           [runtime](tether::testing::ScriptedSourceSetup& setup) { setup.runtimeGuid = runtime; });
  }
  Guid StreamFontGuid(const TetherMediaInfo& item) {
    Guid value;
    Access::LinkedSource(item)->GetRuntimeFontGuid(value);
    return value;
  }

  ProjectFiles mFiles;
  ScopedBackend mBackend;
  kilncore::WideString mPath;
};

TEST_F(DependenciesTest, OtherHostsAskNothing) {
  Crate::ScopedApplicationType host(8);
  ItemRef item = Open("Titles.marlp");
  EXPECT_FALSE(item->IsSourceLinkedTo(kSequence));
  EXPECT_FALSE(item->HasNestedLink());
  EXPECT_EQ(mBackend->CallCount(Operation::kIsSourceLinked), 0u);
  EXPECT_EQ(mBackend->CallCount(Operation::kDoesSourceContainLink), 0u);
}

TEST_F(DependenciesTest, SourceLinkedToAnswersFromTheProject) {
  Crate::ScopedApplicationType host(5);
  tether::testing::ScriptedProjectSetup project;
  project.linkedSources = {kSequence};
  mBackend->SetDefaultProject(project);
  ItemRef item = Open("Titles.marlp");
  EXPECT_TRUE(item->IsSourceLinkedTo(kSequence));
  EXPECT_FALSE(item->IsSourceLinkedTo(Guid::CreateUnique()));
}

TEST_F(DependenciesTest, FailedQuestionsCountAsNoLink) {
  Crate::ScopedApplicationType host(1);
  tether::testing::ScriptedProjectSetup project;
  project.linkedSources = {kSequence};
  mBackend->SetDefaultProject(project);
  auto setup = tether::testing::ScriptedSourceSetup::Typical();
  setup.containsLink = true;
  mBackend->SetSource(ItemID(), setup);
  ItemRef item = Open("Titles.marlp");
  mBackend->Script(Operation::kIsSourceLinked, Behaviour::Fail());
  mBackend->Script(Operation::kDoesSourceContainLink, Behaviour::Fail());
  EXPECT_FALSE(item->IsSourceLinkedTo(kSequence));
  EXPECT_FALSE(item->HasNestedLink());
}

TEST_F(DependenciesTest, NestedLinkAnswersFromTheSource) {
  Crate::ScopedApplicationType host(1);
  auto setup = tether::testing::ScriptedSourceSetup::Typical();
  setup.containsLink = true;
  mBackend->SetSource(ItemID(), setup);
  ItemRef item = Open("Titles.marlp");
  EXPECT_TRUE(item->HasNestedLink());
}

TEST_F(DependenciesTest, ContainsDependanceAsksForNestedLinksOnlyWhenTheSourceIsNotLinked) {
  Crate::ScopedApplicationType host(1);
  tether::testing::ScriptedProjectSetup project;
  project.linkedSources = {kSequence};
  mBackend->SetDefaultProject(project);
  ItemRef item = Open("Titles.marlp");
  EXPECT_TRUE(item->ContainsDependance(kSequence));
  EXPECT_EQ(mBackend->CallCount(Operation::kIsSourceLinked), 1u);
  EXPECT_EQ(mBackend->CallCount(Operation::kDoesSourceContainLink), 0u);
  EXPECT_FALSE(item->ContainsDependance(Guid::CreateUnique()));
  EXPECT_EQ(mBackend->CallCount(Operation::kIsSourceLinked), 2u);
  EXPECT_EQ(mBackend->CallCount(Operation::kDoesSourceContainLink), 1u);
}

TEST_F(DependenciesTest, ProjectItemThatIsNoClipIsNotLinked) {
  Crate::ScopedApplicationType host(1);
  ItemRef item = Open("Titles.marlp");
  EXPECT_FALSE(item->IsProjectItemLinked(InterfaceRef<KL::IProjectItem>(std::make_shared<Bin>())));
  EXPECT_FALSE(item->IsProjectItemLinked({}));
  EXPECT_FALSE(item->IsProjectItemLinked(Clip(false, false)));
  EXPECT_EQ(mBackend->CallCount(Operation::kIsSourceLinked), 0u);
}

TEST_F(DependenciesTest, SequenceClipOfALocalItemAsksByTheSequenceIdentifier) {
  Crate::ScopedApplicationType host(1);
  tether::testing::ScriptedProjectSetup project;
  project.linkedSources = {kSequence};
  mBackend->SetDefaultProject(project);
  ItemRef item = Open("Titles.marlp");
  EXPECT_TRUE(item->IsProjectItemLinked(Clip(true, false)));
  EXPECT_TRUE(item->ContainsDependence(Clip(true, false)));
  const auto calls = mBackend->Calls(Operation::kIsSourceLinked);
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0].Args<tether::testing::IdArgs>().id, kSequence);
}

TEST_F(DependenciesTest, RemoteSequenceWithoutRemoteItemCountsAsLinked) {
  Crate::ScopedApplicationType host(1);
  ItemRef item = OpenRemote();
  EXPECT_TRUE(item->IsProjectItemLinked(Clip(true, false)));
  EXPECT_EQ(mBackend->CallCount(Operation::kIsSourceLinked), 0u);
}

TEST_F(DependenciesTest, RemoteSequenceAsksTheRemoteClient) {
  Crate::ScopedApplicationType host(1);
  ItemRef item = OpenRemote();
  // The proxy project only has to exist; the client looks at the asset.
  InterfaceRef<KL::IProject> proxy(std::make_shared<NullProject>());
  EXPECT_TRUE(item->IsProjectItemLinked(Clip(true, true, proxy)));
}

TEST_F(DependenciesTest, RemoteSequenceWithoutProxyProjectIsANullReferenceFailure) {
  Crate::ScopedApplicationType host(1);
  ItemRef item = OpenRemote();
  EXPECT_THROW(item->IsProjectItemLinked(Clip(true, true)), kilncore::config::NullPtrException);
}

TEST_F(DependenciesTest, RemoteItemWithoutTheRemoteClientIsNotLinked) {
  Crate::ScopedApplicationType host(1);
  ItemRef item = OpenRemote();
  KL::SetFarsideClientAvailable(false);
  EXPECT_FALSE(item->IsProjectItemLinked(Clip(true, false)));
}

TEST_F(DependenciesTest, HostProjectItemHasNoRuntimeIdentifierAndAsksNothing) {
  ItemRef item = Open("Edit.tlmproj");
  EXPECT_TRUE(item->GetRuntimeGuid().IsNil());
  EXPECT_EQ(mBackend->CallCount(Operation::kGetRuntimeGuid), 0u);
}

TEST_F(DependenciesTest, MarlItemAsksItsServerForTheRuntimeIdentifier) {
  ItemRef item = Open("Titles.marlp");
  SetRuntimeGuid(kFontsA);
  EXPECT_EQ(item->GetRuntimeGuid(), kFontsA);
  mBackend->Script(Operation::kGetRuntimeGuid, Behaviour::Fail());
  EXPECT_TRUE(item->GetRuntimeGuid().IsNil());
}

TEST_F(DependenciesTest, FirstFontChangeThatAnswersOneIsNoChange) {
  SetFontAnswers({1});
  ItemRef item = Open("Titles.marlp");
  SetRuntimeGuid(kFontsA);
  ItemMessages messages(*item);
  EXPECT_FALSE(item->OnFontSetChanged());
  messages.Deliver(*mBackend);
  EXPECT_EQ(messages.Changed(), 0);
  EXPECT_EQ(mBackend->CallCount(Operation::kGetRuntimeGuid), 0u);
}

TEST_F(DependenciesTest, FontChangeWithANewRuntimeIdentifierUpdatesTheStreamAndPostsChanged) {
  SetFontAnswers({2});
  ItemRef item = Open("Titles.marlp");
  SetRuntimeGuid(kFontsA);
  ItemMessages messages(*item);
  EXPECT_TRUE(item->OnFontSetChanged());
  messages.Deliver(*mBackend);
  EXPECT_EQ(messages.Changed(), 1);
  EXPECT_EQ(StreamFontGuid(*item), kFontsA);
  EXPECT_EQ(Access::LastFontChangeValue(*item), 2u);
}

TEST_F(DependenciesTest, FontChangeWithAnEqualValueSendsNoMessage) {
  SetFontAnswers({2, 2});
  ItemRef item = Open("Titles.marlp");
  SetRuntimeGuid(kFontsA);
  ItemMessages messages(*item);
  EXPECT_TRUE(item->OnFontSetChanged());
  SetRuntimeGuid(kFontsB);
  EXPECT_FALSE(item->OnFontSetChanged());
  messages.Deliver(*mBackend);
  EXPECT_EQ(messages.Changed(), 1);
  EXPECT_EQ(StreamFontGuid(*item), kFontsA);
}

TEST_F(DependenciesTest, NewValueWithTheSameRuntimeIdentifierIsStoredWithoutAMessage) {
  SetFontAnswers({2, 3});
  ItemRef item = Open("Titles.marlp");
  SetRuntimeGuid(kFontsA);
  ItemMessages messages(*item);
  EXPECT_TRUE(item->OnFontSetChanged());
  EXPECT_FALSE(item->OnFontSetChanged());
  messages.Deliver(*mBackend);
  EXPECT_EQ(messages.Changed(), 1);
  EXPECT_EQ(Access::LastFontChangeValue(*item), 3u);
}

TEST_F(DependenciesTest, FailedFontChangeIsNoReaction) {
  SetFontAnswers({2});
  ItemRef item = Open("Titles.marlp");
  mBackend->Script(Operation::kRuntimeFontChange, Behaviour::Fail());
  EXPECT_FALSE(item->OnFontSetChanged());
  EXPECT_EQ(Access::LastFontChangeValue(*item), 1u);
}

TEST_F(DependenciesTest, RemoteItemNeverReactsToFonts) {
  ItemRef item = OpenRemote();
  EXPECT_FALSE(item->OnFontSetChanged());
  EXPECT_EQ(mBackend->CallCount(Operation::kRuntimeFontChange), 0u);
}

}  // namespace
}  // namespace TetherMedia
