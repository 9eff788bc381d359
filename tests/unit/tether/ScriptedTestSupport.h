#pragma once

#include <tether/ConnectionStatus.h>
#include <tether/MarlServer.h>
#include <tether/Project.h>
#include <tether/Server.h>
#include <tether/Source.h>

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <thread>

namespace tether::testing::support {

inline constexpr std::chrono::seconds kPatience{10};

// The first answer of an asynchronous call: its status, object and thread.
template <class T>
struct Answer {
  ConnectionStatus status = kConnectionStatusFailed;
  std::shared_ptr<T> object;
  std::thread::id thread;
};

// Catches one answer; waits for it with a generous limit, never by sleeping.
template <class T>
class Catcher {
 public:
  Catcher() : mPromise(std::make_shared<std::promise<Answer<T>>>()), mFuture(mPromise->get_future()) {}

  std::function<void(ConnectionStatus, const std::shared_ptr<T>&)> Callback() {
    return [promise = mPromise](ConnectionStatus status, const std::shared_ptr<T>& object) {
      promise->set_value(Answer<T>{status, object, std::this_thread::get_id()});
    };
  }

  bool Ready() { return mFuture.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }

  Answer<T> Get() {
    if (mFuture.wait_for(kPatience) != std::future_status::ready) {
      ADD_FAILURE() << "no answer";
      return {};
    }
    return mFuture.get();
  }

 private:
  std::shared_ptr<std::promise<Answer<T>>> mPromise;
  std::future<Answer<T>> mFuture;
};

inline std::shared_ptr<Server> ConnectServer() {
  Catcher<MarlServer> typed;
  MarlServer::CreateTetherServer(typed.Callback(), kServerConnectionTypeDefault);
  auto marl = typed.Get().object;
  if (!marl) {
    return nullptr;
  }
  Catcher<Server> linked;
  marl->ConnectLinkedServer(linked.Callback(), kServerConnectionTypeInherit);
  return linked.Get().object;
}

inline std::shared_ptr<Project> OpenProject(const kilncore::WideString& path) {
  auto server = ConnectServer();
  if (!server) {
    return nullptr;
  }
  Catcher<Project> project;
  server->OpenProject(project.Callback(), File(path, false));
  return project.Get().object;
}

inline std::shared_ptr<Source> GetSource(Project& project, const kilncore::utility::Guid& id) {
  Catcher<Source> source;
  project.GetSource(source.Callback(), id);
  return source.Get().object;
}

}  // namespace tether::testing::support
