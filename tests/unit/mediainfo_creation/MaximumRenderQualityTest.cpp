// The render-quality question that an item of a host project asks its server.

#include "CreationTestSupport.h"

#include <source/NamedRequests.h>

#include <kilncore/serialization/JSONBuild.h>
#include <tether/AnyTree.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/CallRecord.h>
#include <tether/testing/Operation.h>
#include <tether/testing/ScriptedBackend.h>

#include <gtest/gtest.h>

namespace TetherMedia {
namespace {

using namespace testing_support;
using tether::AnyArray;
using tether::AnyObject;
using tether::MakeAny;
using tether::testing::Operation;
using tether::testing::RequestOutcome;
using tether::testing::ScopedBackend;
using tether::testing::SendRequestArgs;
using ItemRef = kilncore::classref::InterfaceRef<TetherMediaInfo>;

class MaximumRenderQualityTest : public ::testing::Test {
 protected:
  // An item of `name`, whose server answers every named request with `reply`.
  ItemRef Open(const std::string& name, RequestOutcome reply) {
    mBackend->SetRequestResponder([reply](const std::any&) { return reply; });
    RL::BinaryData prefs = UniquePrefs();
    ItemRef item;
    EXPECT_EQ(TetherMediaInfo::Create(item, mFiles.Make(name), prefs), 0);
    return item;
  }

  static RequestOutcome Value(tether::AnyValue value) {
    RequestOutcome outcome;
    outcome.reply = MakeAny(AnyObject{{"value", std::move(value)}});
    return outcome;
  }

  ProjectFiles mFiles;
  ScopedBackend mBackend;
};

TEST_F(MaximumRenderQualityTest, HostProjectItemAsksItsServerWithTheProjectAndItem) {
  ItemRef item = Open("Edit.tlmproj", Value(MakeAny(false)));
  EXPECT_FALSE(item->GetMaximumRenderQuality());
  const auto calls = mBackend->Calls(Operation::kSendRequest);
  ASSERT_EQ(calls.size(), 1u);
  std::string name;
  kilncore::serialization::JSONValuePtr arguments;
  ASSERT_TRUE(kilncore::serialization::ReadCall(std::make_shared<std::any>(calls[0].Args<SendRequestArgs>().call),
                                                name, arguments));
  EXPECT_EQ(name, "com.veldmoor.tether.Tolmen.GetMaximumRenderQuality");
  const auto& list = std::any_cast<const AnyArray&>(*arguments);
  ASSERT_EQ(list.size(), 2u);
  const auto source = TetherMediaInfoTestAccess::Source(*item);
  EXPECT_EQ(std::any_cast<std::string>(*list[0]), Utf8(source->GetParentProjectFile().FullPath()));
  EXPECT_EQ(std::any_cast<std::string>(*list[1]), source->GetID().AsUTF8String());
}

TEST_F(MaximumRenderQualityTest, TrueAnswerIsTrue) {
  ItemRef item = Open("Edit.tlmproj", Value(MakeAny(true)));
  EXPECT_TRUE(item->GetMaximumRenderQuality());
}

TEST_F(MaximumRenderQualityTest, ReplyWithoutValueIsFalse) {
  ItemRef item = Open("Edit.tlmprojx", RequestOutcome{MakeAny(AnyObject{}), 0, {}});
  EXPECT_FALSE(item->GetMaximumRenderQuality());
}

TEST_F(MaximumRenderQualityTest, FailedOrMalformedRequestLeavesTrue) {
  ItemRef failing = Open("Edit.tlmproj", RequestOutcome{nullptr, kGeneralFailure, u"no sequence"});
  EXPECT_TRUE(failing->GetMaximumRenderQuality());
  ItemRef malformed = Open("Other.tlmproj", Value(MakeAny(std::string("yes"))));
  EXPECT_TRUE(malformed->GetMaximumRenderQuality());
}

TEST_F(MaximumRenderQualityTest, OtherProjectTypesAnswerTrueWithoutAsking) {
  for (const char* name : {"Show.marlp", "Cut.xml"}) {
    ItemRef item = Open(name, Value(MakeAny(false)));
    EXPECT_TRUE(item->GetMaximumRenderQuality()) << name;
  }
  EXPECT_EQ(mBackend->CallCount(Operation::kSendRequest), 0u);
}

}  // namespace
}  // namespace TetherMedia
