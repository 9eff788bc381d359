#include <kilncore/logging/ScopedLogCapture.h>

#include <algorithm>

namespace kilncore::logging {

ScopedLogCapture::ScopedLogCapture() {
  mPrevious = SetLogSinkForTesting([this](const LogRecord& record) {
    std::lock_guard lock(mMutex);
    mRecords.push_back(record);
  });
}

ScopedLogCapture::~ScopedLogCapture() { SetLogSinkForTesting(std::move(mPrevious)); }

std::vector<LogRecord> ScopedLogCapture::Records() const {
  std::lock_guard lock(mMutex);
  return mRecords;
}

std::size_t ScopedLogCapture::Count() const {
  std::lock_guard lock(mMutex);
  return mRecords.size();
}

std::size_t ScopedLogCapture::CountWithContext(std::string_view context) const {
  std::lock_guard lock(mMutex);
  return static_cast<std::size_t>(std::count_if(
      mRecords.begin(), mRecords.end(),
      [context](const LogRecord& record) { return record.context == context; }));
}

}  // namespace kilncore::logging
