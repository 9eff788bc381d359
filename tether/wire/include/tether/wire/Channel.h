#pragma once

#include <tether/wire/FrameReader.h>
#include <tether/wire/Message.h>
#include <tether/wire/UniqueFd.h>

#include <deque>
#include <mutex>
#include <optional>

namespace tether::wire {

// One end of a connected Unix stream socket that carries framed messages, with
// their descriptors passed as SCM_RIGHTS beside the bytes.
//
// Send may be called from any thread; Receive from one reader thread at a time.
class Channel {
 public:
  explicit Channel(UniqueFd socket);
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  // Sends one message with its descriptors (which stay open here). Throws
  // std::system_error if the socket is broken, WireError for a message beyond
  // the limits.
  void Send(const Message& message);

  // Blocks for the next message. Returns nullopt when the peer has closed the
  // stream. Received descriptors are close-on-exec. Throws WireError for bytes
  // that break the protocol, std::system_error for a failing socket.
  std::optional<Message> Receive();

  // Ends both directions: a Receive in progress returns, later Sends throw.
  void Shutdown();

  int Descriptor() const { return mSocket.Get(); }

 private:
  bool ReadMore();

  UniqueFd mSocket;
  std::mutex mSendMutex;
  FrameReader mReader;
  std::deque<UniqueFd> mReceivedFds;
};

// A connected pair of Unix stream sockets, both close-on-exec. Throws
// std::system_error.
std::pair<UniqueFd, UniqueFd> MakeSocketPair();

}  // namespace tether::wire
