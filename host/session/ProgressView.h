#pragma once

#include <host/output/ProgressBar.h>

#include <kilncore/messaging/Broadcaster.h>
#include <kilncore/messaging/Station.h>

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

namespace tetherhost {

// The host's progress bar. It listens on the module's progress station, so
// that every report of a server (opening a project, ...) that the module
// relays reaches the bar on the user-interface thread; the host's own long
// steps (pulling frames) report to it directly from their thread.
//
// Draws only on a terminal: in a log, a bar redrawn with carriage returns is
// noise.
class ProgressView {
 public:
  // Must be made after the module has been initialised (its station exists).
  explicit ProgressView(std::FILE* out);
  ~ProgressView();
  ProgressView(const ProgressView&) = delete;
  ProgressView& operator=(const ProgressView&) = delete;

  // Shows `fraction` of `message`. Any thread.
  void Report(double fraction, const std::string& message);
  // Ends the bar's line, if one was drawn.
  void Finish();

  // Prints `text` to the report stream on a line of its own: the bar's line
  // is ended first, so a report never runs into the bar. Any thread.
  void Print(const std::string& text);

  // Where Print writes: standard output unless that carries data (frames or
  // audio to a pipe), then standard error.
  void SetReportStream(std::FILE* reports);

  // The number of the module's reports received so far.
  size_t ReportsReceived() const;

 private:
  void OnMessage(const kilncore::messaging::Message& message);

  const bool mDraw;
  mutable std::mutex mMutex;
  ProgressBar mBar;
  std::FILE* mReportStream = stdout;
  size_t mReports = 0;
  std::shared_ptr<kilncore::messaging::Station> mStation;
  kilncore::messaging::Broadcaster::ListenerID mListener = 0;
};

}  // namespace tetherhost
