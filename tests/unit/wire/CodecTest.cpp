#include <tether/wire/Message.h>
#include <tether/wire/TreeAccess.h>
#include <tether/wire/TreeCodec.h>
#include <tether/wire/WireError.h>

#include <gtest/gtest.h>

#include <msgpack.hpp>

namespace tether::wire {
namespace {

AnyValue SampleTree() {
  return MakeAny(AnyObject{
      {"text", MakeAny(std::string("héllo"))},
      {"flag", MakeAny(true)},
      {"int", MakeAny(-42)},
      {"unsigned", MakeAny(7u)},
      {"big", MakeAny(uint64_t{1} << 63)},
      {"negative64", MakeAny(int64_t{-(int64_t{1} << 40)})},
      {"real", MakeAny(2.5)},
      {"null", std::make_shared<std::any>()},
      {"array", MakeAny(AnyArray{MakeAny(1), MakeAny(std::string("two")), MakeAny(AnyObject{})})},
  });
}

TEST(CodecTest, TreeRoundTripNormalisesNumbersLikeTheJsonParser) {
  AnyValue decoded = DecodeTree(EncodeTree(SampleTree()));
  const AnyObject& object = AsObject(decoded);
  EXPECT_EQ(AsString(object.at("text")), "héllo");
  EXPECT_TRUE(AsBool(object.at("flag")));
  EXPECT_EQ(std::any_cast<int64_t>(*object.at("int")), -42);
  EXPECT_EQ(std::any_cast<uint64_t>(*object.at("unsigned")), 7u);
  EXPECT_EQ(std::any_cast<uint64_t>(*object.at("big")), uint64_t{1} << 63);
  EXPECT_EQ(AsInt64(object.at("negative64")), -(int64_t{1} << 40));
  EXPECT_EQ(std::any_cast<double>(*object.at("real")), 2.5);
  ASSERT_TRUE(object.at("null"));
  EXPECT_FALSE(object.at("null")->has_value());
  const AnyArray& array = AsArray(object.at("array"));
  ASSERT_EQ(array.size(), 3u);
  EXPECT_EQ(AsString(array[1]), "two");
  EXPECT_TRUE(AsObject(array[2]).empty());
}

TEST(CodecTest, EveryTruncationOfAnEncodedTreeIsRejected) {
  std::string bytes = EncodeTree(SampleTree());
  for (size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_THROW(DecodeTree(std::string_view(bytes).substr(0, length)), WireError) << length;
  }
}

TEST(CodecTest, TrailingBytesAreRejected) {
  EXPECT_THROW(DecodeTree(EncodeTree(MakeAny(1)) + "x"), WireError);
}

TEST(CodecTest, UnsupportedTypesAreRejectedBothWays) {
  struct Foreign {};
  EXPECT_THROW(EncodeTree(MakeAny(Foreign{})), WireError);

  msgpack::sbuffer buffer;
  msgpack::packer<msgpack::sbuffer> packer(buffer);
  packer.pack_bin(3);
  packer.pack_bin_body("abc", 3);
  EXPECT_THROW(DecodeTree(std::string_view(buffer.data(), buffer.size())), WireError);

  msgpack::sbuffer keys;
  msgpack::packer<msgpack::sbuffer> keyPacker(keys);
  keyPacker.pack_map(1);
  keyPacker.pack(1);
  keyPacker.pack(2);
  EXPECT_THROW(DecodeTree(std::string_view(keys.data(), keys.size())), WireError);
}

TEST(CodecTest, RepeatedKeysAreRejected) {
  msgpack::sbuffer buffer;
  msgpack::packer<msgpack::sbuffer> packer(buffer);
  packer.pack_map(2);
  packer.pack(std::string("a"));
  packer.pack(1);
  packer.pack(std::string("a"));
  packer.pack(2);
  EXPECT_THROW(DecodeTree(std::string_view(buffer.data(), buffer.size())), WireError);
}

TEST(CodecTest, DeepNestingIsRejected) {
  std::string bytes(kMaxTreeDepth + 5, '\x91');  // arrays of one, nested
  bytes.push_back('\xc0');
  EXPECT_THROW(DecodeTree(bytes), WireError);
}

TEST(CodecTest, HugeAnnouncedCountsAreRejectedWithoutAllocating) {
  // array32 and map32 headers that announce four billion elements.
  EXPECT_THROW(DecodeTree(std::string("\xdd\xff\xff\xff\xff", 5)), WireError);
  EXPECT_THROW(DecodeTree(std::string("\xdf\xff\xff\xff\xff", 5)), WireError);
  EXPECT_THROW(DecodeTree(std::string("\xdb\xff\xff\xff\xff", 5)), WireError);
}

TEST(CodecTest, MessageRoundTrips) {
  Message message;
  message.kind = MessageKind::kReply;
  message.id = 12345678901234ull;
  message.op = "source.render-video";
  message.status = -6;
  message.body = SampleTree();
  Message decoded = DecodeMessage(EncodeMessage(message));
  EXPECT_EQ(decoded.kind, MessageKind::kReply);
  EXPECT_EQ(decoded.id, message.id);
  EXPECT_EQ(decoded.op, message.op);
  EXPECT_EQ(decoded.status, -6);
  EXPECT_EQ(AsString(AsObject(decoded.body).at("text")), "héllo");
}

TEST(CodecTest, MalformedEnvelopesAreRejected) {
  auto pack = [](auto&& fill) {
    msgpack::sbuffer buffer;
    msgpack::packer<msgpack::sbuffer> packer(buffer);
    fill(packer);
    return std::string(buffer.data(), buffer.size());
  };
  EXPECT_THROW(DecodeMessage(pack([](auto& p) { p.pack(1); })), WireError);
  EXPECT_THROW(DecodeMessage(pack([](auto& p) {
                 p.pack_array(5);
                 p.pack(9);  // unknown kind
                 p.pack(1);
                 p.pack(std::string("x"));
                 p.pack(0);
                 p.pack_nil();
               })),
               WireError);
  EXPECT_THROW(DecodeMessage(pack([](auto& p) {
                 p.pack_array(5);
                 p.pack(2);
                 p.pack(-1);  // negative number
                 p.pack(std::string("x"));
                 p.pack(0);
                 p.pack_nil();
               })),
               WireError);
  EXPECT_THROW(DecodeMessage(pack([](auto& p) {
                 p.pack_array(5);
                 p.pack(2);
                 p.pack(1);
                 p.pack(std::string("x"));
                 p.pack(uint64_t{1} << 40);  // status beyond 32 bits
                 p.pack_nil();
               })),
               WireError);
}

}  // namespace
}  // namespace tether::wire
