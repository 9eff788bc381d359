#pragma once

#include <tether/AudioRenderer.h>
#include <tether/Backend.h>
#include <tether/VideoRenderer.h>
#include <tether/wire/Channel.h>

#include <processcoordination/BinaryReference.h>
#include <tether/Project.h>
#include <tether/Server.h>
#include <tether/Source.h>

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <tuple>
#include <utility>

// Blocking helpers for tests: start an asynchronous call, wait for its one
// callback, hand back what it was given.
namespace tether::ipctest {

// Relative to the enclosing namespace tether, ::processcoordination is meant.
using BlockData = std::shared_ptr<::processcoordination::BinaryReference>;

inline constexpr std::chrono::seconds kWait{10};

// What a stand-in server sends back for `request`.
inline void AnswerRequest(wire::Channel& channel, const wire::Message& request, AnyObject body,
                          std::vector<wire::UniqueFd> fds = {}, int32_t status = 0) {
  wire::Message reply;
  reply.kind = wire::MessageKind::kReply;
  reply.id = request.id;
  reply.status = status;
  reply.body = MakeAny(std::move(body));
  reply.fds = std::move(fds);
  channel.Send(reply);
}

template <class T, class Start>
std::pair<int, std::shared_ptr<T>> Await(Start start) {
  auto promise = std::make_shared<std::promise<std::pair<int, std::shared_ptr<T>>>>();
  auto future = promise->get_future();
  start([promise](ConnectionStatus status, const std::shared_ptr<T>& object) {
    promise->set_value({status, object});
  });
  if (future.wait_for(kWait) != std::future_status::ready) {
    ADD_FAILURE() << "callback never came";
    return {-1, nullptr};
  }
  return future.get();
}

// The result of a render: status and block.
struct Block {
  int status = -1;
  BlockData data;
};

// Waits for one callback shaped (status, value) and gives both back.
template <class T, class Start>
std::pair<int, T> AwaitValue(Start start) {
  auto promise = std::make_shared<std::promise<std::pair<int, T>>>();
  auto future = promise->get_future();
  start([promise](ConnectionStatus status, const T& value) { promise->set_value({status, value}); });
  if (future.wait_for(kWait) != std::future_status::ready) {
    ADD_FAILURE() << "callback never came";
    return {-1, T{}};
  }
  return future.get();
}

template <class Renderer, class... Args>
Block AwaitBlock(Renderer& renderer, Args... args) {
  auto promise = std::make_shared<std::promise<Block>>();
  auto future = promise->get_future();
  auto callback = [promise](const kilncore::utility::Guid&,
                            const BlockData& data,
                            int status) { promise->set_value(Block{status, data}); };
  if constexpr (sizeof...(Args) == 0) {
    renderer.RenderAudio(callback, kilncore::utility::Guid::CreateUnique());
  } else {
    renderer.RenderVideo(callback, kilncore::utility::Guid::CreateUnique(), args...);
  }
  if (future.wait_for(kWait) != std::future_status::ready) {
    ADD_FAILURE() << "render callback never came";
    return {};
  }
  return future.get();
}

// Creates a Marl server through `backend` and walks to the source `id` of the
// project at `path`. Null on any failure (with the test failed).
struct Chain {
  std::shared_ptr<MarlServer> typed;
  std::shared_ptr<Server> server;
  std::shared_ptr<Project> project;
  std::shared_ptr<Source> source;
};

inline Chain OpenItem(Backend& backend, const kilncore::utility::Guid& id) {
  Chain chain;
  auto [typedStatus, typed] =
      Await<MarlServer>([&](auto cb) { backend.CreateMarlServer(cb, kServerConnectionTypeDefault); });
  EXPECT_EQ(typedStatus, 0);
  if (!typed) return chain;
  chain.typed = typed;
  auto [serverStatus, server] = Await<Server>([&](auto cb) { typed->ConnectLinkedServer(cb); });
  EXPECT_EQ(serverStatus, 0);
  if (!server) return chain;
  chain.server = server;
  auto [projectStatus, project] =
      Await<Project>([&](auto cb) { server->OpenProject(cb, File(u"/projects/test.synthetic")); });
  EXPECT_EQ(projectStatus, 0);
  if (!project) return chain;
  chain.project = project;
  auto [sourceStatus, source] = Await<Source>([&](auto cb) { project->GetSource(cb, id); });
  EXPECT_EQ(sourceStatus, 0);
  chain.source = source;
  return chain;
}

}  // namespace tether::ipctest
