#include "host/output/ProgressBar.h"

#include <algorithm>
#include <cmath>

namespace tetherhost {

ProgressBar::ProgressBar(std::FILE* out, int width) : mOut(out), mWidth(std::max(width, 1)) {}

std::string ProgressBar::Format(double fraction, const std::string& message, int width) {
  if (!(fraction > 0.0)) {
    fraction = 0.0;
  }
  fraction = std::min(fraction, 1.0);
  width = std::max(width, 1);
  const int filled = static_cast<int>(std::floor(fraction * width));
  const int percent = static_cast<int>(std::floor(fraction * 100.0));
  char number[8];
  std::snprintf(number, sizeof(number), "%3d%%", percent);
  std::string line = "[";
  line.append(static_cast<size_t>(filled), '#');
  line.append(static_cast<size_t>(width - filled), ' ');
  line += "] ";
  line += number;
  if (!message.empty()) {
    line += ' ';
    line += message;
  }
  return line;
}

bool ProgressBar::Update(double fraction, const std::string& message) {
  std::string line = Format(fraction, message, mWidth);
  if (line == mLastLine) {
    return false;
  }
  // Pad over the rest of a longer previous line.
  std::string padded = line;
  if (mLastLine.size() > line.size()) {
    padded.append(mLastLine.size() - line.size(), ' ');
  }
  std::fprintf(mOut, "\r%s", padded.c_str());
  std::fflush(mOut);
  mLastLine = std::move(line);
  return true;
}

void ProgressBar::Finish() {
  if (!mLastLine.empty()) {
    std::fputc('\n', mOut);
    std::fflush(mOut);
    mLastLine.clear();
  }
}

}  // namespace tetherhost
