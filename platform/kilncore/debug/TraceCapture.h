#pragma once

#include <kilncore/debug/Trace.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace kilncore::debug {

// Collects trace lines while it lives, instead of writing them to the current
// output, and restores that output when destroyed. For tests: capture, run the
// code, then look at Lines().
//
// Example:
//   TraceCapture capture;
//   SetTraceLevel("TetherMedia", 10);
//   RunSomething();
//   EXPECT_TRUE(capture.Contains("TetherMedia", "Rendering frame"));
class TraceCapture {
 public:
  struct Line {
    int level;
    std::string channel;
    std::string text;
  };

  TraceCapture();
  ~TraceCapture();
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;

  std::vector<Line> Lines() const;
  // True if a line of `channel` contains `fragment`.
  bool Contains(std::string_view channel, std::string_view fragment) const;
  void Clear();

 private:
  struct Shared;
  std::shared_ptr<Shared> mShared;
  TraceSink mPrevious;
};

}  // namespace kilncore::debug
