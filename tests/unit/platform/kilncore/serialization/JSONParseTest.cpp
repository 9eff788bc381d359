#include <kilncore/serialization/JSONParse.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

namespace kilncore::serialization {
namespace {

const JSONObject& AsObject(const JSONValuePtr& value) {
  return std::any_cast<const JSONObject&>(*value);
}

TEST(JSONParseTest, ObjectOfEveryValueType) {
  const JSONValuePtr root = JSONParse(
      u"{\"s\":\"text\",\"t\":true,\"f\":false,\"n\":null,\"u\":7,\"i\":-7,\"d\":1.5,"
      u"\"a\":[1,\"x\"],\"o\":{\"k\":2}}");
  ASSERT_TRUE(root);
  const JSONObject& object = AsObject(root);
  EXPECT_EQ(std::any_cast<std::string>(*object.at("s")), "text");
  EXPECT_TRUE(std::any_cast<bool>(*object.at("t")));
  EXPECT_FALSE(std::any_cast<bool>(*object.at("f")));
  ASSERT_TRUE(object.at("n"));
  EXPECT_FALSE(object.at("n")->has_value());
  EXPECT_EQ(std::any_cast<uint64_t>(*object.at("u")), 7u);
  EXPECT_EQ(std::any_cast<int64_t>(*object.at("i")), -7);
  EXPECT_EQ(std::any_cast<double>(*object.at("d")), 1.5);
  const JSONArray& array = std::any_cast<const JSONArray&>(*object.at("a"));
  ASSERT_EQ(array.size(), 2u);
  EXPECT_EQ(std::any_cast<uint64_t>(*array[0]), 1u);
  EXPECT_EQ(std::any_cast<std::string>(*array[1]), "x");
  EXPECT_EQ(std::any_cast<uint64_t>(*AsObject(object.at("o")).at("k")), 2u);
}

TEST(JSONParseTest, NumbersTakeTheirFixedTypes) {
  const auto type = [](std::u16string_view text) -> const std::type_info& {
    return JSONParse(text)->type();
  };
  EXPECT_EQ(type(u"0"), typeid(uint64_t));
  EXPECT_EQ(type(u"300"), typeid(uint64_t));
  EXPECT_EQ(type(u"4294967296"), typeid(uint64_t));
  EXPECT_EQ(type(u"18446744073709551615"), typeid(uint64_t));
  EXPECT_EQ(type(u"-1"), typeid(int64_t));
  EXPECT_EQ(type(u"-9223372036854775808"), typeid(int64_t));
  EXPECT_EQ(type(u"2.0"), typeid(double));
  EXPECT_EQ(type(u"1e3"), typeid(double));
  EXPECT_EQ(type(u"18446744073709551616"), typeid(double));  // beyond 64 bits
  EXPECT_EQ(std::any_cast<uint64_t>(*JSONParse(u"18446744073709551615")), UINT64_MAX);
  EXPECT_EQ(std::any_cast<int64_t>(*JSONParse(u"-9223372036854775808")), INT64_MIN);
}

TEST(JSONParseTest, NullIsAPresentEmptyValue) {
  const JSONValuePtr root = JSONParse(u"null");
  ASSERT_TRUE(root);
  EXPECT_FALSE(root->has_value());
  EXPECT_TRUE(IsJSONNull(root));
}

TEST(JSONParseTest, StringsComeOutAsUTF8) {
  const JSONValuePtr root = JSONParse(u"[\"Caf\u00E9\",\"\\u00e9\\ud83d\\ude00\",\"a\\u0000b\"]");
  ASSERT_TRUE(root);
  const JSONArray& array = std::any_cast<const JSONArray&>(*root);
  EXPECT_EQ(std::any_cast<std::string>(*array[0]), "Caf\xC3\xA9");
  EXPECT_EQ(std::any_cast<std::string>(*array[1]), "\xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(std::any_cast<std::string>(*array[2]), std::string("a\0b", 3));
}

TEST(JSONParseTest, UTF8FormParsesTheSame) {
  const JSONValuePtr root = JSONParse(std::string_view("{\"applicationID\":\"Marl\",\"version\":11}"));
  ASSERT_TRUE(root);
  EXPECT_EQ(std::any_cast<std::string>(*AsObject(root).at("applicationID")), "Marl");
  EXPECT_EQ(std::any_cast<uint64_t>(*AsObject(root).at("version")), 11u);
}

TEST(JSONParseTest, FirstOfDuplicateKeysWins) {
  const JSONValuePtr root = JSONParse(u"{\"k\":1,\"k\":2}");
  ASSERT_TRUE(root);
  EXPECT_EQ(AsObject(root).size(), 1u);
  EXPECT_EQ(std::any_cast<uint64_t>(*AsObject(root).at("k")), 1u);
}

// The dropped duplicate is a container still being filled while its own
// values are parsed; it must stay alive until it closes.
TEST(JSONParseTest, DuplicateKeyWithContainerValuesKeepsTheFirst) {
  const JSONValuePtr root = JSONParse(u"{\"a\":[1],\"a\":[2,{\"b\":[3]}],\"c\":{\"d\":1}}");
  ASSERT_TRUE(root);
  const auto& first = std::any_cast<const JSONArray&>(*AsObject(root).at("a"));
  ASSERT_EQ(first.size(), 1u);
  EXPECT_EQ(std::any_cast<uint64_t>(*first[0]), 1u);
  EXPECT_TRUE(AsObject(root).count("c"));
}

TEST(JSONParseTest, SurroundingWhitespaceIsAllowed) {
  EXPECT_TRUE(JSONParse(u"  \n\t{ \"a\" : [ ] }\r\n "));
}

TEST(JSONParseTest, MalformedTextGivesNull) {
  const char16_t* const malformed[] = {
      u"",        u"   ",          u"{",           u"{\"a\":}",     u"{\"a\" 1}",
      u"[1,]",    u"[1 2]",        u"{} {}",       u"{}x",          u"'text'",
      u"{a:1}",   u"tru",          u"nul",         u"01",           u"1.",
      u"-",       u"\"unclosed",   u"\"\\x\"",     u"NaN",          u"Infinity",
      u"[\"\\ud800\"]",  // escaped lone surrogate
  };
  for (const char16_t* text : malformed) {
    EXPECT_FALSE(JSONParse(text)) << std::string(text, text + std::char_traits<char16_t>::length(text));
  }
}

TEST(JSONParseTest, InvalidEncodingGivesNull) {
  const char16_t loneSurrogate[] = {u'"', 0xD800, u'"', 0};
  EXPECT_FALSE(JSONParse(loneSurrogate));
  EXPECT_FALSE(JSONParse(std::string_view("\"\xC3\"")));
  EXPECT_FALSE(JSONParse(std::string_view("\"\xFF\"")));
}

TEST(JSONParseTest, EmbeddedNulGivesNull) {
  EXPECT_FALSE(JSONParse(std::u16string_view(u"{}\0{}", 5)));
  EXPECT_FALSE(JSONParse(std::u16string_view(u"[1,\0 2]", 7)));
  EXPECT_FALSE(JSONParse(std::string_view("\"a\0b\"", 5)));
}

TEST(JSONParseTest, NestingIsLimited) {
  const auto nested = [](size_t depth) {
    return std::u16string(depth, u'[') + std::u16string(depth, u']');
  };
  EXPECT_TRUE(JSONParse(nested(kMaxJSONNestingDepth)));
  EXPECT_FALSE(JSONParse(nested(kMaxJSONNestingDepth + 1)));
  EXPECT_FALSE(JSONParse(nested(200000)));  // no stack overflow either
}

TEST(JSONParseTest, RandomBytesNeverCrash) {
  std::mt19937 engine(99);
  const std::u16string alphabet = u"{}[]\",:0123456789-+.eEtrufalsn \\u\xD800\xDC00\u00E9";
  std::uniform_int_distribution<size_t> pick(0, alphabet.size() - 1);
  for (int round = 0; round < 3000; ++round) {
    std::u16string text(round % 30, u' ');
    for (char16_t& c : text) c = alphabet[pick(engine)];
    (void)JSONParse(text);
  }
}

}  // namespace
}  // namespace kilncore::serialization
