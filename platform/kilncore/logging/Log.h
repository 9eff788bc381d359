#pragma once

#include <kilncore/logging/LogRecord.h>

#include <exception>
#include <functional>
#include <string_view>

namespace kilncore::logging {

// Receives every log entry instead of stderr. Called with the log's lock held,
// so entries arrive one at a time and in order; a sink must not log itself.
using LogSink = std::function<void(const LogRecord&)>;

// Writes `exception` to the log, with the place it was caught (`context`) and an
// optional `detail`. Any exception type is accepted; an empty pointer is logged
// as such. Never throws: logging is what callers do on their failure paths.
void LogException(const std::exception_ptr& exception, const char* context,
                  std::string_view detail = {}) noexcept;

// Replaces where log entries go and returns the previous sink. An empty sink
// means stderr, the default. An application sends the log where its user asked
// (a file, or nowhere unless asked) with this.
LogSink SetLogSink(LogSink sink);

// The same, for tests that check what was logged; prefer ScopedLogCapture,
// which restores the previous sink by itself.
LogSink SetLogSinkForTesting(LogSink sink);

}  // namespace kilncore::logging
