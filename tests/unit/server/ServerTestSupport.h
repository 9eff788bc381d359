#pragma once

#include <server/project/Project.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <unistd.h>
#include <memory>
#include <string>
#include <utility>

namespace servertest {

// The repository's sample projects; the build passes their folder.
inline std::filesystem::path ExamplesDir() { return TETHER_TEST_EXAMPLES_FOLDER; }

inline std::shared_ptr<const tetherserver::Project> OpenExample(const std::string& name) {
  auto opened = tetherserver::Project::Open(ExamplesDir() / name);
  EXPECT_TRUE(opened.ok()) << opened.error.message;
  return opened.ok() ? *opened : nullptr;
}

inline std::string ReadExampleText(const std::string& name) {
  std::ifstream file(ExamplesDir() / name, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

// A scratch directory of its own for one test, removed at the end.
class TempDir {
 public:
  TempDir() {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    mPath = std::filesystem::temp_directory_path() /
            ("tetherserver-" + std::string(info->test_suite_name()) + "-" + info->name() + "-" +
             std::to_string(::getpid()));
    std::filesystem::create_directories(mPath);
  }
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
  }
  const std::filesystem::path& Path() const { return mPath; }
  std::filesystem::path Write(const std::string& name, const std::string& text) const {
    const auto path = mPath / name;
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }

 private:
  std::filesystem::path mPath;
};

// The minimal valid composition object; `extra` holds further members as JSON
// text ("key":value,...) and replaces a default member of the same key.
inline std::string CompositionJSON(const std::string& id, const std::string& extra = "") {
  const std::pair<const char*, const char*> defaults[] = {
      {"name", "\"C\""}, {"width", "64"}, {"height", "36"}, {"frameRate", "[25,1]"},
      {"durationFrames", "10"}};
  std::string text = R"({"type":"composition","id":")" + id + "\"";
  for (const auto& [key, value] : defaults) {
    if (extra.find("\"" + std::string(key) + "\":") == std::string::npos) {
      text += ",\"" + std::string(key) + "\":" + value;
    }
  }
  return text + (extra.empty() ? "" : "," + extra) + "}";
}

inline std::string ProjectJSON(const std::string& items) { return R"({"items":[)" + items + "]}"; }

}  // namespace servertest
