#include <kilncore/config/UsageLogger.h>

#include <gtest/gtest.h>

namespace kilncore::config {
namespace {

TEST(UsageLoggerTest, AbsentByDefault) { EXPECT_EQ(UsageLogger::Get(), nullptr); }

TEST(UsageLoggerTest, InstalledLoggerRecordsEvents) {
  auto recorder = std::make_shared<RecordingUsageLogger>();
  {
    ScopedUsageLogger scope(recorder);
    ASSERT_EQ(UsageLogger::Get(), recorder);
    UsageLogger::Get()->LogEvent("KILN", "Tether", "Import", "");
  }
  EXPECT_EQ(UsageLogger::Get(), nullptr);
  const auto events = recorder->LoggedEvents();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].workflow, "KILN");
  EXPECT_EQ(events[0].category, "Tether");
  EXPECT_EQ(events[0].operation, "Import");
  EXPECT_EQ(events[0].subject, "");
}

TEST(UsageLoggerTest, StartedEventCollectsValues) {
  auto recorder = std::make_shared<RecordingUsageLogger>();
  ScopedUsageLogger scope(recorder);
  const auto event = UsageLogger::Get()->StartEvent("Tether", nullptr, "tether_import_op", "doc-1");
  ASSERT_TRUE(event);
  event->AddValue("docid_source", "Container DocID");
  event->AddValue("import_type", ".marlp");
  const auto started = recorder->StartedEvents();
  ASSERT_EQ(started.size(), 1u);
  EXPECT_EQ(started[0]->Product(), "Tether");
  EXPECT_FALSE(started[0]->Category().has_value());
  EXPECT_EQ(started[0]->Operation(), "tether_import_op");
  EXPECT_EQ(started[0]->Subject(), "doc-1");
  const std::vector<std::pair<std::string, std::string>> expected{
      {"docid_source", "Container DocID"}, {"import_type", ".marlp"}};
  EXPECT_EQ(started[0]->Values(), expected);
  EXPECT_EQ(recorder->StartEvent("p", "category", "o", "s")->Category(), "category");
}

TEST(UsageLoggerTest, InstallReturnsThePreviousLogger) {
  auto first = std::make_shared<RecordingUsageLogger>();
  auto second = std::make_shared<RecordingUsageLogger>();
  EXPECT_EQ(UsageLogger::Install(first), nullptr);
  EXPECT_EQ(UsageLogger::Install(second), first);
  EXPECT_EQ(UsageLogger::Install(nullptr), second);
}

}  // namespace
}  // namespace kilncore::config
