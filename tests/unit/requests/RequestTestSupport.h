#pragma once

#include <requests/RequestTableForTesting.h>

#include <kilncore/appstatemanager/AppStateManager.h>
#include <kilncore/async/Future.h>
#include <kilncore/config/KilnException.h>
#include <kilncore/logging/LogRecord.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace TetherMedia::testing {

inline constexpr int32_t kUserCanceled = static_cast<int32_t>(0xA00F0007u);
inline constexpr int32_t kBrokenPromise = static_cast<int32_t>(0xF3610001u);
inline constexpr int32_t kFutureIsCancelled = static_cast<int32_t>(0xF3610004u);
inline constexpr int32_t kTerminationStarted = static_cast<int32_t>(0xF3610008u);
inline constexpr int32_t kGeneralFailure = static_cast<int32_t>(0xA00F0001u);

inline constexpr const char* kRequestLogContext =
    "`anonymous-namespace'::TetherFutureImpl::CreateFuture::<lambda_1>::operator ()";

// The result code a ready future ended with: 0 for success.
inline int32_t OutcomeOf(const kilncore::async::UntypedFuture& future) {
  return kilncore::config::ExtractResultFromException(future.GetException());
}

// How many log records carry `code`.
inline std::size_t CountCode(const std::vector<kilncore::logging::LogRecord>& records,
                             int32_t code) {
  std::size_t count = 0;
  for (const auto& record : records) count += record.code == code ? 1 : 0;
  return count;
}

// Each test starts in a running application with an empty table, and leaves
// it so: the table and the application state are process-wide.
class RequestTableTest : public ::testing::Test {
 protected:
  void SetUp() override {
    kilncore::appstatemanager::ResetAppStateForTesting();
    kilncore::appstatemanager::AdvanceAppState(kilncore::appstatemanager::kAppStateRunning);
    ASSERT_EQ(GetPendingRequestCountForTesting(), 0u);
  }
  void TearDown() override {
    EXPECT_EQ(GetPendingRequestCountForTesting(), 0u);
    kilncore::appstatemanager::ResetAppStateForTesting();
  }
};

}  // namespace TetherMedia::testing
