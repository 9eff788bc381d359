#include <tether/wire/FrameReader.h>
#include <tether/wire/Protocol.h>
#include <tether/wire/WireError.h>

#include <gtest/gtest.h>

namespace tether::wire {
namespace {

TEST(FramingTest, FrameRoundTripsWhenFedOneByteAtATime) {
  std::string bytes = EncodeFrame("hello", 2) + EncodeFrame("", 0) + EncodeFrame("world!", 1);
  FrameReader reader;
  std::vector<Frame> frames;
  for (char c : bytes) {
    reader.Append(std::string_view(&c, 1));
    while (auto frame = reader.Next()) {
      frames.push_back(*frame);
    }
  }
  ASSERT_EQ(frames.size(), 3u);
  EXPECT_EQ(frames[0].body, "hello");
  EXPECT_EQ(frames[0].fdCount, 2);
  EXPECT_EQ(frames[1].body, "");
  EXPECT_EQ(frames[2].body, "world!");
  EXPECT_EQ(frames[2].fdCount, 1);
  EXPECT_EQ(reader.Buffered(), 0u);
}

TEST(FramingTest, TruncatedFrameYieldsNothingUntilComplete) {
  std::string bytes = EncodeFrame("abcdef", 0);
  FrameReader reader;
  reader.Append(std::string_view(bytes).substr(0, bytes.size() - 1));
  EXPECT_FALSE(reader.Next().has_value());
  reader.Append(std::string_view(bytes).substr(bytes.size() - 1));
  auto frame = reader.Next();
  ASSERT_TRUE(frame.has_value());
  EXPECT_EQ(frame->body, "abcdef");
}

TEST(FramingTest, OversizedBodyLengthIsRejectedFromTheHeaderAlone) {
  FrameHeader header{kMaxBodyBytes, 0};
  std::string bytes = header.Encode();
  bytes[7] = 0x7F;  // length far beyond the limit
  FrameReader reader;
  reader.Append(bytes);
  EXPECT_THROW(reader.Next(), WireError);
  // A reader out of step stays broken.
  reader.Append(EncodeFrame("ok", 0));
  EXPECT_THROW(reader.Next(), WireError);
}

TEST(FramingTest, EncodingRefusesOversizedBodiesAndTooManyDescriptors) {
  std::string big(kMaxBodyBytes + 1, 'x');
  EXPECT_THROW(EncodeFrame(big, 0), WireError);
  EXPECT_THROW(EncodeFrame("x", kMaxFdsPerFrame + 1), WireError);
}

TEST(FramingTest, WrongMagicUnknownFlagsAndExcessDescriptorsAreRejected) {
  std::string good = EncodeFrame("x", 0);
  std::string badMagic = good;
  badMagic[0] = 'X';
  EXPECT_THROW(FrameHeader::Decode(badMagic), WireError);
  std::string flags = good;
  flags[10] = 1;
  EXPECT_THROW(FrameHeader::Decode(flags), WireError);
  std::string fds = good;
  fds[8] = static_cast<char>(kMaxFdsPerFrame + 1);
  EXPECT_THROW(FrameHeader::Decode(fds), WireError);
  EXPECT_THROW(FrameHeader::Decode(good.substr(0, 5)), WireError);
}

}  // namespace
}  // namespace tether::wire
