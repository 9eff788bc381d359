#include <kilncore/utility/ImmutableString.h>

#include <gtest/gtest.h>

#include <latch>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

namespace kilncore::utility {
namespace {

TEST(ImmutableStringTest, EqualTextsShareOneStorage) {
  const ImmutableString a("Station-1");
  const ImmutableString b(std::string("Station-") + "1");
  EXPECT_EQ(a, b);
  EXPECT_TRUE(a.SharesStorageWith(b));
  EXPECT_EQ(a.c_str(), b.c_str());
  EXPECT_EQ(a.AsUTF8(), "Station-1");
}

TEST(ImmutableStringTest, DifferentTextsDiffer) {
  const ImmutableString a("a");
  const ImmutableString b("b");
  EXPECT_NE(a, b);
  EXPECT_FALSE(a.SharesStorageWith(b));
  EXPECT_LT(a, b);
}

TEST(ImmutableStringTest, CopiesShareStorage) {
  const ImmutableString original("copied");
  const ImmutableString copy = original;  // NOLINT(performance-unnecessary-copy-initialization)
  EXPECT_TRUE(copy.SharesStorageWith(original));
  EXPECT_EQ(copy, original);
}

TEST(ImmutableStringTest, WideAndUTF8FormsMeet) {
  const ImmutableString wide(u"Caf\u00E9 \U0001F600");
  const ImmutableString utf8("Caf\xC3\xA9 \xF0\x9F\x98\x80");
  EXPECT_EQ(wide, utf8);
  EXPECT_EQ(wide.AsWide(), u"Caf\u00E9 \U0001F600");
  EXPECT_EQ(wide.size(), 10u);
}

TEST(ImmutableStringTest, EmptyFormsAreAllEqual) {
  const ImmutableString none;
  EXPECT_TRUE(none.empty());
  EXPECT_EQ(none.size(), 0u);
  EXPECT_EQ(none.AsUTF8(), "");
  EXPECT_STREQ(none.c_str(), "");
  EXPECT_EQ(none, ImmutableString(""));
  EXPECT_EQ(none, ImmutableString(u""));
  EXPECT_NE(none, ImmutableString("x"));
  EXPECT_LT(none, ImmutableString("x"));
}

TEST(ImmutableStringTest, OrderingIsByText) {
  std::set<ImmutableString> ordered{ImmutableString("b"), ImmutableString("a"),
                                    ImmutableString("c"), ImmutableString("a")};
  std::vector<std::string> texts;
  for (const auto& text : ordered) texts.push_back(text.AsUTF8());
  EXPECT_EQ(texts, (std::vector<std::string>{"a", "b", "c"}));
}

TEST(ImmutableStringTest, IsHashableAndUsableAsMapKey) {
  std::unordered_set<ImmutableString> set{ImmutableString("x"), ImmutableString("y")};
  EXPECT_EQ(set.count(ImmutableString("x")), 1u);
  EXPECT_EQ(set.count(ImmutableString("z")), 0u);
  EXPECT_EQ(std::hash<ImmutableString>{}(ImmutableString("x")),
            std::hash<ImmutableString>{}(ImmutableString(u"x")));
  std::map<ImmutableString, ImmutableString> properties;
  properties[ImmutableString("key")] = ImmutableString("value");
  EXPECT_EQ(properties.at(ImmutableString("key")), ImmutableString("value"));
}

TEST(ImmutableStringTest, TextSurvivesReleaseAndReinterning) {
  const std::string text = "transient-" + std::to_string(12345);
  {
    const ImmutableString first(text);
    EXPECT_EQ(first.AsUTF8(), text);
  }
  const ImmutableString second(text);
  EXPECT_EQ(second.AsUTF8(), text);
}

TEST(ImmutableStringTest, InvalidUTF16IsRepaired) {
  const char16_t broken[] = {u'a', 0xD800, u'b', 0};
  const ImmutableString text(broken);
  EXPECT_EQ(text.AsUTF8(), "a\xEF\xBF\xBD" "b");
}

// Threads intern, copy and drop the same few texts at once; every thread must
// end up sharing one storage per text, and nothing may be torn (tsan checks).
TEST(ImmutableStringTest, ConcurrentInterningSharesStorage) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 2000;
  std::latch start(kThreads);
  std::vector<std::vector<ImmutableString>> kept(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      start.arrive_and_wait();
      for (int i = 0; i < kRounds; ++i) {
        const ImmutableString transient("text-" + std::to_string(i % 7));
        ImmutableString copy = transient;
        EXPECT_EQ(copy.AsUTF8(), "text-" + std::to_string(i % 7));
      }
      for (int i = 0; i < 7; ++i) kept[t].emplace_back("text-" + std::to_string(i));
    });
  }
  for (auto& thread : threads) thread.join();
  for (int t = 1; t < kThreads; ++t) {
    for (int i = 0; i < 7; ++i) EXPECT_TRUE(kept[t][i].SharesStorageWith(kept[0][i]));
  }
}

}  // namespace
}  // namespace kilncore::utility
