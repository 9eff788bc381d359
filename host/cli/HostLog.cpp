#include <host/cli/HostLog.h>

#include <kilncore/debug/Trace.h>
#include <kilncore/logging/Log.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace tetherhost {
namespace {

constexpr int kImportLevel = 5;
constexpr int kFrameLevel = 10;

}  // namespace

std::optional<int> HostLog::TraceLevelOf(const LogSettings& settings) {
  if (settings.traceLevel) return settings.traceLevel;
  if (settings.verbosity >= 2) return kFrameLevel;
  if (settings.verbosity == 1) return kImportLevel;
  return std::nullopt;
}

HostLog::HostLog(const LogSettings& settings) {
  const std::optional<int> level = TraceLevelOf(settings);
  if (!settings.file.empty()) {
    mOut = std::fopen(settings.file.c_str(), "a");
    if (mOut == nullptr) {
      throw std::runtime_error("cannot open the log file " + settings.file.string() + ": " + std::strerror(errno));
    }
    mOwnsFile = true;
  } else if (level || settings.traceFromEnvironment) {
    mOut = stderr;
  }
  if (level) kilncore::debug::SetTraceLevel("*", *level);
  kilncore::logging::SetLogSink([this](const kilncore::logging::LogRecord& record) { Write(record.line); });
  kilncore::debug::SetTraceSink([this](int traceLevel, std::string_view channel, std::string_view text) {
    std::string line;
    line.append("[").append(channel).append(":").append(std::to_string(traceLevel)).append("] ").append(text);
    Write(line);
  });
}

HostLog::~HostLog() {
  kilncore::debug::SetTraceSink({});
  kilncore::logging::SetLogSink({});
  if (mOwnsFile) std::fclose(mOut);
}

void HostLog::Write(const std::string& line) {
  if (mOut == nullptr) return;
  // One call per line keeps lines of different threads whole.
  const std::string whole = line + "\n";
  std::fwrite(whole.data(), 1, whole.size(), mOut);
  std::fflush(mOut);
}

}  // namespace tetherhost
