#include <kilncore/serialization/JSONBuild.h>
#include <kilncore/serialization/JSONParse.h>
#include <kilncore/serialization/JSONString.h>
#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace kilncore::serialization {
namespace {

TEST(JSONStringTest, IntegerValueIsItsDigits) {
  EXPECT_EQ(GetJSONString(std::any(int64_t{5})), "5");
  EXPECT_EQ(GetJSONString(std::any(5)), "5");
  EXPECT_EQ(GetJSONString(std::any(-5)), "-5");
  EXPECT_EQ(GetJSONString(std::any(uint64_t{18446744073709551615ull})), "18446744073709551615");
  EXPECT_EQ(GetJSONString(std::any(int32_t{-2147483647 - 1})), "-2147483648");
  EXPECT_EQ(GetJSONWideString(std::any(7u)), u"7");
}

TEST(JSONStringTest, ScalarsAndNull) {
  EXPECT_EQ(GetJSONString(std::any(true)), "true");
  EXPECT_EQ(GetJSONString(std::any(1.5)), "1.5");
  EXPECT_EQ(GetJSONString(std::any(2.0f)), "2.0");
  EXPECT_EQ(GetJSONString(std::any()), "null");
  EXPECT_EQ(GetJSONString(JSONValuePtr()), "null");
  EXPECT_EQ(GetJSONString(std::any(std::numeric_limits<double>::quiet_NaN())), "null");
  EXPECT_EQ(GetJSONString(std::any(std::numeric_limits<double>::infinity())), "null");
}

TEST(JSONStringTest, TextsAreEscapedUTF8) {
  EXPECT_EQ(GetJSONString(std::any(std::string("a\"b\\c\n"))), "\"a\\\"b\\\\c\\n\"");
  EXPECT_EQ(GetJSONString(std::any(WideString(u"Caf\u00E9"))), "\"Caf\xC3\xA9\"");
  EXPECT_EQ(GetJSONString(std::any("literal")), "\"literal\"");
  EXPECT_EQ(GetJSONString(std::any(std::string("\xC3"))), "\"\xEF\xBF\xBD\"");
  const utility::Guid id(0xEC341E53, 0x60C2, 0x4D89, {0xAB, 0xFC, 0xBD, 0xB5, 0xC0, 0xFF, 0x2E, 0x0B});
  EXPECT_EQ(GetJSONString(std::any(id)), "\"EC341E53-60C2-4D89-ABFC-BDB5C0FF2E0B\"");
}

TEST(JSONStringTest, ObjectsAreWrittenInKeyOrderWithoutWhitespace) {
  JSONValuePtr object = MakeJSONObject();
  AddToObject(object, "version", uint64_t{11});
  AddToObject(object, "applicationID", std::string("Marl"));
  AddToObject(object, "none", nullptr);
  EXPECT_EQ(GetJSONString(object), "{\"applicationID\":\"Marl\",\"none\":null,\"version\":11}");
}

TEST(JSONStringTest, PrettyFormIsIndented) {
  JSONValuePtr array = MakeJSONArray();
  AppendToArray(array, 1);
  EXPECT_EQ(GetJSONString(array, true), "[\n    1\n]");
}

TEST(JSONStringTest, PlainContainersOfAnyAreWritten) {
  const std::map<std::string, std::any> object{{"a", std::vector<std::any>{1, std::string("x")}}};
  EXPECT_EQ(GetJSONString(std::any(object)), "{\"a\":[1,\"x\"]}");
}

TEST(JSONStringTest, ParsedTreesRoundTrip) {
  const std::u16string text =
      u"{\"a\":[1,-2,2.5,true,false,null,\"s\\u00e9\"],\"b\":{\"c\":{}},\"d\":[]}";
  const JSONValuePtr tree = JSONParse(text);
  ASSERT_TRUE(tree);
  const std::string written = GetJSONString(tree);
  EXPECT_EQ(written, "{\"a\":[1,-2,2.5,true,false,null,\"s\xC3\xA9\"],\"b\":{\"c\":{}},\"d\":[]}");
  EXPECT_EQ(GetJSONString(JSONParse(std::string_view(written))), written);
}

TEST(JSONStringTest, UnknownTypeThrows) {
  struct Unknown {};
  EXPECT_THROW(GetJSONString(std::any(Unknown{})), std::bad_any_cast);
  JSONValuePtr array = MakeJSONArray();
  AppendToArray(array, std::any(Unknown{}));
  EXPECT_THROW(GetJSONString(array), std::bad_any_cast);
}

}  // namespace
}  // namespace kilncore::serialization
