#include <kilncore/config/KilnException.h>
#include <kilncore/logging/Log.h>
#include <kilncore/logging/ScopedLogCapture.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace kilncore::logging {
namespace {

TEST(LogException, RecordsContextTextAndCode) {
  ScopedLogCapture capture;
  LogException(std::make_exception_ptr(config::kiln_exception("User Canceled", 0xA00F0007u)),
               "Somewhere::Else", "while cancelling");
  ASSERT_EQ(capture.Count(), 1u);
  const LogRecord record = capture.Records().front();
  EXPECT_EQ(record.context, "Somewhere::Else");
  EXPECT_EQ(record.message, "User Canceled");
  EXPECT_EQ(record.code, static_cast<int32_t>(0xA00F0007u));
  EXPECT_EQ(record.detail, "while cancelling");
  EXPECT_NE(record.line.find("Somewhere::Else"), std::string::npos);
  EXPECT_NE(record.line.find("0xA00F0007"), std::string::npos);
}

TEST(LogException, AcceptsForeignAndEmptyExceptions) {
  ScopedLogCapture capture;
  LogException(std::make_exception_ptr(42), "Int");
  LogException(std::make_exception_ptr(std::logic_error("plain")), "Std");
  LogException(nullptr, "Nothing");
  ASSERT_EQ(capture.Count(), 3u);
  const auto records = capture.Records();
  EXPECT_EQ(records[0].message, "unknown exception");
  EXPECT_EQ(records[0].code, config::kGeneralFailure);
  EXPECT_EQ(records[1].message, "plain");
  EXPECT_EQ(records[2].code, 0);
}

TEST(LogException, CaptureRestoresThePreviousSink) {
  int outer = 0;
  LogSink previous = SetLogSinkForTesting([&](const LogRecord&) { ++outer; });
  {
    ScopedLogCapture capture;
    LogException(nullptr, "Inner");
    EXPECT_EQ(capture.CountWithContext("Inner"), 1u);
  }
  LogException(nullptr, "Outer");
  EXPECT_EQ(outer, 1);
  SetLogSinkForTesting(std::move(previous));
}

TEST(LogException, NeverThrowsEvenIfTheSinkDoes) {
  LogSink previous = SetLogSinkForTesting([](const LogRecord&) { throw std::runtime_error("sink"); });
  EXPECT_NO_THROW(LogException(nullptr, "Throwing sink"));
  SetLogSinkForTesting(std::move(previous));
}

}  // namespace
}  // namespace kilncore::logging
