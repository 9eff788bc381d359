#include <RL/BinaryData.h>

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

namespace {

using RL::BinaryData;

TEST(BinaryDataTest, EmptyBlockHasNoData) {
  BinaryData empty;
  EXPECT_EQ(empty.GetData(), nullptr);
  EXPECT_EQ(empty.GetSize(), 0u);
  EXPECT_TRUE(empty.IsEmpty());
  const char byte = 'x';
  EXPECT_EQ(BinaryData(&byte, 0).GetData(), nullptr);
  EXPECT_EQ(BinaryData(nullptr, 0).GetSize(), 0u);
  EXPECT_EQ(BinaryData::FromString(""), empty);
}

TEST(BinaryDataTest, ConstructorCopiesTheBytes) {
  char source[] = {'a', 'b', 'c'};
  BinaryData data(source, sizeof source);
  source[0] = 'z';
  ASSERT_EQ(data.GetSize(), 3u);
  ASSERT_NE(data.GetData(), nullptr);
  EXPECT_NE(static_cast<const void*>(data.GetData()), static_cast<const void*>(source));
  EXPECT_EQ(std::memcmp(data.GetData(), "abc", 3), 0);
}

TEST(BinaryDataTest, CopiesAreEqualAndMovesEmptyTheSource) {
  BinaryData original = BinaryData::FromString("prefs");
  BinaryData copy = original;
  EXPECT_EQ(copy, original);
  BinaryData moved = std::move(copy);
  EXPECT_EQ(moved, original);
  EXPECT_TRUE(copy.IsEmpty());  // NOLINT: checking the moved-from state on purpose
  EXPECT_EQ(copy.GetData(), nullptr);  // NOLINT
  BinaryData assigned;
  assigned = std::move(moved);
  EXPECT_EQ(assigned, original);
  EXPECT_TRUE(moved.IsEmpty());  // NOLINT
}

TEST(BinaryDataTest, EqualityComparesBytes) {
  EXPECT_EQ(BinaryData::FromString("abc"), BinaryData(std::vector<uint8_t>{'a', 'b', 'c'}));
  EXPECT_NE(BinaryData::FromString("abc"), BinaryData::FromString("abd"));
  EXPECT_NE(BinaryData::FromString("abc"), BinaryData::FromString("ab"));
  EXPECT_NE(BinaryData::FromString("a"), BinaryData());
}

TEST(BinaryDataTest, BytesComeBackAsVectorAndSpan) {
  const std::vector<uint8_t> bytes = {0, 1, 255, 0};
  BinaryData data(bytes);
  EXPECT_EQ(data.ToVector(), bytes);
  EXPECT_EQ(data.AsSpan().size(), 4u);
  EXPECT_EQ(data.AsSpan()[2], 255);
}

TEST(BinaryDataTest, CopiesMayBeReadAndDroppedOnManyThreads) {
  const BinaryData shared = BinaryData::FromString("shared bytes");
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([shared] {
      for (int i = 0; i < 1000; ++i) {
        BinaryData copy = shared;
        EXPECT_EQ(copy.GetSize(), 12u);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(shared, BinaryData::FromString("shared bytes"));
}

}  // namespace
