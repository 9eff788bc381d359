#include <kilncore/logging/Log.h>

#include <kilncore/config/KilnException.h>

#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

namespace kilncore::logging {
namespace {

// The sink and the lock that keeps entries whole. Function-local so that
// logging from static constructors and destructors of other libraries works.
struct LogTarget {
  std::mutex mutex;
  LogSink sink;
};

LogTarget& GetLogTarget() {
  static LogTarget target;
  return target;
}

std::string DescribeException(const std::exception_ptr& exception) {
  if (!exception) return "no exception";
  try {
    std::rethrow_exception(exception);
  } catch (const std::exception& e) {
    return e.what();
  } catch (...) {
    return "unknown exception";
  }
}

std::string FormatLine(const LogRecord& record) {
  char code[16];
  std::snprintf(code, sizeof code, "0x%08X", static_cast<unsigned>(record.code));
  std::string line = "[kilncore] exception in " + record.context + ": " + record.message +
                     " (code " + code + ")";
  if (!record.detail.empty()) line += " - " + record.detail;
  return line;
}

}  // namespace

void LogException(const std::exception_ptr& exception, const char* context,
                  std::string_view detail) noexcept {
  try {
    LogRecord record;
    record.context = context ? context : "";
    record.message = DescribeException(exception);
    record.code = config::ExtractResultFromException(exception);
    record.detail = std::string(detail);
    record.line = FormatLine(record);

    LogTarget& target = GetLogTarget();
    std::lock_guard lock(target.mutex);
    if (target.sink) {
      target.sink(record);
    } else {
      std::fprintf(stderr, "%s\n", record.line.c_str());
    }
  } catch (...) {
    // Out of memory or a failing sink: the entry is lost, the caller goes on.
  }
}

LogSink SetLogSink(LogSink sink) {
  LogTarget& target = GetLogTarget();
  std::lock_guard lock(target.mutex);
  std::swap(target.sink, sink);
  return sink;
}

LogSink SetLogSinkForTesting(LogSink sink) { return SetLogSink(std::move(sink)); }

}  // namespace kilncore::logging
