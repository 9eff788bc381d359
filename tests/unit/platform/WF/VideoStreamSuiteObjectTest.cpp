#include <WF/CallbackInstanceIDMap.h>
#include <WF/VideoStreamWithSequenceFieldTypeSuiteObject.h>

#include <gtest/gtest.h>

#include <memory>

namespace {

TEST(VideoStreamSuiteObjectTest, StartsWithoutStreamAndProgressiveAndIsReachableById) {
  auto suite = std::make_shared<WF::VideoStreamWithSequenceFieldTypeSuiteObject>();
  EXPECT_FALSE(suite->GetVideoStream());
  EXPECT_EQ(suite->GetSequenceFieldType(), kilnmediatypes::kFieldType_Progressive);
  suite->SetSequenceFieldType(kilnmediatypes::kFieldType_UpperFirst);
  EXPECT_EQ(suite->GetSequenceFieldType(), kilnmediatypes::kFieldType_UpperFirst);
  const int32_t id = WF::CreateUniqueCallbackInstanceID(suite);
  EXPECT_EQ(WF::FindCallbackInstance(id).Get(), suite.get());
  WF::RemoveIDFromInstanceIDMap(id);
}

}  // namespace
