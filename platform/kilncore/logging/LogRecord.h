#pragma once

#include <cstdint>
#include <string>

namespace kilncore::logging {

// One entry of the log, as handed to a log sink.
struct LogRecord {
  // Where the entry comes from, as given by the caller (a function's name).
  std::string context;
  // The text of the exception, or a note when there was none.
  std::string message;
  // The result code carried by the exception (see config::ExtractResultFromException).
  int32_t code = 0;
  // Optional free text that the caller added.
  std::string detail;
  // The whole line as written to stderr, without a line end.
  std::string line;
};

}  // namespace kilncore::logging
