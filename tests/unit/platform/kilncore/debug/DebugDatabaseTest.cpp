#include <kilncore/debug/DebugDatabase.h>
#include <kilncore/debug/TypeName.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

namespace kilncore::debug {
namespace {

TEST(DebugDatabaseTest, MissingEntryGivesTheDefault) {
  EXPECT_EQ(DebugDatabase::Instance().GetEntry("NoSuchEntryAnywhere", "false"), "false");
  EXPECT_EQ(DebugDatabase::Instance().GetEntry(u"NoSuchEntryAnywhere", u"d\u00E9faut"),
            u"d\u00E9faut");
}

TEST(DebugDatabaseTest, SetEntryWinsAndCanBeRemoved) {
  DebugDatabase& database = DebugDatabase::Instance();
  database.SetEntry("AllowTetherToOwnProjectType", "true");
  EXPECT_EQ(database.GetEntry("AllowTetherToOwnProjectType", "false"), "true");
  EXPECT_EQ(database.GetEntry(u"AllowTetherToOwnProjectType", u"false"), u"true");
  database.RemoveEntry("AllowTetherToOwnProjectType");
  EXPECT_EQ(database.GetEntry("AllowTetherToOwnProjectType", "false"), "false");
}

TEST(DebugDatabaseTest, WideSetEntryIsReadAsUTF8) {
  DebugDatabase& database = DebugDatabase::Instance();
  database.SetEntry(u"WideKey", u"caf\u00E9");
  EXPECT_EQ(database.GetEntry("WideKey", ""), "caf\xC3\xA9");
  database.RemoveEntry("WideKey");
}

TEST(DebugDatabaseTest, EnvironmentProvidesEntries) {
  ASSERT_EQ(setenv("KILN_DEBUG_FromEnvironment", "on", 1), 0);
  DebugDatabase& database = DebugDatabase::Instance();
  EXPECT_EQ(database.GetEntry("FromEnvironment", "off"), "on");
  database.SetEntry("FromEnvironment", "set");
  EXPECT_EQ(database.GetEntry("FromEnvironment", "off"), "set");
  database.RemoveEntry("FromEnvironment");
  unsetenv("KILN_DEBUG_FromEnvironment");
  EXPECT_EQ(database.GetEntry("FromEnvironment", "off"), "off");
}

struct SomeInterface {};
namespace inner {
template <typename T>
struct Holder {};
}  // namespace inner

TEST(TypeNameTest, NamesAreDemangled) {
  EXPECT_EQ(GetTypeName(typeid(SomeInterface)),
            "kilncore::debug::(anonymous namespace)::SomeInterface");
  EXPECT_EQ(GetTypeName<int>(), "int");
  EXPECT_EQ(GetTypeName<inner::Holder<int>>(),
            "kilncore::debug::(anonymous namespace)::inner::Holder<int>");
  EXPECT_EQ(GetTypeName(typeid(std::string)).find("std::"), 0u);
}

}  // namespace
}  // namespace kilncore::debug
