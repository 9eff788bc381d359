#include <FarsideCL/FarsideServiceClient.h>
#include <FarsideCL/FarsideServiceError.h>

#include <FarsideService.h>
#include <TokenList.h>

#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;
using kilncore::utility::ImmutableString;

// A service folder of the test's own, written file by file.
class FarsideServiceFolderTest : public ::testing::Test {
 protected:
  FarsideServiceFolderTest()
      : mRoot(fs::temp_directory_path() / ("farside-folder-" + kilncore::utility::Guid::CreateUnique().AsUTF8String())) {
    fs::create_directories(mRoot);
  }
  ~FarsideServiceFolderTest() override {
    std::error_code ignored;
    fs::remove_all(mRoot, ignored);
  }

  void Write(const fs::path& relative, const std::string& text) {
    fs::create_directories((mRoot / relative).parent_path());
    std::ofstream(mRoot / relative, std::ios::binary) << text;
  }

  fs::path mRoot;
};

TEST_F(FarsideServiceFolderTest, AMalformedDescriptionIsAServerErrorNamingTheFileAndTheFault) {
  Write("Broken/1/assets.json", R"({"assets": [ {"name": "A", "family": "sprocket", "file": "a.marlp"} ]})");
  farside::FarsideService::Settings settings;
  settings.root = mRoot;
  settings.tokens.Add("ann", "token");
  farside::FarsideService service(std::move(settings));
  service.Start();
  const FarsideCL::FarsideServiceClient client(
      service.Address(), FarsideCL::FarsideSCredentials(ImmutableString("ann"), ImmutableString("token"),
                                                        ImmutableString("Bearer")));
  try {
    client.ListProduction("Broken", "");
    FAIL() << "a broken description was served";
  } catch (const FarsideCL::FarsideServiceError& error) {
    EXPECT_EQ(error.HttpStatus(), 500);
    const std::string text = error.what();
    EXPECT_NE(text.find("assets.json"), std::string::npos) << text;
    EXPECT_NE(text.find("\"family\" of \"marl\" or \"host-project\""), std::string::npos) << text;
  }
}

TEST_F(FarsideServiceFolderTest, TheLatestVersionIsTheLastFolderWithoutADescription) {
  Write("Film/1/assets.json", R"({"assets": []})");
  Write("Film/3/assets.json", R"({"assets": [ {"name": "A", "family": "marl", "file": "a.marlp"} ]})");
  Write("Film/3/a.marlp", "{}");
  const farside::FarsideStore store(mRoot);
  const auto production = store.FindProduction("Film");
  ASSERT_TRUE(production);
  EXPECT_EQ(production->latest, "3");
  const auto asset = store.FindAsset("Film", "", "A");
  ASSERT_TRUE(asset);
  EXPECT_EQ(asset->version, "3");
  EXPECT_FALSE(store.FindAsset("Film", "..", "A"));
  EXPECT_FALSE(store.FindProduction(".."));
}

TEST_F(FarsideServiceFolderTest, ATokensFileGivesAccountsAndExpiriesAndRefusesMalformedLines) {
  Write("tokens.txt", "# accounts\nann t-ann\n\nbob t-bob 1000\n");
  farside::TokenList tokens;
  tokens.AddFile(mRoot / "tokens.txt");
  const auto now = std::chrono::system_clock::now();
  EXPECT_EQ(tokens.Verify("t-ann", now).verdict, farside::TokenList::Verdict::kAccepted);
  EXPECT_EQ(tokens.Verify("t-ann", now).account, "ann");
  EXPECT_EQ(tokens.Verify("t-bob", now).verdict, farside::TokenList::Verdict::kExpired);
  EXPECT_EQ(tokens.Verify("t-an", now).verdict, farside::TokenList::Verdict::kUnknown);
  EXPECT_EQ(tokens.Verify("", now).verdict, farside::TokenList::Verdict::kUnknown);

  Write("bad.txt", "carol s3cret tomorrow\n");
  farside::TokenList bad;
  try {
    bad.AddFile(mRoot / "bad.txt");
    FAIL() << "a malformed line was taken";
  } catch (const std::runtime_error& error) {
    const std::string text = error.what();
    EXPECT_NE(text.find("bad.txt:1"), std::string::npos) << text;
    EXPECT_EQ(text.find("s3cret"), std::string::npos) << "the line holds a secret: " << text;
  }
}

}  // namespace
