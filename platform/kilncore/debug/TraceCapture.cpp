#include <kilncore/debug/TraceCapture.h>

#include <memory>

namespace kilncore::debug {

// Shared with the sink, so that a line arriving while the capture ends still
// has somewhere to go.
struct TraceCapture::Shared {
  std::mutex mutex;
  std::vector<Line> lines;
};

TraceCapture::TraceCapture() : mShared(std::make_shared<Shared>()) {
  mPrevious = SetTraceSink([shared = mShared](int level, std::string_view channel,
                                              std::string_view text) {
    std::lock_guard lock(shared->mutex);
    shared->lines.push_back(Line{level, std::string(channel), std::string(text)});
  });
}

TraceCapture::~TraceCapture() { SetTraceSink(std::move(mPrevious)); }

std::vector<TraceCapture::Line> TraceCapture::Lines() const {
  std::lock_guard lock(mShared->mutex);
  return mShared->lines;
}

bool TraceCapture::Contains(std::string_view channel, std::string_view fragment) const {
  std::lock_guard lock(mShared->mutex);
  for (const Line& line : mShared->lines) {
    if (line.channel == channel && line.text.find(fragment) != std::string::npos) return true;
  }
  return false;
}

void TraceCapture::Clear() {
  std::lock_guard lock(mShared->mutex);
  mShared->lines.clear();
}

}  // namespace kilncore::debug
