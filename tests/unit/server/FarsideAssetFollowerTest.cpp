// The record of a remote asset's openings that its renderers follow: which
// requests count as the same asset, and that each opening is a new generation.

#include <server/farside/FarsideAssetFollower.h>

#include <gtest/gtest.h>

#include <memory>

namespace tetherserver {
namespace {

class NamedItem : public SessionItem {
 public:
  tether::SourceInfo Describe() const override { return {}; }
  size_t FrameBytes(const tether::VideoRenderOptions&) const override { return 0; }
  int32_t RenderFrame(const tether::VideoRenderOptions&, const tether::RatioTime&, unsigned char*,
                      size_t) const override {
    return 0;
  }
  int32_t RenderAudio(const tether::AudioRenderOptions&, int64_t, uint32_t, float*) const override { return 0; }
  uint32_t SampleRate(const tether::AudioRenderOptions&) const override { return 0; }
};

tether::FarsideAssetRequestInfo Request(const std::string& production, const std::string& version,
                                        const std::string& asset) {
  tether::FarsideAssetRequestInfo request;
  request.serverAddress = "http://127.0.0.1:41235";
  request.production = production;
  request.version = version;
  request.asset = asset;
  return request;
}

TEST(FarsideAssetFollowerTest, EachOpeningIsANewGenerationWhoseItemIsDrawn) {
  FarsideAssetFollower follower;
  EXPECT_EQ(follower.Generation(), 0u);
  EXPECT_FALSE(follower.Item());
  const auto first = std::make_shared<NamedItem>();
  const auto second = std::make_shared<NamedItem>();
  EXPECT_EQ(follower.Update(first), 1u);
  EXPECT_EQ(follower.Item(), first);
  EXPECT_EQ(follower.Update(second), 2u);
  EXPECT_EQ(follower.Generation(), 2u);
  EXPECT_EQ(follower.Item(), second);
}

TEST(FarsideAssetFollowerTest, TheSameRequestIsTheSameAssetWhateverItsCredentials) {
  auto withToken = Request("Trailer", "", "Titles");
  withToken.credentialB = "another-token";
  EXPECT_EQ(FarsideAssetFollower::KeyOf(Request("Trailer", "", "Titles")), FarsideAssetFollower::KeyOf(withToken));
}

TEST(FarsideAssetFollowerTest, AnotherVersionAssetOrServiceIsAnotherAsset) {
  const std::string latest = FarsideAssetFollower::KeyOf(Request("Trailer", "", "Titles"));
  EXPECT_NE(FarsideAssetFollower::KeyOf(Request("Trailer", "2", "Titles")), latest);
  EXPECT_NE(FarsideAssetFollower::KeyOf(Request("Trailer", "", "Edit")), latest);
  auto elsewhere = Request("Trailer", "", "Titles");
  elsewhere.serverAddress = "http://127.0.0.1:9";
  EXPECT_NE(FarsideAssetFollower::KeyOf(elsewhere), latest);
  // Parts run together don't pass for other parts.
  EXPECT_NE(FarsideAssetFollower::KeyOf(Request("Trailer2", "", "Titles")),
            FarsideAssetFollower::KeyOf(Request("Trailer", "2", "Titles")));
}

}  // namespace
}  // namespace tetherserver
