#include <Pane/WrapPaneAroundBinaryReference.h>

#include <kilncore/config/KilnException.h>
#include <processcoordination/SharedMemoryBinaryReference.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace {

using kilncore::classref::InterfaceRef;
using kilncore::utility::Guid;
using Pane::PaneGeometry;
using Pane::WrapPaneAroundBinaryReference;
using processcoordination::SharedMemoryBinaryReference;

const Guid kFrameID("6F1D2C3B-0A49-4E58-9D67-7C8B9AA0B1C2");

// A reference that records what is done to it, in order.
class RecordingReference : public processcoordination::BinaryReference {
 public:
  RecordingReference(std::vector<std::string>& log, size_t size, bool reachable)
      : mLog(log), mBytes(size), mReachable(reachable) {}
  ~RecordingReference() override { mLog.push_back("destroyed"); }

  void* GetAddress() override {
    mLog.push_back("address");
    return mReachable ? mBytes.data() : nullptr;
  }
  size_t GetSize() const override { return mBytes.size(); }
  void ReleaseAddress() override { mLog.push_back("release"); }

 private:
  std::vector<std::string>& mLog;
  std::vector<unsigned char> mBytes;
  bool mReachable;
};

TEST(WrapPaneAroundBinaryReferenceTest, FrameReadsTheSharedBytesInPlace) {
  auto reference = SharedMemoryBinaryReference::Create(4096);
  InterfaceRef<RL::IPane> frame;
  ASSERT_EQ(WrapPaneAroundBinaryReference(reference, kFrameID, frame), 0);
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->GetData(), static_cast<const void*>(reference->Data()));
  EXPECT_EQ(frame->GetDataSize(), 4096u);
  EXPECT_EQ(frame->GetIdentifier(), kFrameID);
  reference->Data()[10] = 0x5A;  // a write by the producer is seen through the frame
  EXPECT_EQ(static_cast<const unsigned char*>(frame->GetData())[10], 0x5A);
}

TEST(WrapPaneAroundBinaryReferenceTest, ReferenceIsReleasedExactlyWhenTheLastHolderGoes) {
  auto reference = SharedMemoryBinaryReference::Create(256);
  std::weak_ptr<SharedMemoryBinaryReference> watch = reference;
  InterfaceRef<RL::IPane> frame;
  ASSERT_EQ(WrapPaneAroundBinaryReference(reference, kFrameID, frame), 0);
  EXPECT_EQ(reference->GetOutstandingAddressCount(), 1);
  SharedMemoryBinaryReference* raw = reference.get();
  reference.reset();
  ASSERT_FALSE(watch.expired()) << "the frame keeps the reference alive";

  InterfaceRef<RL::IPane> second = frame;
  frame.Reset();
  EXPECT_FALSE(watch.expired());
  EXPECT_EQ(raw->GetOutstandingAddressCount(), 1);

  second.Reset();
  EXPECT_TRUE(watch.expired());
}

TEST(WrapPaneAroundBinaryReferenceTest, AddressUseEndsBeforeTheReferenceGoes) {
  std::vector<std::string> log;
  {
    InterfaceRef<RL::IPane> frame;
    ASSERT_EQ(WrapPaneAroundBinaryReference(std::make_shared<RecordingReference>(log, 64, true), kFrameID, frame),
              0);
    EXPECT_EQ(log, (std::vector<std::string>{"address"}));
  }
  EXPECT_EQ(log, (std::vector<std::string>{"address", "release", "destroyed"}));
}

TEST(WrapPaneAroundBinaryReferenceTest, NullReferenceFailsAndLeavesTheOutputAlone) {
  InterfaceRef<RL::IPane> previous;
  ASSERT_EQ(WrapPaneAroundBinaryReference(SharedMemoryBinaryReference::Create(8), kFrameID, previous), 0);
  InterfaceRef<RL::IPane> frame = previous;
  EXPECT_EQ(WrapPaneAroundBinaryReference(nullptr, kFrameID, frame), kilncore::config::kGeneralFailure);
  EXPECT_EQ(frame.Get(), previous.Get());
}

TEST(WrapPaneAroundBinaryReferenceTest, UnreachableBytesFailAndGiveTheUseBack) {
  std::vector<std::string> log;
  InterfaceRef<RL::IPane> frame;
  EXPECT_EQ(WrapPaneAroundBinaryReference(std::make_shared<RecordingReference>(log, 64, false), kFrameID, frame),
            kilncore::config::kGeneralFailure);
  EXPECT_FALSE(frame);
  EXPECT_EQ(log, (std::vector<std::string>{"address", "release", "destroyed"}));
}

TEST(WrapPaneAroundBinaryReferenceTest, EmptyBlockMakesAnEmptyFrame) {
  InterfaceRef<RL::IPane> frame;
  ASSERT_EQ(WrapPaneAroundBinaryReference(SharedMemoryBinaryReference::Create(0), kFrameID, frame), 0);
  EXPECT_EQ(frame->GetDataSize(), 0u);
}

TEST(WrapPaneAroundBinaryReferenceTest, FrameWithoutGeometryStatesNoLayout) {
  InterfaceRef<RL::IPane> frame;
  ASSERT_EQ(WrapPaneAroundBinaryReference(SharedMemoryBinaryReference::Create(64), kFrameID, frame), 0);
  EXPECT_EQ(frame->GetWidth(), 0);
  EXPECT_EQ(frame->GetHeight(), 0);
  EXPECT_EQ(frame->GetRowBytes(), 0);
  EXPECT_EQ(frame->GetPixelFormat(), kilnmediatypes::kPixelFormat_Invalid);
}

TEST(WrapPaneAroundBinaryReferenceTest, GeometryIsReportedAsGiven) {
  PaneGeometry geometry;
  geometry.width = 16;
  geometry.height = 8;
  geometry.rowBytes = 64;
  geometry.pixelFormat = kilnmediatypes::kPixelFormat_BGRA_4444_8u;
  geometry.pixelAspectRatio = kilnmediatypes::kPixelAspectRatio_PAL601;
  geometry.fieldType = kilnmediatypes::kFieldType_LowerFirst;
  InterfaceRef<RL::IPane> frame;
  ASSERT_EQ(WrapPaneAroundBinaryReference(SharedMemoryBinaryReference::Create(512), kFrameID, geometry, frame), 0);
  EXPECT_EQ(frame->GetWidth(), 16);
  EXPECT_EQ(frame->GetHeight(), 8);
  EXPECT_EQ(frame->GetRowBytes(), 64);
  EXPECT_EQ(frame->GetPixelFormat(), kilnmediatypes::kPixelFormat_BGRA_4444_8u);
  EXPECT_EQ(frame->GetPixelAspectRatio(), kilnmediatypes::kPixelAspectRatio_PAL601);
  EXPECT_EQ(frame->GetFieldType(), kilnmediatypes::kFieldType_LowerFirst);
}

TEST(WrapPaneAroundBinaryReferenceTest, GeometryLargerThanTheBytesFails) {
  auto reference = SharedMemoryBinaryReference::Create(511);
  PaneGeometry geometry;
  geometry.width = 16;
  geometry.height = 8;
  geometry.rowBytes = 64;
  InterfaceRef<RL::IPane> frame;
  EXPECT_EQ(WrapPaneAroundBinaryReference(reference, kFrameID, geometry, frame), kilncore::config::kGeneralFailure);
  EXPECT_FALSE(frame);
  EXPECT_EQ(reference->GetOutstandingAddressCount(), 0);
  geometry.rowBytes = -1;
  EXPECT_EQ(WrapPaneAroundBinaryReference(reference, kFrameID, geometry, frame), kilncore::config::kGeneralFailure);
}

TEST(WrapPaneAroundBinaryReferenceTest, FrameAnswersQueriesForItsInterfaceOnly) {
  InterfaceRef<RL::IPane> frame;
  ASSERT_EQ(WrapPaneAroundBinaryReference(SharedMemoryBinaryReference::Create(8), kFrameID, frame), 0);
  EXPECT_EQ(frame.GetOwner()->QueryInterface("RL::IPane"), static_cast<void*>(frame.Get()));
  EXPECT_EQ(frame.GetOwner()->QueryInterface("RL::IPanf"), nullptr);
  EXPECT_EQ(frame.GetOwner()->QueryInterface("RL::ISource"), nullptr);
}

}  // namespace
