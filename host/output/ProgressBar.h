#pragma once

#include <cstdio>
#include <string>

namespace tetherhost {

// A one-line progress bar on a terminal, redrawn in place with a carriage
// return. It redraws only when what it shows changes, so a server that reports
// progress thousands of times a second costs the terminal nothing.
class ProgressBar {
 public:
  // Draws to `out` (not owned); `width` is the number of cells of the bar.
  explicit ProgressBar(std::FILE* out, int width = 30);

  // Shows `fraction` (clamped to [0, 1]; NaN counts as 0) and `message`.
  // Returns true if the line was redrawn.
  bool Update(double fraction, const std::string& message);

  // Ends the line so later output starts on a fresh one; nothing if nothing
  // was drawn.
  void Finish();

  // The text of the bar without the carriage return, e.g.
  // "[#######             ]  35% Opening project".
  static std::string Format(double fraction, const std::string& message, int width);

 private:
  std::FILE* mOut;
  int mWidth;
  std::string mLastLine;
};

}  // namespace tetherhost
