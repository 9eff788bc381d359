#include <kilncore/config/UsageLogger.h>

namespace kilncore::config {
namespace {

struct InstalledLogger {
  std::mutex mutex;
  std::shared_ptr<UsageLogger> logger;
};

InstalledLogger& Installed() {
  static InstalledLogger* const installed = new InstalledLogger;
  return *installed;
}

}  // namespace

UsageEvent::UsageEvent(std::string product, std::optional<std::string> category,
                       std::string operation, std::string subject)
    : mProduct(std::move(product)),
      mCategory(std::move(category)),
      mOperation(std::move(operation)),
      mSubject(std::move(subject)) {}

void UsageEvent::AddValue(std::string_view key, std::string_view value) {
  std::lock_guard lock(mMutex);
  mValues.emplace_back(std::string(key), std::string(value));
}

std::vector<std::pair<std::string, std::string>> UsageEvent::Values() const {
  std::lock_guard lock(mMutex);
  return mValues;
}

std::shared_ptr<UsageLogger> UsageLogger::Get() {
  InstalledLogger& installed = Installed();
  std::lock_guard lock(installed.mutex);
  return installed.logger;
}

std::shared_ptr<UsageLogger> UsageLogger::Install(std::shared_ptr<UsageLogger> logger) {
  InstalledLogger& installed = Installed();
  std::lock_guard lock(installed.mutex);
  std::swap(logger, installed.logger);
  return logger;
}

void RecordingUsageLogger::LogEvent(std::string_view workflow, std::string_view category,
                                    std::string_view operation, std::string_view subject) {
  std::lock_guard lock(mMutex);
  mLogged.push_back(LoggedEvent{std::string(workflow), std::string(category),
                                std::string(operation), std::string(subject)});
}

std::shared_ptr<UsageEvent> RecordingUsageLogger::StartEvent(std::string_view product,
                                                             const char* category,
                                                             std::string_view operation,
                                                             std::string_view subject) {
  auto event = std::make_shared<UsageEvent>(
      std::string(product), category ? std::optional<std::string>(category) : std::nullopt,
      std::string(operation), std::string(subject));
  std::lock_guard lock(mMutex);
  mStarted.push_back(event);
  return event;
}

std::vector<RecordingUsageLogger::LoggedEvent> RecordingUsageLogger::LoggedEvents() const {
  std::lock_guard lock(mMutex);
  return mLogged;
}

std::vector<std::shared_ptr<UsageEvent>> RecordingUsageLogger::StartedEvents() const {
  std::lock_guard lock(mMutex);
  return mStarted;
}

}  // namespace kilncore::config
