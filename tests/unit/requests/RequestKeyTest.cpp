#include <requests/RequestKey.h>

#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>

#include <string>

namespace TetherMedia {
namespace {

using kilncore::utility::Guid;

const Guid kSource("8B701830-D959-420F-AA9C-5392B2F1B17E");

std::string KeyText(const kilncore::WideString& path, const Guid& source) {
  return MakeRequestKey(path, source).AsUTF8String();
}

// Keys are compared with keys made in earlier runs (in logs and by the host),
// so the exact bytes that go into the hash are fixed. These values were
// computed with XXH3-128 directly over "TetherFuture", the UTF-16LE path and
// the identifier's bytes in text order.
TEST(RequestKeyTest, KeysMatchPinnedValues) {
  EXPECT_EQ(KeyText(u"/Volumes/Media/Trailer.marl", kSource),
            "6DDBCB06-D700-D3C1-52E7-30B351E4D521");
  EXPECT_EQ(KeyText(u"/M\u00E9dia/\u65E5\U0001F3AC", kSource),
            "4B0E1875-B1EA-79EC-2903-381733AC6114");
  EXPECT_EQ(KeyText(u"", kSource), "EDEF1BE3-063A-18EB-8C8F-4FF6F74A79AD");
}

TEST(RequestKeyTest, SameArgumentsGiveSameKey) {
  EXPECT_EQ(MakeRequestKey(u"/a/b.marl", kSource), MakeRequestKey(u"/a/b.marl", kSource));
}

TEST(RequestKeyTest, PathsDifferingOnlyInCaseGiveDifferentKeys) {
  EXPECT_NE(MakeRequestKey(u"/a/Clip.marl", kSource), MakeRequestKey(u"/a/clip.marl", kSource));
}

TEST(RequestKeyTest, DifferentSourcesGiveDifferentKeys) {
  EXPECT_NE(MakeRequestKey(u"/a/b.marl", kSource), MakeRequestKey(u"/a/b.marl", Guid()));
}

}  // namespace
}  // namespace TetherMedia
