// The continuations of connections that have no item behind them: what each
// stores on success, and the fixed text and code of each failure.

#include <mediainfo/ServerConnectionWaits.h>
#include <requests/ServerWait.h>

#include <kilncore/async/FuturePromisePair.h>
#include <kilncore/config/KilnException.h>
#include <tether/testing/Behaviour.h>
#include <tether/testing/CallRecord.h>
#include <tether/testing/Operation.h>
#include <tether/testing/ScopedBackend.h>

#include <gtest/gtest.h>

#include <exception>
#include <functional>
#include <memory>
#include <string>

namespace TetherMedia {
namespace {

namespace Waits = ServerConnectionWaits;
using kilncore::async::Promise;
using tether::testing::Operation;

constexpr auto kRefused = tether::kConnectionStatusFailed;
constexpr int32_t kGeneralFailure = static_cast<int32_t>(0xA00F0001u);

// Runs `answer` with a fresh promise and gives the text and code of the
// failure it left in the future ("" and 0 when it succeeded).
struct Outcome {
  std::string text;
  int32_t code = 0;
};

Outcome OutcomeOf(const std::function<void(const Promise<void>&)>& answer) {
  auto pair = kilncore::async::CreateFuturePromisePair<void>();
  answer(pair.promise);
  EXPECT_TRUE(pair.future.IsReady());
  Outcome outcome;
  if (const std::exception_ptr failure = pair.future.GetException()) {
    outcome.code = kilncore::config::ExtractResultFromException(failure);
    try {
      std::rethrow_exception(failure);
    } catch (const std::exception& error) {
      outcome.text = error.what();
    }
  }
  return outcome;
}

template <class T>
Waits::Holder<T> MakeHolder() {
  return std::make_shared<std::shared_ptr<T>>();
}

TEST(ServerConnectionWaitsTest, EachFailureFailsWithItsStepsTextAndTheGeneralCode) {
  const auto connector = std::make_shared<Waits::LinkedServerConnector>();
  const tether::File file(u"/Shows/A.marlp", false);
  const struct {
    std::function<void(const Promise<void>&)> answer;
    const char* text;
  } cases[] = {
      {[&](const Promise<void>& p) {
         Waits::WaitForMarlServerConnection(p, MakeHolder<tether::MarlServer>(), connector, kRefused, nullptr);
       },
       "WaitForMarlServerConnection failed"},
      {[&](const Promise<void>& p) {
         Waits::WaitForMarlServerConnection(p, MakeHolder<tether::MarlServer>(), connector,
                                            tether::kConnectionStatusOK, nullptr);
       },
       "WaitForMarlServerConnection failed"},
      {[&](const Promise<void>& p) {
         Waits::WaitForTolmenServerConnection(p, MakeHolder<tether::TolmenServer>(), connector,
                                              tether::kConnectionStatusOK, nullptr);
       },
       "WaitForTolmenServerConnection failed"},
      {[&](const Promise<void>& p) {
         Waits::WaitForServer(p, file, MakeHolder<tether::Server>(), MakeHolder<tether::Project>(),
                              tether::kConnectionStatusOK, nullptr);
       },
       "WaitForServer failed"},
      {[&](const Promise<void>& p) {
         Waits::WaitForProjectOpened(p, MakeHolder<tether::Project>(), kRefused, nullptr);
       },
       "WaitForItemXML failed"},
      {[&](const Promise<void>& p) {
         Waits::WaitForItemXML(p, std::make_shared<std::string>(), kRefused, "<items/>");
       },
       "WaitForItemXML failed"},
      {[&](const Promise<void>& p) {
         Waits::WaitForContainer(p, MakeHolder<tether::Container>(), tether::kConnectionStatusOK, nullptr);
       },
       "WaitForContainer failed"},
      {[&](const Promise<void>& p) {
         Waits::WaitForCaptionData(p, std::make_shared<tether::CaptionData>(), kRefused, tether::CaptionData());
       },
       "WaitForCaptionData failed"},
      {[&](const Promise<void>& p) {
         Waits::WaitForCaptionSelectionData(p, std::make_shared<bool>(false), kRefused, true);
       },
       "WaitForCaptionSelectionData failed"},
  };
  for (const auto& step : cases) {
    const Outcome outcome = OutcomeOf(step.answer);
    EXPECT_EQ(outcome.text, step.text);
    EXPECT_EQ(outcome.code, kGeneralFailure) << step.text;
  }
  EXPECT_FALSE(*connector);
}

TEST(ServerConnectionWaitsTest, AnswersThatCarryNoObjectStoreWhatTheyWereGiven) {
  const auto xml = std::make_shared<std::string>();
  EXPECT_EQ(OutcomeOf([&](const Promise<void>& p) {
              Waits::WaitForItemXML(p, xml, tether::kConnectionStatusOK, "<items/>");
            }).code,
            0);
  EXPECT_EQ(*xml, "<items/>");
  const auto accepted = std::make_shared<bool>(false);
  EXPECT_EQ(OutcomeOf([&](const Promise<void>& p) {
              Waits::WaitForCaptionSelectionData(p, accepted, tether::kConnectionStatusOK, true);
            }).code,
            0);
  EXPECT_TRUE(*accepted);
}

// Reaches a typed server of its own through `wait`, as project enumeration
// does, and gives the function that connects its generic server.
template <class TypedServer, class Wait>
std::shared_ptr<Waits::LinkedServerConnector> ConnectTypedServer(Wait wait,
                                                                  const Waits::Holder<TypedServer>& typedServer) {
  const auto connector = std::make_shared<Waits::LinkedServerConnector>();
  EXPECT_EQ(ServerWait::Block([&](const Promise<void>& promise) {
              TypedServer::CreateTetherServer(
                  [promise, typedServer, connector, wait](tether::ConnectionStatus status,
                                                          const std::shared_ptr<TypedServer>& server) {
                    wait(promise, typedServer, connector, status, server);
                  },
                  tether::kServerConnectionTypeDefault);
            }),
            0);
  return connector;
}

// Connects the generic server through `connector` and opens `file` on it, in
// one wait; gives the wait's result.
int32_t OpenOnGenericServer(const Waits::LinkedServerConnector& connector, const tether::File& file,
                            const Waits::Holder<tether::Server>& server,
                            const Waits::Holder<tether::Project>& project) {
  return ServerWait::Block([&](const Promise<void>& promise) {
    connector([promise, file, server, project](tether::ConnectionStatus status,
                                               const std::shared_ptr<tether::Server>& result) {
      Waits::WaitForServer(promise, file, server, project, status, result);
    });
  });
}

TEST(ServerConnectionWaitsTest, TypedServerThenGenericServerAndProjectOpenTheFile) {
  tether::testing::ScopedBackend backend;
  const tether::File file(u"/Shows/A.marlp", false);
  const auto typedServer = MakeHolder<tether::TolmenServer>();
  const auto connector = ConnectTypedServer(&Waits::WaitForTolmenServerConnection, typedServer);
  ASSERT_TRUE(*typedServer);
  ASSERT_TRUE(*connector);

  const auto server = MakeHolder<tether::Server>();
  const auto project = MakeHolder<tether::Project>();
  ASSERT_EQ(OpenOnGenericServer(*connector, file, server, project), 0);
  EXPECT_TRUE(*server);
  EXPECT_TRUE(*project);
  const auto connects = backend->Calls(Operation::kConnectLinkedServer);
  ASSERT_EQ(connects.size(), 1u);
  EXPECT_EQ(connects[0].Args<tether::testing::ConnectLinkedServerArgs>().connectionType,
            tether::kServerConnectionTypeInherit);
  ASSERT_EQ(backend->CallCount(Operation::kOpenProject), 1u);
  EXPECT_EQ(backend->Calls(Operation::kOpenProject)[0].Args<tether::testing::OpenProjectArgs>().file, file);
  ASSERT_TRUE(backend->WaitForIdle());
}

TEST(ServerConnectionWaitsTest, RefusedProjectFailsTheGenericServersWaitAndKeepsTheServer) {
  tether::testing::ScopedBackend backend;
  backend->Script(Operation::kOpenProject, tether::testing::Behaviour::Fail());
  const auto connector =
      ConnectTypedServer(&Waits::WaitForMarlServerConnection, MakeHolder<tether::MarlServer>());
  ASSERT_TRUE(*connector);
  const auto server = MakeHolder<tether::Server>();
  const auto project = MakeHolder<tether::Project>();
  EXPECT_EQ(OpenOnGenericServer(*connector, tether::File(u"/Shows/A.marlp", false), server, project),
            kGeneralFailure);
  EXPECT_TRUE(*server);
  EXPECT_FALSE(*project);
  ASSERT_TRUE(backend->WaitForIdle());
}

}  // namespace
}  // namespace TetherMedia
