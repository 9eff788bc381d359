#include <kilncore/serialization/JSONAccess.h>
#include <kilncore/serialization/JSONBuild.h>
#include <kilncore/serialization/JSONParse.h>
#include <kilncore/serialization/JSONString.h>

#include <gtest/gtest.h>

namespace kilncore::serialization {
namespace {

class JSONAccessTest : public ::testing::Test {
 protected:
  JSONValuePtr mRoot = JSONParse(u"{\"present\":1,\"nothing\":null,\"nested\":{\"x\":true}}");
};

TEST_F(JSONAccessTest, HasPropertyInEveryForm) {
  ASSERT_TRUE(mRoot);
  EXPECT_TRUE(ObjectHasProperty(mRoot, "present"));
  EXPECT_TRUE(ObjectHasProperty(*mRoot, "present"));
  EXPECT_TRUE(ObjectHasProperty(std::any_cast<const JSONObject&>(*mRoot), "present"));
  EXPECT_FALSE(ObjectHasProperty(mRoot, "absent"));
}

TEST_F(JSONAccessTest, NullMemberIsPresentUnlessAskedOtherwise) {
  EXPECT_TRUE(ObjectHasProperty(mRoot, "nothing"));
  EXPECT_FALSE(ObjectHasProperty(mRoot, "nothing", false));
  EXPECT_TRUE(ObjectHasProperty(mRoot, "present", false));
}

TEST_F(JSONAccessTest, GetVariantGivesValueNullOrNothing) {
  const JSONValuePtr present = GetVariantInObject(mRoot, "present");
  ASSERT_TRUE(present);
  EXPECT_EQ(std::any_cast<uint64_t>(*present), 1u);
  const JSONValuePtr nothing = GetVariantInObject(mRoot, "nothing");
  ASSERT_TRUE(nothing);
  EXPECT_FALSE(nothing->has_value());
  EXPECT_FALSE(GetVariantInObject(mRoot, "absent"));
  const JSONValuePtr nested = GetVariantInObject(mRoot, "nested");
  EXPECT_TRUE(std::any_cast<bool>(*GetVariantInObject(nested, "x")));
}

TEST_F(JSONAccessTest, NoObjectHasNoMembers) {
  EXPECT_FALSE(ObjectHasProperty(JSONValuePtr(), "present"));
  EXPECT_FALSE(GetVariantInObject(JSONValuePtr(), "present"));
  EXPECT_FALSE(ObjectHasProperty(MakeJSONNull(), "present"));
  EXPECT_FALSE(GetVariantInObject(std::any(), "present"));
}

TEST_F(JSONAccessTest, ValueThatIsNoObjectThrows) {
  const JSONValuePtr array = JSONParse(u"[1]");
  EXPECT_THROW(ObjectHasProperty(array, "a"), std::bad_any_cast);
  EXPECT_THROW(GetVariantInObject(array, "a"), std::bad_any_cast);
  EXPECT_THROW(GetVariantInObject(std::any(std::string("{}")), "a"), std::bad_any_cast);
}

TEST_F(JSONAccessTest, AnyHoldingAPointerIsFollowed) {
  const std::any wrapped(mRoot);
  EXPECT_TRUE(ObjectHasProperty(wrapped, "present"));
  EXPECT_TRUE(GetVariantInObject(wrapped, "present"));
}

TEST_F(JSONAccessTest, HandBuiltNullPointerMemberReadsAsJSONNull) {
  JSONObject object;
  object.emplace("hole", nullptr);
  EXPECT_TRUE(ObjectHasProperty(object, "hole"));
  EXPECT_FALSE(ObjectHasProperty(object, "hole", false));
  EXPECT_TRUE(IsJSONNull(GetVariantInObject(object, "hole")));
}

TEST(JSONBuildTest, BuildsTheArgumentsOfARequest) {
  JSONValuePtr time = MakeJSONObject();
  AddToObject(time, "ticks", int64_t{254016000000});
  JSONValuePtr format = MakeJSONObject();
  AddToObject(format, "fourcc", uint32_t{0x42475241});
  AddToObject(format, "properties", 0x78000);
  JSONValuePtr arguments = MakeJSONArray();
  AppendToArray(arguments, "/projects/Show.tlmn");
  AppendToArray(arguments, WideString(u"EC341E53-60C2-4D89-ABFC-BDB5C0FF2E0B"));
  AppendToArray(arguments, time);
  AppendToArray(arguments, format);
  AppendToArray(arguments, true);
  const JSONValuePtr call = BuildCall("com.veldmoor.tether.Tolmen.GetStillRanges", arguments);
  EXPECT_EQ(GetJSONString(call),
            "{\"method\":\"com.veldmoor.tether.Tolmen.GetStillRanges\",\"params\":["
            "\"/projects/Show.tlmn\",\"EC341E53-60C2-4D89-ABFC-BDB5C0FF2E0B\","
            "{\"ticks\":254016000000},{\"fourcc\":1111970369,\"properties\":491520},true]}");
  // Texts are stored as parsed trees hold them.
  const JSONArray& array = std::any_cast<const JSONArray&>(*arguments);
  EXPECT_EQ(array[0]->type(), typeid(std::string));
  EXPECT_EQ(array[1]->type(), typeid(std::string));
}

TEST(JSONBuildTest, ReadCallTakesACallApart) {
  JSONValuePtr arguments = MakeJSONArray();
  AppendToArray(arguments, 3);
  const JSONValuePtr call = BuildCall("name", arguments);
  std::string name;
  JSONValuePtr read;
  ASSERT_TRUE(ReadCall(call, name, read));
  EXPECT_EQ(name, "name");
  EXPECT_EQ(read, arguments);
  // A call that went through text reads the same.
  ASSERT_TRUE(ReadCall(JSONParse(std::string_view(GetJSONString(call))), name, read));
  EXPECT_EQ(GetJSONString(read), "[3]");
  EXPECT_FALSE(ReadCall(JSONParse(u"{\"method\":1,\"params\":[]}"), name, read));
  EXPECT_FALSE(ReadCall(nullptr, name, read));
}

TEST(JSONBuildTest, BuildCallWithoutArgumentsHasAnEmptyArray) {
  EXPECT_EQ(GetJSONString(BuildCall("m", JSONValuePtr())), "{\"method\":\"m\",\"params\":[]}");
  EXPECT_EQ(GetJSONString(BuildCall("m", JSONArray{})), "{\"method\":\"m\",\"params\":[]}");
  EXPECT_THROW(BuildCall("m", MakeJSONObject()), std::bad_any_cast);
}

TEST(JSONBuildTest, AddToObjectReplacesAndNullsAreKept) {
  JSONValuePtr object = MakeJSONObject();
  AddToObject(object, "k", 1);
  AddToObject(object, "k", 2);
  AddToObject(object, "n", JSONValuePtr());
  EXPECT_EQ(GetJSONString(object), "{\"k\":2,\"n\":null}");
  JSONValuePtr array = MakeJSONArray();
  AppendToArray(array, nullptr);
  AppendToArray(array, JSONValuePtr());
  EXPECT_EQ(GetJSONString(array), "[null,null]");
}

TEST(JSONBuildTest, WrongContainerThrows) {
  EXPECT_THROW(AppendToArray(MakeJSONObject(), 1), std::bad_any_cast);
  EXPECT_THROW(AddToObject(MakeJSONArray(), "k", 1), std::bad_any_cast);
  EXPECT_THROW(AppendToArray(JSONValuePtr(), 1), std::bad_any_cast);
}

}  // namespace
}  // namespace kilncore::serialization
