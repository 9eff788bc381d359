#include <kilncore/serialization/JSONAccess.h>
#include <kilncore/serialization/JSONConvert.h>
#include <kilncore/serialization/JSONParse.h>
#include <kilncore/serialization/JSONString.h>

#include <gtest/gtest.h>

namespace {

struct Point {
  int32_t x = 0;
  int32_t y = 0;
  bool operator==(const Point&) const = default;
};

}  // namespace

// How another library takes part: a specialisation in the serialisation
// namespace.
template <>
struct kilncore::serialization::JSONConvert<Point> {
  static Point FromJSON(const std::any& json) {
    return Point{serialization::FromJSON<int32_t>(GetVariantInObject(json, "x")),
                 serialization::FromJSON<int32_t>(GetVariantInObject(json, "y"))};
  }
  static JSONValuePtr ToJSON(const Point& point) {
    JSONObject object;
    object.emplace("x", serialization::ToJSON(point.x));
    object.emplace("y", serialization::ToJSON(point.y));
    return std::make_shared<std::any>(std::move(object));
  }
};

namespace kilncore::serialization {
namespace {

TEST(JSONConvertTest, CustomTypeRoundTripsThroughText) {
  const Point point{3, -4};
  const std::string text = GetJSONString(ToJSON(point));
  EXPECT_EQ(text, "{\"x\":3,\"y\":-4}");
  EXPECT_EQ(FromJSON<Point>(JSONParse(std::string_view(text))), point);
  EXPECT_EQ(FromJSON<std::vector<Point>>(JSONParse(u"[{\"x\":1,\"y\":2}]")),
            (std::vector<Point>{{1, 2}}));
}

TEST(JSONConvertTest, IntegersMustFitTheirType) {
  EXPECT_EQ(FromJSON<int32_t>(JSONParse(u"-5")), -5);
  EXPECT_EQ(FromJSON<uint32_t>(JSONParse(u"4294967295")), 4294967295u);
  EXPECT_EQ(FromJSON<int64_t>(std::any(7)), 7);
  EXPECT_THROW(FromJSON<uint32_t>(JSONParse(u"4294967296")), std::bad_any_cast);
  EXPECT_THROW(FromJSON<uint64_t>(JSONParse(u"-1")), std::bad_any_cast);
  EXPECT_THROW(FromJSON<int32_t>(JSONParse(u"1.5")), std::bad_any_cast);
  EXPECT_THROW(FromJSON<int32_t>(JSONParse(u"\"1\"")), std::bad_any_cast);
  EXPECT_THROW(FromJSON<int32_t>(JSONParse(u"null")), std::bad_any_cast);
  EXPECT_THROW(FromJSON<int32_t>(JSONValuePtr()), std::bad_any_cast);
}

TEST(JSONConvertTest, ScalarsAndTexts) {
  EXPECT_TRUE(FromJSON<bool>(JSONParse(u"true")));
  EXPECT_EQ(FromJSON<double>(JSONParse(u"2")), 2.0);
  EXPECT_EQ(FromJSON<double>(JSONParse(u"-2")), -2.0);
  EXPECT_EQ(FromJSON<double>(JSONParse(u"2.5")), 2.5);
  EXPECT_EQ(FromJSON<std::string>(JSONParse(u"\"\u00E9\"")), "\xC3\xA9");
  EXPECT_EQ(FromJSON<WideString>(JSONParse(u"\"\u00E9\"")), u"\u00E9");
  EXPECT_EQ(GetJSONString(ToJSON(WideString(u"\u00E9"))), "\"\xC3\xA9\"");
  EXPECT_THROW(FromJSON<bool>(JSONParse(u"1")), std::bad_any_cast);
}

TEST(JSONConvertTest, GuidTravelsAsText) {
  const utility::Guid id = utility::Guid::CreateUnique();
  EXPECT_EQ(FromJSON<utility::Guid>(ToJSON(id)), id);
  EXPECT_TRUE(FromJSON<utility::Guid>(JSONParse(u"\"not a guid\"")).IsNil());
}

TEST(JSONConvertTest, MapsOfValues) {
  const std::map<std::string, int64_t> values{{"a", -1}, {"b", 2}};
  const std::string text = GetJSONString(ToJSON(values));
  EXPECT_EQ(text, "{\"a\":-1,\"b\":2}");
  EXPECT_EQ((FromJSON<std::map<std::string, int64_t>>(JSONParse(std::string_view(text)))), values);
}

}  // namespace
}  // namespace kilncore::serialization
