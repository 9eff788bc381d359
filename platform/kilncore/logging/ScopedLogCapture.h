#pragma once

#include <kilncore/logging/Log.h>
#include <kilncore/logging/LogRecord.h>

#include <cstddef>
#include <mutex>
#include <string_view>
#include <vector>

namespace kilncore::logging {

// Test helper: while alive, every log entry of the process is recorded here
// instead of going to stderr. The previous sink comes back on destruction.
// Captures don't nest across threads meaningfully: use one per test.
//
//   ScopedLogCapture capture;
//   DoSomethingThatMayLog();
//   EXPECT_EQ(capture.CountWithContext("Foo::Bar"), 1u);
class ScopedLogCapture {
 public:
  ScopedLogCapture();
  ~ScopedLogCapture();
  ScopedLogCapture(const ScopedLogCapture&) = delete;
  ScopedLogCapture& operator=(const ScopedLogCapture&) = delete;

  // A copy of the entries recorded so far, in order.
  std::vector<LogRecord> Records() const;
  std::size_t Count() const;
  std::size_t CountWithContext(std::string_view context) const;

 private:
  mutable std::mutex mMutex;
  std::vector<LogRecord> mRecords;
  LogSink mPrevious;
};

}  // namespace kilncore::logging
