#pragma once

#include "FontSet.h"
#include "SessionContent.h"
#include "farside/FarsideAssetFollower.h"

#include <tether/wire/BufferPool.h>
#include <tether/wire/Channel.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <variant>
#include <vector>

namespace tetherserver {

// One client's connection to the server: reads its requests, runs them on a
// few worker threads, keeps the objects it made (by handle) and its shared
// buffer pool. Pings are answered at once by the reader, so a long render
// doesn't look like a stuck server.
class Session {
 public:
  struct Options {
    // False: a fresh shared buffer for every frame (for comparison only).
    bool recycleBuffers = true;
    size_t workerThreads = 4;
    // The fonts that all sessions of a server share; a session makes its own
    // when left null.
    std::shared_ptr<FontSet> fonts;
    // A peer that sends nothing for this long is dropped; 0: never.
    std::chrono::milliseconds idleTimeout{0};
    // Told of every request that fails: its operation, status and reason
    // (tether-server --verbose logs them). Called on the session's threads.
    std::function<void(const std::string& op, int32_t status, const std::string& reason)> onFailure;
  };

  Session(tether::wire::UniqueFd socket, std::shared_ptr<const SessionContent> content, Options options);
  // Stops: the reader and the workers end, unanswered requests are dropped.
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  // Serves until the client closes the connection, breaks the protocol, or
  // Stop is called.
  void Run();
  // Ends Run from another thread.
  void Stop();

  struct Object;

 private:
  using Body = tether::AnyObject;

  // A video render that has not been answered yet. Whoever takes it out of
  // the table (the worker that rendered it, or a cancel) sends the one reply.
  struct Job {
    uint64_t renderer = 0;
    kilncore::utility::Guid job;
  };

  static Options WithFonts(Options options);
  void Dispatch(tether::wire::Message message);
  // Answers what can't be served (an unknown operation, anything before the
  // handshake, the handshake itself) and returns false; true lets it through.
  bool Admit(const tether::wire::Message& message);
  void Greet(const tether::wire::Message& message);
  // The answer to a ping: its number and the requests this session holds.
  tether::wire::Message Pong(const tether::wire::Message& ping);
  void ReportFailure(const std::string& op, int32_t status, const std::string& reason);
  // Whether the client maps a buffer of `bytes`; sets the failure reason if not.
  bool FitsClient(size_t bytes) const;
  void RegisterJob(const tether::wire::Message& message);
  // Takes request `id` out of the job table; false if a cancel took it first.
  bool ClaimJob(uint64_t id);
  void CancelJobs(uint64_t renderer, const kilncore::utility::Guid& job);
  bool IsJobPending(uint64_t id);
  void SendProgress(uint64_t server, const std::string& type, double value, const std::vector<std::string>& arguments);
  void HandleNotice(const tether::wire::Message& message);
  void HandleRequest(const tether::wire::Message& message);
  void Reply(uint64_t id, int32_t status, tether::AnyValue body, std::vector<tether::wire::UniqueFd> fds = {});
  uint64_t Store(std::shared_ptr<Object> object);
  std::shared_ptr<Object> Find(uint64_t handle);
  void SendBlock(uint64_t id, const tether::wire::BufferPool::Lease& lease, size_t size);
  void WorkerLoop();

  // Request handlers: fill `reply` and return a status, or return -1 to leave
  // the request unanswered.
  int32_t Handle(const std::string& op, const Body& args, uint64_t id, Body& reply);
  int32_t HandleSource(const std::string& op, Object& source, const Body& args, Body& reply);
  int32_t OpenProject(uint64_t serverHandle, Object& server, const Body& args, Body& reply);
  int32_t RenderVideo(Object& renderer, const Body& args, uint64_t id);
  int32_t RenderAudio(Object& renderer, uint64_t id);
  // A renderer follows the project (or remote asset) of the source it was made
  // for.
  static void FollowProject(Object& renderer, const Object& source);
  // The item a renderer draws now: that of the project's current content, or
  // of the latest opening of its remote asset.
  static std::shared_ptr<const SessionItem> CurrentItem(Object& renderer);
  // The record of the openings of the remote asset `request` names.
  std::shared_ptr<FarsideAssetFollower> FollowerOf(const tether::FarsideAssetRequestInfo& request);

  tether::wire::Channel mChannel;
  std::shared_ptr<const SessionContent> mContent;
  const Options mOptions;
  tether::wire::BufferPool mPool;
  std::atomic<bool> mGreeted{false};
  std::atomic<uint64_t> mClientBufferLimit;

  std::mutex mObjectsMutex;
  uint64_t mNextHandle = 1;
  std::map<uint64_t, std::shared_ptr<Object>> mObjects;

  // Requests read and not yet answered, by id (unanswered test requests
  // included: the server still has them).
  std::mutex mHeldMutex;
  std::set<uint64_t> mHeld;

  std::mutex mJobsMutex;
  std::map<uint64_t, Job> mJobs;  // by request id

  std::mutex mAssetsMutex;
  std::map<std::string, std::shared_ptr<FarsideAssetFollower>> mAssets;  // by FarsideAssetFollower::KeyOf

  std::mutex mQueueMutex;
  std::condition_variable mQueueWake;
  std::deque<tether::wire::Message> mQueue;
  bool mStopping = false;
  std::vector<std::thread> mWorkers;
};

}  // namespace tetherserver
