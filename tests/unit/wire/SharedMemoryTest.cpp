#include <tether/wire/BufferPool.h>
#include <tether/wire/Channel.h>
#include <tether/wire/MappedBuffer.h>
#include <tether/wire/TreeAccess.h>
#include <tether/wire/WireError.h>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <thread>

namespace tether::wire {
namespace {

UniqueFd Duplicate(int fd) { return UniqueFd(::fcntl(fd, F_DUPFD_CLOEXEC, 0)); }

TEST(SharedMemoryTest, PoolRecyclesAReleasedBufferAndSendsItsDescriptorOnce) {
  BufferPool pool;
  auto first = pool.Acquire(1000);
  EXPECT_TRUE(first.sendDescriptor);
  EXPECT_TRUE(pool.Release(first.id));
  auto second = pool.Acquire(1000);
  EXPECT_EQ(second.id, first.id);
  EXPECT_FALSE(second.sendDescriptor);
  auto third = pool.Acquire(1000);  // the first is leased: a new one
  EXPECT_NE(third.id, first.id);
  EXPECT_EQ(pool.LeasedCount(), 2u);
}

TEST(SharedMemoryTest, AbandonedFirstTripLeaseSendsItsDescriptorWhenNextLeased) {
  // A render that fails or is cancelled never sends its buffer: the peer
  // must still get the descriptor on the buffer's first real trip.
  BufferPool pool;
  auto first = pool.Acquire(1000);
  ASSERT_TRUE(first.sendDescriptor);
  pool.Abandon(first);
  auto second = pool.Acquire(1000);
  EXPECT_EQ(second.id, first.id);
  EXPECT_TRUE(second.sendDescriptor);
  EXPECT_TRUE(pool.Release(second.id));
  auto third = pool.Acquire(1000);
  EXPECT_FALSE(third.sendDescriptor);
  // Abandoning a buffer that the peer has already mapped keeps it mapped.
  pool.Abandon(third);
  EXPECT_FALSE(pool.Acquire(1000).sendDescriptor);
  EXPECT_EQ(pool.BufferCount(), 1u);
}

TEST(SharedMemoryTest, AbandonedBufferThatThePeerNeverMappedIsNotForgottenAloud) {
  BufferPool::Options options;
  options.maxIdleBytes = 0;  // every idle buffer is destroyed at once
  BufferPool pool(options);
  auto lease = pool.Acquire(1000);
  pool.Abandon(lease);
  EXPECT_EQ(pool.BufferCount(), 0u);
  EXPECT_TRUE(pool.TakeForgotten().empty());
}

TEST(SharedMemoryTest, ReleasingAnUnknownOrIdleBufferChangesNothing) {
  BufferPool pool;
  EXPECT_FALSE(pool.Release(77));
  auto lease = pool.Acquire(10);
  EXPECT_TRUE(pool.Release(lease.id));
  EXPECT_FALSE(pool.Release(lease.id));
  EXPECT_EQ(pool.BufferCount(), 1u);
}

TEST(SharedMemoryTest, ColdPoolMakesAFreshBufferForEveryLease) {
  BufferPool pool(BufferPool::Options{false});
  auto first = pool.Acquire(100);
  pool.Release(first.id);
  auto second = pool.Acquire(100);
  EXPECT_NE(second.id, first.id);
  EXPECT_TRUE(second.sendDescriptor);
  EXPECT_EQ(pool.BufferCount(), 1u);
}

TEST(SharedMemoryTest, IdleBuffersBeyondTheLimitAreForgotten) {
  BufferPool::Options options;
  options.maxIdleBytes = RoundUpToPages(1);
  BufferPool pool(options);
  auto a = pool.Acquire(1);
  auto b = pool.Acquire(1);
  pool.Release(a.id);
  pool.Release(b.id);
  EXPECT_EQ(pool.TakeForgotten().size(), 1u);
  EXPECT_EQ(pool.BufferCount(), 1u);
}

TEST(SharedMemoryTest, MappedBufferSeesTheProducersBytesReadOnly) {
  auto buffer = SharedBuffer::Create(4096);
  std::memset(buffer->Data(), 0xAB, 4096);
  auto mapped = MappedBuffer::Map(Duplicate(buffer->Descriptor()), 4096);
  ASSERT_EQ(mapped->Capacity(), 4096u);
  EXPECT_EQ(mapped->Data()[0], 0xAB);
  EXPECT_EQ(mapped->Data()[4095], 0xAB);
  buffer->Data()[10] = 0x01;  // shared, not copied
  EXPECT_EQ(mapped->Data()[10], 0x01);
}

TEST(SharedMemoryTest, MappingRefusesDescriptorsThatCouldHurtTheReader) {
  auto buffer = SharedBuffer::Create(4096);
  EXPECT_THROW(MappedBuffer::Map(Duplicate(buffer->Descriptor()), 8192), WireError);  // beyond its size
  EXPECT_THROW(MappedBuffer::Map(Duplicate(buffer->Descriptor()), 0), WireError);
  EXPECT_THROW(MappedBuffer::Map(Duplicate(buffer->Descriptor()), MappedBuffer::kMaxCapacity + 1), WireError);

  UniqueFd unsealed(::memfd_create("unsealed", MFD_CLOEXEC));
  ASSERT_EQ(::ftruncate(unsealed.Get(), 4096), 0);
  EXPECT_THROW(MappedBuffer::Map(std::move(unsealed), 4096), WireError);

  int pipeFds[2];
  ASSERT_EQ(::pipe2(pipeFds, O_CLOEXEC), 0);
  UniqueFd writeEnd(pipeFds[1]);
  EXPECT_THROW(MappedBuffer::Map(UniqueFd(pipeFds[0]), 4096), WireError);
}

TEST(SharedMemoryTest, ChannelCarriesMessagesWithDescriptors) {
  auto [a, b] = MakeSocketPair();
  Channel sender(std::move(a));
  Channel receiver(std::move(b));
  auto buffer = SharedBuffer::Create(100);
  buffer->Data()[0] = 42;

  Message message;
  message.kind = MessageKind::kRequest;
  message.id = 9;
  message.op = "ping";
  message.body = MakeAny(AnyObject{{"n", MakeAny(1)}});
  message.fds.push_back(Duplicate(buffer->Descriptor()));
  sender.Send(message);
  Message plain;
  plain.op = "after";
  sender.Send(plain);

  auto received = receiver.Receive();
  ASSERT_TRUE(received.has_value());
  EXPECT_EQ(received->op, "ping");
  ASSERT_EQ(received->fds.size(), 1u);
  EXPECT_TRUE(::fcntl(received->fds[0].Get(), F_GETFD) & FD_CLOEXEC);
  auto mapped = MappedBuffer::Map(std::move(received->fds[0]), buffer->Capacity());
  EXPECT_EQ(mapped->Data()[0], 42);
  auto after = receiver.Receive();
  ASSERT_TRUE(after.has_value());
  EXPECT_EQ(after->op, "after");
  EXPECT_TRUE(after->fds.empty());
}

TEST(SharedMemoryTest, LargeMessagesArriveWholeAcrossManyReads) {
  auto [a, b] = MakeSocketPair();
  Channel sender(std::move(a));
  Channel receiver(std::move(b));
  Message message;
  message.body = MakeAny(std::string(3u << 20, 'z'));
  std::thread writer([&] { sender.Send(message); });
  auto received = receiver.Receive();
  writer.join();
  ASSERT_TRUE(received.has_value());
  EXPECT_EQ(AsString(received->body).size(), 3u << 20);
}

TEST(SharedMemoryTest, ReceiveEndsWhenThePeerCloses) {
  auto [a, b] = MakeSocketPair();
  Channel receiver(std::move(b));
  a.Reset();
  EXPECT_FALSE(receiver.Receive().has_value());
}

TEST(SharedMemoryTest, GarbageOnTheSocketIsAProtocolError) {
  auto [a, b] = MakeSocketPair();
  Channel receiver(std::move(b));
  const char garbage[] = "this is not a frame of ours";
  ASSERT_GT(::write(a.Get(), garbage, sizeof(garbage)), 0);
  EXPECT_THROW(receiver.Receive(), WireError);
}

}  // namespace
}  // namespace tether::wire
