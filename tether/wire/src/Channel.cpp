#include <tether/wire/Channel.h>

#include <tether/wire/WireError.h>

#include <sys/socket.h>
#include <sys/uio.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace tether::wire {
namespace {

// Descriptors that arrived but whose frame hasn't: more than this means the
// peer sends descriptors that no frame accounts for.
constexpr size_t kMaxQueuedFds = 4 * kMaxFdsPerFrame;
constexpr size_t kReadChunk = 64 * 1024;

[[noreturn]] void ThrowErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

Channel::Channel(UniqueFd socket) : mSocket(std::move(socket)) {}

void Channel::Send(const Message& message) {
  if (message.fds.size() > kMaxFdsPerFrame) {
    throw WireError("too many descriptors for one message");
  }
  std::string bytes = EncodeFrame(EncodeMessage(message), static_cast<uint16_t>(message.fds.size()));

  std::lock_guard lock(mSendMutex);
  size_t sent = 0;
  bool fdsSent = message.fds.empty();
  while (sent < bytes.size()) {
    iovec io{bytes.data() + sent, bytes.size() - sent};
    msghdr header{};
    header.msg_iov = &io;
    header.msg_iovlen = 1;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * kMaxFdsPerFrame)];
    if (!fdsSent) {
      // The descriptors ride with the first byte of the frame.
      size_t length = sizeof(int) * message.fds.size();
      std::memset(control, 0, sizeof(control));
      header.msg_control = control;
      header.msg_controllen = CMSG_SPACE(length);
      cmsghdr* cmsg = CMSG_FIRSTHDR(&header);
      cmsg->cmsg_level = SOL_SOCKET;
      cmsg->cmsg_type = SCM_RIGHTS;
      cmsg->cmsg_len = CMSG_LEN(length);
      int* fds = reinterpret_cast<int*>(CMSG_DATA(cmsg));
      for (size_t i = 0; i < message.fds.size(); ++i) {
        fds[i] = message.fds[i].Get();
      }
    }
    ssize_t n = ::sendmsg(mSocket.Get(), &header, MSG_NOSIGNAL);
    if (n < 0) {
      if (errno == EINTR) {
        continue;
      }
      ThrowErrno("sendmsg");
    }
    sent += static_cast<size_t>(n);
    fdsSent = true;
  }
}

std::optional<Message> Channel::Receive() {
  for (;;) {
    if (auto frame = mReader.Next()) {
      if (mReceivedFds.size() < frame->fdCount) {
        throw WireError("frame announces descriptors that didn't arrive");
      }
      Message message = DecodeMessage(frame->body);
      for (uint16_t i = 0; i < frame->fdCount; ++i) {
        message.fds.push_back(std::move(mReceivedFds.front()));
        mReceivedFds.pop_front();
      }
      return message;
    }
    if (!ReadMore()) {
      return std::nullopt;
    }
  }
}

bool Channel::ReadMore() {
  char buffer[kReadChunk];
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * kMaxFdsPerFrame * 2)];
  iovec io{buffer, sizeof(buffer)};
  msghdr header{};
  header.msg_iov = &io;
  header.msg_iovlen = 1;
  header.msg_control = control;
  header.msg_controllen = sizeof(control);
  ssize_t n;
  do {
    n = ::recvmsg(mSocket.Get(), &header, MSG_CMSG_CLOEXEC);
  } while (n < 0 && errno == EINTR);
  if (n < 0) {
    ThrowErrno("recvmsg");
  }
  // Take ownership of every descriptor first, so that none leaks on a failure.
  for (cmsghdr* cmsg = CMSG_FIRSTHDR(&header); cmsg; cmsg = CMSG_NXTHDR(&header, cmsg)) {
    if (cmsg->cmsg_level != SOL_SOCKET || cmsg->cmsg_type != SCM_RIGHTS) {
      continue;
    }
    size_t count = (cmsg->cmsg_len - CMSG_LEN(0)) / sizeof(int);
    const unsigned char* data = CMSG_DATA(cmsg);
    for (size_t i = 0; i < count; ++i) {
      int fd;
      std::memcpy(&fd, data + i * sizeof(int), sizeof(int));
      mReceivedFds.emplace_back(fd);
    }
  }
  if (header.msg_flags & MSG_CTRUNC) {
    throw WireError("descriptors were cut off in transit");
  }
  if (mReceivedFds.size() > kMaxQueuedFds) {
    throw WireError("peer sends descriptors that no frame accounts for");
  }
  if (n == 0) {
    return false;
  }
  mReader.Append(std::string_view(buffer, static_cast<size_t>(n)));
  return true;
}

void Channel::Shutdown() { ::shutdown(mSocket.Get(), SHUT_RDWR); }

std::pair<UniqueFd, UniqueFd> MakeSocketPair() {
  int fds[2];
  if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) {
    ThrowErrno("socketpair");
  }
  return {UniqueFd(fds[0]), UniqueFd(fds[1])};
}

}  // namespace tether::wire
