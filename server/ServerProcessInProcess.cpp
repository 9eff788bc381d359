#include "ServerProcessInProcess.h"

#include "SessionProjectContent.h"

#include <tether/wire/Channel.h>

namespace tetherserver {

InProcessServer::InProcessServer(Session::Options options)
    : InProcessServer(std::make_shared<SessionProjectContent>(), std::move(options)) {}

InProcessServer::InProcessServer(std::shared_ptr<const SessionContent> content, Session::Options options)
    : mOptions(std::move(options)), mContent(std::move(content)) {
  if (!mOptions.fonts) {
    mOptions.fonts = std::make_shared<FontSet>();
  }
}

InProcessServer::~InProcessServer() {
  StopAll();
  std::lock_guard lock(mMutex);
  for (auto& running : mSessions) {
    running.thread.join();
  }
}

tether::wire::UniqueFd InProcessServer::Connect() {
  auto [client, server] = tether::wire::MakeSocketPair();
  std::lock_guard lock(mMutex);
  auto& running = mSessions.emplace_back();
  running.session = std::make_unique<Session>(std::move(server), mContent, mOptions);
  running.thread = std::thread([session = running.session.get()] { session->Run(); });
  return std::move(client);
}

void InProcessServer::StopAll() {
  std::lock_guard lock(mMutex);
  for (auto& running : mSessions) {
    running.session->Stop();
  }
}

}  // namespace tetherserver
