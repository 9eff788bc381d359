#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kilncore::config {

// One usage event in the making: what was started with StartEvent, and the
// key/value pairs added since. Thread-safe.
class UsageEvent {
 public:
  UsageEvent(std::string product, std::optional<std::string> category, std::string operation,
             std::string subject);

  // Adds a key/value pair; a key may be added more than once.
  void AddValue(std::string_view key, std::string_view value);

  const std::string& Product() const noexcept { return mProduct; }
  // Absent when the event was started with a null category.
  const std::optional<std::string>& Category() const noexcept { return mCategory; }
  const std::string& Operation() const noexcept { return mOperation; }
  const std::string& Subject() const noexcept { return mSubject; }
  std::vector<std::pair<std::string, std::string>> Values() const;

 private:
  const std::string mProduct;
  const std::optional<std::string> mCategory;
  const std::string mOperation;
  const std::string mSubject;
  mutable std::mutex mMutex;
  std::vector<std::pair<std::string, std::string>> mValues;
};

// The host's sink of usage events. There is none by default: Get() returns
// null until a host or a test installs one, and callers must allow for that.
// Texts are UTF-8.
//
// Example:
//   if (auto logger = UsageLogger::Get()) logger->LogEvent("KILN", "Tether", "Import", "");
class UsageLogger {
 public:
  virtual ~UsageLogger() = default;

  // The installed logger, or null.
  static std::shared_ptr<UsageLogger> Get();
  // Installs `logger` (null removes it) and returns the one before.
  static std::shared_ptr<UsageLogger> Install(std::shared_ptr<UsageLogger> logger);

  // Records a whole event at once: a product or workflow, a category, an
  // operation and a subject.
  virtual void LogEvent(std::string_view workflow, std::string_view category,
                        std::string_view operation, std::string_view subject) = 0;

  // Starts an event that the caller fills in with UsageEvent::AddValue.
  // `category` may be null. Never returns null.
  virtual std::shared_ptr<UsageEvent> StartEvent(std::string_view product, const char* category,
                                                 std::string_view operation,
                                                 std::string_view subject) = 0;
};

// A UsageLogger that keeps everything it is given, for tests and diagnostics.
// Thread-safe.
class RecordingUsageLogger : public UsageLogger {
 public:
  struct LoggedEvent {
    std::string workflow;
    std::string category;
    std::string operation;
    std::string subject;
  };

  void LogEvent(std::string_view workflow, std::string_view category, std::string_view operation,
                std::string_view subject) override;
  std::shared_ptr<UsageEvent> StartEvent(std::string_view product, const char* category,
                                         std::string_view operation,
                                         std::string_view subject) override;

  std::vector<LoggedEvent> LoggedEvents() const;
  std::vector<std::shared_ptr<UsageEvent>> StartedEvents() const;

 private:
  mutable std::mutex mMutex;
  std::vector<LoggedEvent> mLogged;
  std::vector<std::shared_ptr<UsageEvent>> mStarted;
};

// Installs a logger for the life of this object and restores the previous one
// afterwards. For tests.
class ScopedUsageLogger {
 public:
  explicit ScopedUsageLogger(std::shared_ptr<UsageLogger> logger)
      : mPrevious(UsageLogger::Install(std::move(logger))) {}
  ~ScopedUsageLogger() { UsageLogger::Install(std::move(mPrevious)); }
  ScopedUsageLogger(const ScopedUsageLogger&) = delete;
  ScopedUsageLogger& operator=(const ScopedUsageLogger&) = delete;

 private:
  std::shared_ptr<UsageLogger> mPrevious;
};

}  // namespace kilncore::config
