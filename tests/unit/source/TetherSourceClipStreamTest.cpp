#include "SourceTestSupport.h"

#include <WF/CallbackInstanceIDMap.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

namespace TetherMedia::testing {
namespace {

using ObjectRef = kilncore::classref::InterfaceRef<kilncore::classref::UnknownBase>;

// Stands for the host's per-clip stream object; counts its destruction.
class ClipStream : public kilncore::classref::UnknownBase {
 public:
  explicit ClipStream(std::atomic<int>& gone) : mGone(gone) {}
  ~ClipStream() override { ++mGone; }

 private:
  std::atomic<int>& mGone;
};

class TetherSourceClipStreamTest : public SourceTest {};

TEST_F(TetherSourceClipStreamTest, AdoptedStreamIsReachableThroughItsInstanceId) {
  SourceRef source = MakeSource();
  ASSERT_TRUE(source);
  std::atomic<int> gone{0};
  auto stream = std::make_shared<ClipStream>(gone);
  const int32_t id = source->AdoptClipStream(7, ObjectRef(stream));
  EXPECT_EQ(source->FindClipStreamInstanceID(7), id);
  EXPECT_EQ(WF::FindCallbackInstance(id).Get(), stream.get());
  EXPECT_EQ(source->FindClipStreamInstanceID(8), 0);
}

TEST_F(TetherSourceClipStreamTest, DestructorHandsBackEveryClipStreamId) {
  std::atomic<int> gone{0};
  const size_t before = WF::CountCallbackInstances();
  int32_t first = 0;
  int32_t second = 0;
  {
    SourceRef source = MakeSource();
    ASSERT_TRUE(source);
    first = source->AdoptClipStream(1, ObjectRef(std::make_shared<ClipStream>(gone)));
    second = source->AdoptClipStream(2, ObjectRef(std::make_shared<ClipStream>(gone)));
    EXPECT_EQ(WF::CountCallbackInstances(), before + 2);
    EXPECT_EQ(gone, 0);
  }
  EXPECT_FALSE(WF::FindCallbackInstance(first));
  EXPECT_FALSE(WF::FindCallbackInstance(second));
  EXPECT_EQ(WF::CountCallbackInstances(), before);
  EXPECT_EQ(gone, 2);
}

TEST_F(TetherSourceClipStreamTest, ReplacingAClipsStreamHandsBackTheOldId) {
  SourceRef source = MakeSource();
  ASSERT_TRUE(source);
  std::atomic<int> gone{0};
  const int32_t old = source->AdoptClipStream(3, ObjectRef(std::make_shared<ClipStream>(gone)));
  const int32_t replacement = source->AdoptClipStream(3, ObjectRef(std::make_shared<ClipStream>(gone)));
  EXPECT_NE(old, replacement);
  EXPECT_FALSE(WF::FindCallbackInstance(old));
  EXPECT_EQ(gone, 1);
  EXPECT_EQ(source->FindClipStreamInstanceID(3), replacement);
}

TEST_F(TetherSourceClipStreamTest, SourceHandsBackOnlyItsOwnIds) {
  std::atomic<int> gone{0};
  // Another owner's object, filed while the source lives.
  const int32_t other = WF::CreateUniqueCallbackInstanceID(ObjectRef(std::make_shared<ClipStream>(gone)));
  {
    SourceRef source = MakeSource();
    ASSERT_TRUE(source);
    source->AdoptClipStream(1, ObjectRef(std::make_shared<ClipStream>(gone)));
  }
  EXPECT_TRUE(WF::FindCallbackInstance(other));
  EXPECT_EQ(gone, 1);
  WF::RemoveIDFromInstanceIDMap(other);
}

}  // namespace
}  // namespace TetherMedia::testing
