#pragma once

#include "CallbackExecutor.h"

#include <tether/AnyTree.h>
#include <tether/ServerFailure.h>
#include <tether/wire/Channel.h>
#include <tether/wire/MappedBuffer.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace tether::ipc {

class ConnectionBuffers;

// The reason of a break at the server's end of stream: it closed the socket,
// usually because it is exiting.
inline constexpr char kClosedByServer[] = "the server closed the connection";

// A server's answer to one request, as the reader thread received it.
struct Reply {
  int32_t status = 0;
  AnyValue body;
  std::vector<wire::UniqueFd> fds;
};

// One connection to one server process: the channel, its reader thread, the
// heartbeat, and the table of requests that wait for their replies.
//
// Exactly-once: every Call ends in exactly one completion, posted to the
// executor: the decoded reply, or a failure when the server says so, when the
// reply is malformed, or when the connection breaks. After a break every
// pending call fails at once and every later call fails too.
class Connection : public std::enable_shared_from_this<Connection> {
 public:
  // What the caller's callback becomes once it knows its outcome.
  using Completion = std::function<void()>;
  // Reads a successful reply (on the reader thread) into the completion that
  // calls the caller back. Throws WireError for a malformed reply.
  using Decoder = std::function<Completion(Reply&)>;
  // The completion for a failure status (never 0).
  using Failer = std::function<Completion(int32_t status)>;
  using NoticeHandler = std::function<void(const AnyValue& body)>;
  // Notices about one server object: the operation and the body.
  using ObjectNoticeHandler = std::function<void(const std::string& op, const AnyValue& body)>;

  struct Options {
    std::chrono::milliseconds heartbeatInterval{500};
    std::chrono::milliseconds heartbeatTimeout{3000};
  };

  // Starts the reader and heartbeat threads over `socket`. `onBreak` runs once,
  // on a library thread, when the connection breaks.
  // Told once why the connection broke, in words ("the server closed the
  // connection", "nothing heard from the server for 3 s", ...).
  using BreakHandler = std::function<void(const std::string& reason)>;

  static std::shared_ptr<Connection> Start(wire::UniqueFd socket, std::shared_ptr<CallbackExecutor> executor,
                                           Options options, BreakHandler onBreak = {});
  ~Connection();

  // Sends a request. Exactly one of the decoder's completion and the failer's
  // completion runs, once, on the executor. `cancelKey`, when given, names
  // the request for NotifyCancel.
  void Call(const std::string& op, AnyValue body, Decoder decode, Failer fail, std::string cancelKey = {});
  // Sends a one-way notice; dropped silently on a broken connection.
  void Notify(const std::string& op, AnyValue body);
  // Sends the notice that cancels the requests called with `cancelKey`. The
  // server answers a cancelled request at once (kStatusRenderCancelled), so
  // one still unanswered when the pong to a later ping arrives was not
  // reached by the notice (lost on the way): the client ends it with that
  // status itself, and lets go of whatever reply comes for it later.
  void NotifyCancel(const std::string& op, AnyValue body, const std::string& cancelKey);
  // Told (on a library thread, after its callback was posted) of each
  // request that failed for good: the server's failure status and reason, or
  // status 8 for a request the lost-request rule failed. Not of cancelled
  // renders, nor of requests failed by a break. Set before the first Call.
  using FailureHandler = std::function<void(const ServerFailure& failure)>;
  void OnRequestFailed(FailureHandler handler) { mOnFailed = std::move(handler); }
  // Receives the notices of `op` that the server sends.
  void OnNotice(const std::string& op, NoticeHandler handler);
  // Receives the notices whose body names server object `handle` and that no
  // OnNotice handler takes (progress reports).
  void Subscribe(uint64_t handle, ObjectNoticeHandler handler);
  void Unsubscribe(uint64_t handle);

  // Checks the handshake: blocks until the server has answered "hello" with the
  // same protocol version, or fails. False leaves the connection broken.
  bool Handshake(std::chrono::milliseconds timeout);

  // Breaks the connection: pending calls fail with `status`, later calls fail.
  // `reason` goes to the break handler; the first break's reason wins.
  void Break(int32_t status, const std::string& reason = "the connection was closed");
  // Breaks and waits for the connection's threads (unless called on them).
  void Close();
  bool IsBroken() const { return mBroken.load(); }

  const std::shared_ptr<CallbackExecutor>& Executor() const { return mExecutor; }
  ConnectionBuffers& Buffers() { return *mBuffers; }

 private:
  struct Pending {
    Decoder decode;
    Failer fail;
    std::string op;
    // The number of the last ping that may have left before this request was
    // wholly sent; kNotSent until then. A pong to a later ping judges it.
    uint64_t sentAfterPing = kNotSent;
    // Names the request for NotifyCancel; empty for most.
    std::string cancelKey;
    // Like sentAfterPing, for the last cancel notice that named the request.
    uint64_t cancelSentAfterPing = kNotSent;
  };
  static constexpr uint64_t kNotSent = UINT64_MAX;

  Connection(wire::UniqueFd socket, std::shared_ptr<CallbackExecutor> executor, Options options,
             BreakHandler onBreak);
  // Fails every request sent before ping `ping` that the server's pong
  // doesn't list as held: the server never got it, nobody would answer it.
  void FailLostRequests(const AnyValue& pong);
  // Ends with kStatusRenderCancelled every request whose cancel the server
  // had read before ping `answered` and still didn't answer.
  void EndUnreachedCancels(uint64_t answered);
  // A late reply to a request the client ended itself: its buffer, if any,
  // goes back to the server at once.
  bool DropAbandonedReply(wire::Message& message);
  void MarkSent(uint64_t id);
  // Breaks for a fault of the server or the socket, and says so through
  // tether::RecordServerFailure.
  void BreakForFault(const std::string& reason);
  void ReadLoop();
  void HeartbeatLoop();
  void HandleReply(wire::Message& message);
  void HandleNotice(const wire::Message& message);
  // Keeps the server's reason for a failed request (tether::ServerFailure).
  // Why `op` failed, as the reply says; the message is empty when the server
  // gave no reason.
  static ServerFailure FailureOf(const std::string& op, const wire::Message& message);
  void NotifyFailure(ServerFailure failure);
  void Fail(Pending pending, int32_t status);
  void JoinThreads();

  wire::Channel mChannel;
  std::shared_ptr<CallbackExecutor> mExecutor;
  const Options mOptions;
  std::shared_ptr<ConnectionBuffers> mBuffers;
  BreakHandler mOnBreak;
  FailureHandler mOnFailed;

  std::mutex mMutex;
  std::atomic<bool> mBroken{false};
  std::atomic<uint64_t> mNextId{1};
  std::map<uint64_t, Pending> mPending;
  // The decoders of requests ended by EndUnreachedCancels, until their reply.
  std::map<uint64_t, Decoder> mAbandoned;
  std::map<std::string, NoticeHandler> mNoticeHandlers;
  std::map<uint64_t, ObjectNoticeHandler> mSubscribers;
  std::atomic<int64_t> mLastHeardNanos{0};
  uint64_t mPingsSent = 0;  // guarded by mMutex
  std::condition_variable mHeartbeatWake;

  std::thread mReader;
  std::thread mHeartbeat;
};

}  // namespace tether::ipc
