#include <processcoordination/SharedMemoryBinaryReference.h>

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

namespace {

using processcoordination::SharedMemoryBinaryReference;

TEST(SharedMemoryBinaryReferenceTest, BlockIsZeroFilledAndCountsAddressUses) {
  auto block = SharedMemoryBinaryReference::Create(4096);
  ASSERT_EQ(block->GetSize(), 4096u);
  auto* bytes = static_cast<unsigned char*>(block->GetAddress());
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(block->GetOutstandingAddressCount(), 1);
  for (size_t i = 0; i < 4096; ++i) {
    ASSERT_EQ(bytes[i], 0);
  }
  block->ReleaseAddress();
  EXPECT_EQ(block->GetOutstandingAddressCount(), 0);
}

TEST(SharedMemoryBinaryReferenceTest, BytesAreSharedThroughTheDescriptor) {
  auto block = SharedMemoryBinaryReference::Create(16);
  std::memcpy(block->Data(), "shared memory!!", 16);
  // A second mapping of the same descriptor, as another process would make.
  auto other = SharedMemoryBinaryReference::Adopt(dup(block->GetDescriptor()), 16);
  EXPECT_EQ(std::memcmp(other->GetAddress(), "shared memory!!", 16), 0);
  other->ReleaseAddress();
}

TEST(SharedMemoryBinaryReferenceTest, EmptyBlockHasNoAddress) {
  auto block = SharedMemoryBinaryReference::Create(0);
  EXPECT_EQ(block->GetSize(), 0u);
  EXPECT_EQ(block->GetAddress(), nullptr);
  block->ReleaseAddress();
}

}  // namespace
