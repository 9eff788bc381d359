#include <kilncore/allocator/MemoryRecycler.h>
#include <kilncore/allocator/STLAllocator.h>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kilncore::allocator {
namespace {

struct alignas(64) OverAligned {
  int value = 0;
};

TEST(STLAllocatorTest, ServesContainers) {
  std::vector<int, STLAllocator<int>> values;
  for (int i = 0; i < 1000; ++i) values.push_back(i);
  EXPECT_EQ(values[999], 999);
  std::map<int, std::string, std::less<>, STLAllocator<std::pair<const int, std::string>>> map;
  map[1] = "one";
  EXPECT_EQ(map.at(1), "one");
}

TEST(STLAllocatorTest, ServesAllocateShared) {
  auto shared = std::allocate_shared<std::string>(STLAllocator<std::string>(), "module");
  EXPECT_EQ(*shared, "module");
}

TEST(STLAllocatorTest, HonoursOverAlignment) {
  std::vector<OverAligned, STLAllocator<OverAligned>> values(3);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(values.data()) % 64, 0u);
}

TEST(STLAllocatorTest, AllInstancesAreEqual) {
  EXPECT_TRUE(STLAllocator<int>() == STLAllocator<double>());
  EXPECT_FALSE(STLAllocator<int>() != STLAllocator<int>());
}

}  // namespace
}  // namespace kilncore::allocator

namespace kilncore::allocator {
namespace {

TEST(MemoryRecyclerTest, ServesMapsThatGrowAndShrink) {
  std::map<int, int, std::less<>, MemoryRecycler<std::pair<const int, int>>> map;
  for (int round = 0; round < 10; ++round) {
    for (int i = 0; i < 100; ++i) map[i] = i * round;
    EXPECT_EQ(map.at(99), 99 * round);
    map.clear();
  }
  EXPECT_TRUE(MemoryRecycler<int>() == MemoryRecycler<long>());
}

}  // namespace
}  // namespace kilncore::allocator
