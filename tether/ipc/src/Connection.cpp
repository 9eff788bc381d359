#include "Connection.h"

#include "ConnectionBuffers.h"

#include <tether/ServerFailure.h>
#include <tether/wire/MappedBuffer.h>
#include <tether/wire/Protocol.h>
#include <tether/wire/TreeAccess.h>
#include <tether/wire/WireError.h>

#include <kilncore/logging/Log.h>

#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <future>
#include <set>
#include <system_error>

namespace tether::ipc {
namespace {

// Whether `error` says that the server closed its end: a send fails with
// EPIPE or ECONNRESET, a read with ECONNRESET when the server went with data
// of ours unread. Said as the end of stream is, whichever thread of the
// client notices first.
bool ClosedByServer(const std::exception& error) {
  const auto* system = dynamic_cast<const std::system_error*>(&error);
  if (!system || system->code().category() != std::generic_category()) {
    return false;
  }
  const int code = system->code().value();
  return code == EPIPE || code == ECONNRESET;
}

std::string SendFailureReason(const std::exception& error) {
  return ClosedByServer(error) ? kClosedByServer : std::string("a send to the server failed: ") + error.what();
}

int64_t NowNanos() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace

std::shared_ptr<Connection> Connection::Start(wire::UniqueFd socket, std::shared_ptr<CallbackExecutor> executor,
                                              Options options, BreakHandler onBreak) {
  std::shared_ptr<Connection> connection(
      new Connection(std::move(socket), std::move(executor), options, std::move(onBreak)));
  std::weak_ptr<Connection> weak = connection;
  connection->mBuffers = std::make_shared<ConnectionBuffers>([weak](uint32_t id) {
    if (auto self = weak.lock()) {
      self->Notify("buffer.release", MakeAny(AnyObject{{"buffer", MakeAny(id)}}));
    }
  });
  connection->OnNotice("buffer.forget", [weak](const AnyValue& body) {
    if (auto self = weak.lock()) {
      std::vector<uint32_t> ids;
      for (const auto& id : wire::AsArray(wire::Field(wire::AsObject(body), "buffers"))) {
        ids.push_back(wire::AsUint32(id));
      }
      self->mBuffers->Forget(ids);
    }
  });
  connection->OnNotice("pong", [weak](const AnyValue& body) {
    if (auto self = weak.lock()) {
      self->FailLostRequests(body);
    }
  });
  // A server at its connection cap says why before it closes.
  connection->OnNotice("refused", [weak](const AnyValue& body) {
    const std::string reason = wire::AsString(wire::Field(wire::AsObject(body), "message"));
    RecordServerFailure(ServerFailure{"hello", wire::kStatusServerUnavailable, reason});
    if (auto self = weak.lock()) {
      self->Break(wire::kStatusServerUnavailable, "the server refused the connection: " + reason);
    }
  });
  connection->mLastHeardNanos = NowNanos();
  // The threads keep the connection alive until it breaks.
  connection->mReader = std::thread([connection] { connection->ReadLoop(); });
  connection->mHeartbeat = std::thread([connection] { connection->HeartbeatLoop(); });
  return connection;
}

Connection::Connection(wire::UniqueFd socket, std::shared_ptr<CallbackExecutor> executor, Options options,
                       BreakHandler onBreak)
    : mChannel(std::move(socket)), mExecutor(std::move(executor)), mOptions(options), mOnBreak(std::move(onBreak)) {
  // A server that stops reading must not block a sender forever: the send
  // fails after the heartbeat's limit and breaks the connection.
  auto limit = std::chrono::duration_cast<std::chrono::microseconds>(mOptions.heartbeatTimeout);
  timeval timeout{static_cast<time_t>(limit.count() / 1000000), static_cast<suseconds_t>(limit.count() % 1000000)};
  ::setsockopt(mChannel.Descriptor(), SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof(timeout));
}

Connection::~Connection() {
  Break(wire::kStatusServerUnavailable);
  JoinThreads();
}

void Connection::Call(const std::string& op, AnyValue body, Decoder decode, Failer fail, std::string cancelKey) {
  wire::Message message;
  message.kind = wire::MessageKind::kRequest;
  message.op = op;
  message.body = std::move(body);
  {
    std::lock_guard lock(mMutex);
    if (!mBroken) {
      message.id = mNextId++;
      mPending.emplace(message.id, Pending{std::move(decode), std::move(fail), op, kNotSent, std::move(cancelKey), kNotSent});
    }
  }
  if (message.id == 0) {
    Fail(Pending{nullptr, std::move(fail), op, kNotSent, {}, kNotSent}, wire::kStatusServerUnavailable);
    return;
  }
  try {
    mChannel.Send(message);
    MarkSent(message.id);
  } catch (const wire::WireError&) {
    // Our own message can't be framed (too large): only this call fails.
    Pending pending;
    {
      std::lock_guard lock(mMutex);
      auto it = mPending.find(message.id);
      if (it == mPending.end()) {
        return;
      }
      pending = std::move(it->second);
      mPending.erase(it);
    }
    Fail(std::move(pending), wire::kStatusBadMessage);
  } catch (const std::exception& error) {
    BreakForFault(SendFailureReason(error));
  }
}

void Connection::MarkSent(uint64_t id) {
  std::lock_guard lock(mMutex);
  auto it = mPending.find(id);
  if (it != mPending.end()) {
    it->second.sentAfterPing = mPingsSent;
  }
}

void Connection::FailLostRequests(const AnyValue& pong) {
  const AnyObject& body = wire::AsObject(pong);
  AnyValue ping = wire::OptionalField(body, "ping");
  if (!ping) {
    return;
  }
  const uint64_t answered = wire::AsUint64(ping);
  EndUnreachedCancels(answered);
  AnyValue heldField = wire::OptionalField(body, "held");
  if (!heldField) {
    return;  // a server that doesn't say what it holds, or holds too much to say
  }
  std::set<uint64_t> held;
  for (const auto& id : wire::AsArray(heldField)) {
    held.insert(wire::AsUint64(id));
  }
  std::vector<Pending> lost;
  {
    std::lock_guard lock(mMutex);
    for (auto it = mPending.begin(); it != mPending.end();) {
      // Sent wholly before that ping left, so read by the server before it:
      // unanswered and not held means the server never got it.
      if (it->second.sentAfterPing < answered && held.count(it->first) == 0) {
        lost.push_back(std::move(it->second));
        it = mPending.erase(it);
      } else {
        ++it;
      }
    }
  }
  for (auto& pending : lost) {
    ServerFailure failure{pending.op, wire::kStatusRequestLost,
                          "the server never received this request (lost on the way)"};
    RecordServerFailure(failure);
    Fail(std::move(pending), wire::kStatusRequestLost);
    NotifyFailure(std::move(failure));
  }
}

void Connection::EndUnreachedCancels(uint64_t answered) {
  std::vector<Pending> unreached;
  {
    std::lock_guard lock(mMutex);
    for (auto it = mPending.begin(); it != mPending.end();) {
      // The server answers a cancel that finds its request before it reads
      // the next message, so before it answers that ping: the cancel never
      // got there, and the canceller must not wait for it.
      if (it->second.cancelSentAfterPing < answered) {
        mAbandoned.emplace(it->first, it->second.decode);
        unreached.push_back(std::move(it->second));
        it = mPending.erase(it);
      } else {
        ++it;
      }
    }
  }
  for (auto& pending : unreached) {
    Fail(std::move(pending), wire::kStatusRenderCancelled);
  }
}

void Connection::NotifyCancel(const std::string& op, AnyValue body, const std::string& cancelKey) {
  Notify(op, std::move(body));
  std::lock_guard lock(mMutex);
  for (auto& [id, pending] : mPending) {
    // Only a request already sent can be found by the cancel.
    if (pending.cancelKey == cancelKey && pending.sentAfterPing != kNotSent) {
      pending.cancelSentAfterPing = mPingsSent;
    }
  }
}

bool Connection::DropAbandonedReply(wire::Message& message) {
  Decoder decode;
  {
    std::lock_guard lock(mMutex);
    auto it = mAbandoned.find(message.id);
    if (it == mAbandoned.end()) {
      return false;
    }
    decode = std::move(it->second);
    mAbandoned.erase(it);
  }
  if (message.status == wire::kStatusOK && decode) {
    try {
      // The completion holds the reply's buffer: dropping it unrun releases it.
      Reply reply{message.status, std::move(message.body), std::move(message.fds)};
      decode(reply);
    } catch (...) {
      kilncore::logging::LogException(std::current_exception(), "tether::ipc malformed reply", message.op);
    }
  }
  return true;
}

void Connection::Notify(const std::string& op, AnyValue body) {
  if (mBroken) {
    return;
  }
  wire::Message message;
  message.kind = wire::MessageKind::kNotice;
  message.op = op;
  message.body = std::move(body);
  try {
    mChannel.Send(message);
  } catch (const std::exception& error) {
    BreakForFault(SendFailureReason(error));
  }
}

void Connection::Subscribe(uint64_t handle, ObjectNoticeHandler handler) {
  std::lock_guard lock(mMutex);
  mSubscribers[handle] = std::move(handler);
}

void Connection::Unsubscribe(uint64_t handle) {
  std::lock_guard lock(mMutex);
  mSubscribers.erase(handle);
}

void Connection::OnNotice(const std::string& op, NoticeHandler handler) {
  std::lock_guard lock(mMutex);
  mNoticeHandlers[op] = std::move(handler);
}

bool Connection::Handshake(std::chrono::milliseconds timeout) {
  auto answered = std::make_shared<std::promise<bool>>();
  auto future = answered->get_future();
  Call(
      "hello",
      MakeAny(AnyObject{{"protocol", MakeAny(wire::kProtocolVersion)},
                        {"client", MakeAny(std::string("tether-ipc"))},
                        {"maxBufferBytes", MakeAny(wire::MappedBuffer::kMaxCapacity)}}),
      [answered](Reply& reply) -> Completion {
        uint32_t version = wire::AsUint32(wire::Field(wire::AsObject(reply.body), "protocol"));
        answered->set_value(version == wire::kProtocolVersion);
        return [] {};
      },
      [answered](int32_t) -> Completion {
        return [answered] { answered->set_value(false); };
      });
  bool ok = future.wait_for(timeout) == std::future_status::ready && future.get();
  if (!ok) {
    Break(wire::kStatusServerUnavailable, "the server didn't complete the handshake");
  }
  return ok;
}

void Connection::Break(int32_t status, const std::string& reason) {
  std::map<uint64_t, Pending> pending;
  {
    std::lock_guard lock(mMutex);
    if (mBroken.exchange(true)) {
      return;
    }
    pending.swap(mPending);
    mAbandoned.clear();
  }
  mChannel.Shutdown();
  mHeartbeatWake.notify_all();
  if (mBuffers) {
    mBuffers->Disconnect();
  }
  for (auto& [id, call] : pending) {
    Fail(std::move(call), status);
  }
  if (mOnBreak) {
    mExecutor->Post([onBreak = std::move(mOnBreak), reason] { onBreak(reason); });
  }
}

void Connection::BreakForFault(const std::string& reason) {
  // Recorded before any request fails, so that whoever reads the reason of a
  // failure finds this one.
  if (!mBroken) {
    RecordServerFailure(ServerFailure{"connection", wire::kStatusServerUnavailable, reason});
  }
  Break(wire::kStatusServerUnavailable, reason);
}

void Connection::Close() {
  Break(wire::kStatusServerUnavailable);
  JoinThreads();
}

void Connection::JoinThreads() {
  for (std::thread* thread : {&mReader, &mHeartbeat}) {
    if (!thread->joinable()) {
      continue;
    }
    if (thread->get_id() == std::this_thread::get_id()) {
      thread->detach();
    } else {
      thread->join();
    }
  }
}

void Connection::Fail(Pending pending, int32_t status) {
  if (status == 0) {
    status = wire::kStatusFailed;
  }
  Completion completion;
  try {
    completion = pending.fail(status);
  } catch (...) {
    kilncore::logging::LogException(std::current_exception(), "tether::ipc::Connection::Fail");
    return;
  }
  mExecutor->Post(std::move(completion));
}

void Connection::ReadLoop() {
  std::string reason = kClosedByServer;
  try {
    while (!mBroken) {
      auto message = mChannel.Receive();
      if (!message) {
        break;
      }
      mLastHeardNanos = NowNanos();
      if (message->kind == wire::MessageKind::kReply) {
        HandleReply(*message);
      } else if (message->kind == wire::MessageKind::kNotice) {
        HandleNotice(*message);
      }
      // Requests from the server aren't part of the protocol: ignored.
    }
  } catch (const std::exception& error) {
    // A stream out of step can't be trusted for any later message.
    if (!mBroken && !ClosedByServer(error)) {
      kilncore::logging::LogException(std::current_exception(), "tether::ipc::Connection::ReadLoop");
    }
    reason = ClosedByServer(error) ? kClosedByServer
                                   : std::string("the connection to the server failed: ") + error.what();
  }
  BreakForFault(reason);
}

void Connection::HandleReply(wire::Message& message) {
  Pending pending;
  {
    std::lock_guard lock(mMutex);
    auto it = mPending.find(message.id);
    if (it != mPending.end()) {
      pending = std::move(it->second);
      mPending.erase(it);
    }
  }
  if (!pending.fail) {
    // A reply to nothing is a confused server's, and ignored.
    DropAbandonedReply(message);
    return;
  }
  if (message.status != wire::kStatusOK) {
    // Recorded first, so that a callback that asks why finds the reason.
    ServerFailure failure = FailureOf(pending.op, message);
    RecordServerFailure(failure);
    Fail(std::move(pending), message.status);
    NotifyFailure(std::move(failure));
    return;
  }
  Completion completion;
  try {
    Reply reply{message.status, std::move(message.body), std::move(message.fds)};
    completion = pending.decode(reply);
  } catch (...) {
    kilncore::logging::LogException(std::current_exception(), "tether::ipc malformed reply", message.op);
    Fail(std::move(pending), wire::kStatusBadMessage);
    return;
  }
  mExecutor->Post(std::move(completion));
}

ServerFailure Connection::FailureOf(const std::string& op, const wire::Message& message) {
  ServerFailure failure{op, message.status, {}};
  const auto* body = message.body ? std::any_cast<AnyObject>(message.body.get()) : nullptr;
  if (!body) {
    return failure;
  }
  auto it = body->find("message");
  if (it != body->end() && it->second) {
    if (const auto* text = std::any_cast<std::string>(it->second.get())) {
      failure.message = *text;
    }
  }
  return failure;
}

void Connection::NotifyFailure(ServerFailure failure) {
  if (failure.status == wire::kStatusRenderCancelled || !mOnFailed) {
    return;  // a cancelled render got the answer its canceller asked for
  }
  mExecutor->Post([onFailed = mOnFailed, failure = std::move(failure)] { onFailed(failure); });
}

void Connection::HandleNotice(const wire::Message& message) {
  try {
    NoticeHandler handler;
    ObjectNoticeHandler subscriber;
    {
      std::lock_guard lock(mMutex);
      auto it = mNoticeHandlers.find(message.op);
      if (it != mNoticeHandlers.end()) {
        handler = it->second;
      }
    }
    if (handler) {
      handler(message.body);
      return;
    }
    uint64_t handle = wire::AsUint64(wire::Field(wire::AsObject(message.body), "handle"));
    {
      std::lock_guard lock(mMutex);
      auto it = mSubscribers.find(handle);
      if (it != mSubscribers.end()) {
        subscriber = it->second;
      }
    }
    if (subscriber) {
      subscriber(message.op, message.body);
    }
  } catch (...) {
    kilncore::logging::LogException(std::current_exception(), "tether::ipc malformed notice", message.op);
  }
}

void Connection::HeartbeatLoop() {
  std::unique_lock lock(mMutex);
  while (!mBroken) {
    mHeartbeatWake.wait_for(lock, mOptions.heartbeatInterval, [this] { return mBroken.load(); });
    if (mBroken) {
      return;
    }
    int64_t silentNanos = NowNanos() - mLastHeardNanos.load();
    if (silentNanos > std::chrono::nanoseconds(mOptions.heartbeatTimeout).count()) {
      lock.unlock();
      kilncore::logging::LogException(std::make_exception_ptr(std::runtime_error("server stopped answering")),
                                      "tether::ipc heartbeat");
      auto limit = std::chrono::duration_cast<std::chrono::milliseconds>(mOptions.heartbeatTimeout);
      BreakForFault("the server stopped answering (nothing heard for " + std::to_string(limit.count()) + " ms)");
      return;
    }
    // Numbered, so that its pong tells which requests the server had read.
    const uint64_t ping = ++mPingsSent;
    lock.unlock();
    Notify("ping", MakeAny(AnyObject{{"ping", MakeAny(ping)}}));
    lock.lock();
  }
}

}  // namespace tether::ipc
