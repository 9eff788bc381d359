#include <module/RenderOptionsReaders.h>

#include <kilncore/serialization/JSONTypes.h>

#include <gtest/gtest.h>

#include <any>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

using kilncore::serialization::JSONArray;
using kilncore::serialization::JSONObject;
using kilncore::serialization::JSONValuePtr;
using TetherMedia::ReadBoolVariant;
using TetherMedia::ReadByteArrayVariant;
using TetherMedia::ReadInt64Variant;
using TetherMedia::ReadIntegerVariant;
using TetherMedia::ReadNumberVariant;

template <class T>
JSONValuePtr Value(T value) {
  return std::make_shared<std::any>(std::move(value));
}

const JSONValuePtr kNoValue;
const std::any kJsonNull;

// --- Integer readers -----------------------------------------------------------

TEST(RenderOptionsReadersTest, IntegerReaderKeepsLow32BitsOfBothParsedIntegerTypes) {
  EXPECT_EQ(ReadIntegerVariant(std::any(uint64_t{7})), 7u);
  EXPECT_EQ(ReadIntegerVariant(std::any(uint64_t{0x1234567890ABCDEFull})), 0x90ABCDEFu);
  EXPECT_EQ(ReadIntegerVariant(std::any(int64_t{-1})), 0xFFFFFFFFu);
  EXPECT_EQ(static_cast<int32_t>(ReadIntegerVariant(std::any(int64_t{-2}))), -2);
}

TEST(RenderOptionsReadersTest, IntegerReaderReadsNullAsZero) {
  EXPECT_EQ(ReadIntegerVariant(kJsonNull), 0u);
  EXPECT_EQ(ReadIntegerVariant(kNoValue), 0u);
  EXPECT_EQ(ReadIntegerVariant(Value(std::any())), 0u);
}

TEST(RenderOptionsReadersTest, IntegerReaderRefusesEveryOtherType) {
  EXPECT_THROW(ReadIntegerVariant(std::any(int{1})), std::bad_any_cast);
  EXPECT_THROW(ReadIntegerVariant(std::any(unsigned{1})), std::bad_any_cast);
  EXPECT_THROW(ReadIntegerVariant(std::any(1.0)), std::bad_any_cast);
  EXPECT_THROW(ReadIntegerVariant(std::any(true)), std::bad_any_cast);
  EXPECT_THROW(ReadIntegerVariant(std::any(std::string("1"))), std::bad_any_cast);
  EXPECT_THROW(ReadIntegerVariant(std::any(JSONArray())), std::bad_any_cast);
}

TEST(RenderOptionsReadersTest, Int64ReaderKeepsAllBits) {
  EXPECT_EQ(ReadInt64Variant(std::any(int64_t{-762048000000})), -762048000000);
  EXPECT_EQ(ReadInt64Variant(std::any(uint64_t{0xFFFFFFFFFFFFFFFFull})), -1);
  EXPECT_EQ(ReadInt64Variant(std::any(uint64_t{1} << 40)), int64_t{1} << 40);
  EXPECT_EQ(ReadInt64Variant(kJsonNull), 0);
  EXPECT_EQ(ReadInt64Variant(kNoValue), 0);
  EXPECT_THROW(ReadInt64Variant(std::any(int{1})), std::bad_any_cast);
  EXPECT_THROW(ReadInt64Variant(std::any(1.0)), std::bad_any_cast);
}

// --- ReadBoolVariant -----------------------------------------------------------

TEST(RenderOptionsReadersTest, BoolReaderAcceptsBool) {
  EXPECT_TRUE(ReadBoolVariant(std::any(true)));
  EXPECT_FALSE(ReadBoolVariant(std::any(false)));
  EXPECT_TRUE(ReadBoolVariant(Value(true)));
}

TEST(RenderOptionsReadersTest, BoolReaderTakesNonZeroIntAsTrue) {
  EXPECT_TRUE(ReadBoolVariant(std::any(int{1})));
  EXPECT_TRUE(ReadBoolVariant(std::any(int{-7})));
  EXPECT_FALSE(ReadBoolVariant(std::any(int{0})));
}

TEST(RenderOptionsReadersTest, BoolReaderAcceptsOnlyExactLowerCaseStrings) {
  EXPECT_TRUE(ReadBoolVariant(std::any(std::string("true"))));
  EXPECT_FALSE(ReadBoolVariant(std::any(std::string("false"))));
  for (const char* text : {"TRUE", "True", "1", "", " true", "yes", "falsey"}) {
    EXPECT_THROW(ReadBoolVariant(std::any(std::string(text))), std::bad_any_cast) << text;
  }
}

TEST(RenderOptionsReadersTest, BoolReaderRefusesParsedIntegersAndOtherTypes) {
  EXPECT_THROW(ReadBoolVariant(std::any(uint64_t{1})), std::bad_any_cast);
  EXPECT_THROW(ReadBoolVariant(std::any(int64_t{-1})), std::bad_any_cast);
  EXPECT_THROW(ReadBoolVariant(std::any(unsigned{1})), std::bad_any_cast);
  EXPECT_THROW(ReadBoolVariant(std::any(1.0)), std::bad_any_cast);
  EXPECT_THROW(ReadBoolVariant(std::any(JSONObject())), std::bad_any_cast);
}

TEST(RenderOptionsReadersTest, BoolReaderReadsNullAsFalse) {
  EXPECT_FALSE(ReadBoolVariant(kJsonNull));
  EXPECT_FALSE(ReadBoolVariant(kNoValue));
}

// --- ReadNumberVariant ---------------------------------------------------------

TEST(RenderOptionsReadersTest, NumberReaderAcceptsDoubleAndBothParsedIntegerTypes) {
  EXPECT_EQ(ReadNumberVariant(std::any(2.5)), 2.5);
  EXPECT_EQ(ReadNumberVariant(std::any(uint64_t{3})), 3.0);
  EXPECT_EQ(ReadNumberVariant(std::any(int64_t{-3})), -3.0);
  EXPECT_EQ(ReadNumberVariant(std::any(std::numeric_limits<uint64_t>::max())), 18446744073709551616.0);
}

TEST(RenderOptionsReadersTest, NumberReaderReadsNullAsZero) {
  EXPECT_EQ(ReadNumberVariant(kJsonNull), 0.0);
  EXPECT_EQ(ReadNumberVariant(kNoValue), 0.0);
}

TEST(RenderOptionsReadersTest, NumberReaderRefusesEveryOtherType) {
  EXPECT_THROW(ReadNumberVariant(std::any(int{1})), std::bad_any_cast);
  EXPECT_THROW(ReadNumberVariant(std::any(1.0f)), std::bad_any_cast);
  EXPECT_THROW(ReadNumberVariant(std::any(true)), std::bad_any_cast);
  EXPECT_THROW(ReadNumberVariant(std::any(std::string("1.0"))), std::bad_any_cast);
}

// --- Byte arrays ---------------------------------------------------------------

TEST(RenderOptionsReadersTest, ByteArrayReaderKeepsLow8BitsOfEachElement) {
  const JSONArray array{Value(uint64_t{300}), Value(int64_t{-1}), Value(uint64_t{0}),
                        Value(uint64_t{0x1FF})};
  EXPECT_EQ(ReadByteArrayVariant(std::any(array)), (std::vector<uint8_t>{44, 255, 0, 255}));
  EXPECT_TRUE(ReadByteArrayVariant(std::any(JSONArray())).empty());
}

TEST(RenderOptionsReadersTest, ByteArrayReaderReadsNullAsEmpty) {
  EXPECT_TRUE(ReadByteArrayVariant(kJsonNull).empty());
  EXPECT_TRUE(ReadByteArrayVariant(kNoValue).empty());
}

TEST(RenderOptionsReadersTest, ByteArrayReaderRefusesOtherElementsAndNonArrays) {
  EXPECT_THROW(ReadByteArrayVariant(std::any(JSONArray{Value(1.0)})), std::bad_any_cast);
  EXPECT_THROW(ReadByteArrayVariant(std::any(JSONArray{Value(int{1})})), std::bad_any_cast);
  EXPECT_THROW(ReadByteArrayVariant(std::any(JSONArray{Value(std::any())})), std::bad_any_cast);
  EXPECT_THROW(ReadByteArrayVariant(std::any(JSONArray{JSONValuePtr()})), std::bad_any_cast);
  EXPECT_THROW(ReadByteArrayVariant(std::any(JSONObject())), std::bad_any_cast);
  EXPECT_THROW(ReadByteArrayVariant(std::any(std::string("\x01\x02"))), std::bad_any_cast);
  EXPECT_THROW(ReadByteArrayVariant(std::any(uint64_t{1})), std::bad_any_cast);
}

}  // namespace
