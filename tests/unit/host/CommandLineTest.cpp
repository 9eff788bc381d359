#include <host/cli/CommandLine.h>
#include <host/cli/ExitStatus.h>
#include <host/cli/HostError.h>
#include <host/cli/HostLog.h>

#include <kilncore/debug/Trace.h>
#include <kilncore/logging/Log.h>

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace tetherhost {
namespace {

// A command line with two commands whose behaviour each test sets, run on a
// list of words; what it printed on its error stream is kept.
class CommandLineTest : public ::testing::Test {
 protected:
  CommandLineTest() : mLine("prog", "a test program", "1.2.3") {
    CLI::App* play = mLine.AddCommand("play", "plays", [this] { return mRun(); });
    play->add_option("--seconds", mSeconds)->check(CommandLine::Real(0.5, 100.0));
    play->add_option("--loops", mLoops)->check(CommandLine::Integer(1, 10));
    mLine.AddCommand("import", "imports", [this] { return mRun(); });
  }

  int Execute(std::vector<std::string> words) {
    words.insert(words.begin(), "prog");
    std::vector<const char*> argv;
    for (const std::string& word : words) argv.push_back(word.c_str());
    std::FILE* err = std::tmpfile();
    const int status = mLine.Execute(static_cast<int>(argv.size()), argv.data(), err);
    std::rewind(err);
    mErr.clear();
    char buffer[512];
    while (std::fgets(buffer, sizeof(buffer), err) != nullptr) mErr += buffer;
    std::fclose(err);
    return status;
  }

  size_t Lines() const { return static_cast<size_t>(std::count(mErr.begin(), mErr.end(), '\n')); }

  CommandLine mLine;
  std::function<int()> mRun = [] { return 0; };
  double mSeconds = 1.0;
  int mLoops = 1;
  std::string mErr;
};

TEST_F(CommandLineTest, ChosenCommandRunsAndItsStatusIsTheProgramsStatus) {
  mRun = [] { return 7; };
  EXPECT_EQ(Execute({"play", "--seconds", "2.5", "--loops", "3"}), 7);
  EXPECT_EQ(mSeconds, 2.5);
  EXPECT_EQ(mLoops, 3);
  EXPECT_EQ(mErr, "");
}

TEST_F(CommandLineTest, MistypedCommandIsAUsageErrorWithASuggestion) {
  EXPECT_EQ(Execute({"improt", "file"}), kExitUsage);
  EXPECT_EQ(mErr, "prog: unknown command 'improt' (did you mean 'import'?); the commands are play, import\n");
  EXPECT_EQ(Execute({"frobnicate"}), kExitUsage);
  EXPECT_EQ(mErr, "prog: unknown command 'frobnicate'; the commands are play, import\n");
}

TEST_F(CommandLineTest, MissingCommandIsAUsageError) {
  EXPECT_EQ(Execute({}), kExitUsage);
  EXPECT_NE(mErr.find("a command is required: play, import"), std::string::npos) << mErr;
  EXPECT_EQ(Lines(), 1u);
}

TEST_F(CommandLineTest, NumbersOutOfRangeOrNotFiniteAreUsageErrorsThatNameTheRange) {
  bool ran = false;
  mRun = [&] {
    ran = true;
    return 0;
  };
  for (const char* bad : {"nan", "inf", "-inf", "1e19", "abc", "0.4", "100.5", ""}) {
    EXPECT_EQ(Execute({"play", "--seconds", bad}), kExitUsage) << bad;
    EXPECT_NE(mErr.find("--seconds: '" + std::string(bad) + "' is not a number from 0.5 to 100"),
              std::string::npos)
        << mErr;
    EXPECT_EQ(Lines(), 1u) << mErr;
  }
  for (const char* bad : {"0", "11", "2.5", "99999999999999999999", "1e3"}) {
    EXPECT_EQ(Execute({"play", "--loops", bad}), kExitUsage) << bad;
    EXPECT_NE(mErr.find("is not a whole number from 1 to 10"), std::string::npos) << mErr;
  }
  EXPECT_FALSE(ran);
}

TEST_F(CommandLineTest, UnexpectedArgumentsAndOptionsAreUsageErrorsPointingAtTheCommandsHelp) {
  EXPECT_EQ(Execute({"play", "extra"}), kExitUsage);
  EXPECT_NE(mErr.find("extra"), std::string::npos) << mErr;
  EXPECT_NE(mErr.find("(see 'prog play --help')"), std::string::npos) << mErr;
  EXPECT_EQ(Execute({"play", "--bogus"}), kExitUsage);
  EXPECT_NE(mErr.find("--bogus"), std::string::npos) << mErr;
  EXPECT_EQ(Lines(), 1u);
}

TEST_F(CommandLineTest, VersionAndHelpSucceed) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(Execute({"--version"}), kExitSuccess);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "prog 1.2.3\n");
  testing::internal::CaptureStdout();
  EXPECT_EQ(Execute({"play", "--help"}), kExitSuccess);
  const std::string help = testing::internal::GetCapturedStdout();
  EXPECT_NE(help.find("--seconds"), std::string::npos) << help;
  EXPECT_NE(help.find("Exit status: 0"), std::string::npos) << help;
  EXPECT_EQ(mErr, "");
}

TEST_F(CommandLineTest, FailuresOfTheCommandMapToOneLineAndTheirStatus) {
  mRun = []() -> int { throw HostError("it broke", static_cast<int32_t>(0xA00F0003u)); };
  EXPECT_EQ(Execute({"import"}), kExitFailure);
  EXPECT_EQ(mErr, "prog: it broke (0xA00F0003, file missing)\n");
  mRun = []() -> int { throw std::invalid_argument("bad frame list 'x'"); };
  EXPECT_EQ(Execute({"import"}), kExitUsage);
  EXPECT_EQ(mErr, "prog: bad frame list 'x' (see 'prog import --help')\n");
  mRun = []() -> int { throw std::runtime_error("disk full"); };
  EXPECT_EQ(Execute({"import"}), kExitFailure);
  EXPECT_EQ(mErr, "prog: disk full\n");
}

TEST_F(CommandLineTest, InternalLogIsDroppedUnlessAskedAndWrittenToTheFileAskedFor) {
  mRun = [] {
    kilncore::logging::LogException(std::make_exception_ptr(std::runtime_error("inner failure")), "Somewhere");
    return 0;
  };
  testing::internal::CaptureStderr();
  EXPECT_EQ(Execute({"import"}), kExitSuccess);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

  const std::filesystem::path file =
      std::filesystem::temp_directory_path() / ("command-line-test-" + std::to_string(::getpid()) + ".log");
  std::filesystem::remove(file);
  EXPECT_EQ(Execute({"--log-file", file.string(), "import"}), kExitSuccess);
  std::ifstream in(file);
  std::stringstream text;
  text << in.rdbuf();
  EXPECT_NE(text.str().find("exception in Somewhere: inner failure"), std::string::npos) << text.str();
  std::filesystem::remove(file);
}

TEST_F(CommandLineTest, VerboseShowsTheLogAndTraceOnStandardError) {
  mRun = [] {
    kilncore::logging::LogException(std::make_exception_ptr(std::runtime_error("inner failure")), "Somewhere");
    kilncore::debug::Trace(5, "TetherMedia", "import started");
    kilncore::debug::Trace(10, "TetherMedia", "a frame");
    return 0;
  };
  testing::internal::CaptureStderr();
  EXPECT_EQ(Execute({"-v", "import"}), kExitSuccess);
  const std::string err = testing::internal::GetCapturedStderr();
  kilncore::debug::ClearTraceSettings();
  EXPECT_NE(err.find("exception in Somewhere: inner failure"), std::string::npos) << err;
  EXPECT_NE(err.find("[TetherMedia:5] import started"), std::string::npos) << err;
  EXPECT_EQ(err.find("a frame"), std::string::npos) << err;
}

TEST_F(CommandLineTest, LogFileThatCannotBeOpenedIsAUsageError) {
  EXPECT_EQ(Execute({"--log-file", "/nonexistent-folder/x.log", "import"}), kExitUsage);
  EXPECT_NE(mErr.find("cannot open the log file /nonexistent-folder/x.log"), std::string::npos) << mErr;
}

TEST(HostLogTest, TraceLevelFollowsVerbosityUnlessALevelIsGiven) {
  LogSettings settings;
  EXPECT_EQ(HostLog::TraceLevelOf(settings), std::nullopt);
  settings.verbosity = 1;
  EXPECT_EQ(HostLog::TraceLevelOf(settings), 5);
  settings.verbosity = 3;
  EXPECT_EQ(HostLog::TraceLevelOf(settings), 10);
  settings.traceLevel = 0;
  EXPECT_EQ(HostLog::TraceLevelOf(settings), 0);
}

}  // namespace
}  // namespace tetherhost
