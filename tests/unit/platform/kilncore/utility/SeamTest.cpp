#include <kilncore/utility/Seam.h>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace kilncore::utility {
namespace {

int RealTwice(int value) { return value * 2; }

TEST(SeamTest, RunsTheRealBehaviourWhenNothingIsSet) {
  Seam<int(int)> seam(&RealTwice);
  EXPECT_EQ(seam(4), 8);
  EXPECT_TRUE(seam.Calls().empty());
}

TEST(SeamTest, ScopedReplacementAnswersAndRecordsUntilItEnds) {
  Seam<int(int)> seam(&RealTwice);
  {
    ScopedSeam scope(seam, [](int value) { return value + 1; });
    EXPECT_EQ(seam(4), 5);
    EXPECT_EQ(seam(6), 7);
    ASSERT_EQ(scope.Calls().size(), 2u);
    EXPECT_EQ(std::get<0>(scope.Calls()[0]), 4);
    EXPECT_EQ(std::get<0>(scope.Calls()[1]), 6);
  }
  EXPECT_EQ(seam(4), 8);
}

TEST(SeamTest, ScopeWithoutReplacementOnlyWatches) {
  Seam<int(int)> seam(&RealTwice);
  ScopedSeam scope(seam);
  EXPECT_EQ(seam(5), 10);
  EXPECT_EQ(scope.Calls().size(), 1u);
}

TEST(SeamTest, NestedScopesRestoreTheOuterReplacement) {
  Seam<int(int)> seam(&RealTwice);
  ScopedSeam outer(seam, [](int) { return 1; });
  {
    ScopedSeam inner(seam, [](int) { return 2; });
    EXPECT_EQ(seam(0), 2);
  }
  EXPECT_EQ(seam(0), 1);
  EXPECT_EQ(outer.Calls().size(), 2u);
}

TEST(SeamTest, ReplacementMayCallTheRealBehaviour) {
  Seam<int(int)> seam(&RealTwice);
  ScopedSeam scope(seam, [&seam](int value) { return seam.CallReal(value) + 1; });
  EXPECT_EQ(seam(3), 7);
}

TEST(SeamTest, ViewsAreRecordedAsTheTextTheyShowed) {
  Seam<bool(kilncore::WideStringView)> seam([](kilncore::WideStringView) { return true; });
  ScopedSeam scope(seam);
  {
    const kilncore::WideString path = u"/a/b.marlp";
    seam(path);
  }
  ASSERT_EQ(scope.Calls().size(), 1u);
  EXPECT_EQ(std::get<0>(scope.Calls()[0]), kilncore::WideString(u"/a/b.marlp"));
}

TEST(SeamTest, CallsFromManyThreadsAreAllRecorded) {
  Seam<int(int)> seam(&RealTwice);
  ScopedSeam scope(seam);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&seam] {
      for (int i = 0; i < 100; ++i) seam(i);
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(scope.Calls().size(), 400u);
}

}  // namespace
}  // namespace kilncore::utility
