#include "TestInterfaces.h"

#include <kilncore/classref/ClassFactory.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/utility/Guid.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using ClassRefTest::AlphaBeta;
using ClassRefTest::IAlpha;
using ClassRefTest::IBeta;
using kilncore::classref::ClassFactory;
using kilncore::classref::CreateClassInstanceRef;
using kilncore::classref::InterfaceRef;
using kilncore::classref::UnknownBase;
using kilncore::utility::Guid;

TEST(ClassFactoryTest, UnregisteredClassGivesAnEmptyReference) {
  const Guid classID = Guid::CreateUnique();
  EXPECT_FALSE(ClassFactory::IsClassRegistered(classID));
  EXPECT_FALSE(CreateClassInstanceRef(classID));
  EXPECT_EQ(ClassFactory::GetClassName(classID), "");
}

TEST(ClassFactoryTest, RegisteredClassIsCreatedAndQueried) {
  const Guid classID = Guid::CreateUnique();
  ClassFactory::RegisterClass(classID, "kAlphaBetaClassID", "AlphaBeta",
                              [] { return std::make_shared<AlphaBeta>(); });
  EXPECT_TRUE(ClassFactory::IsClassRegistered(classID));
  EXPECT_EQ(ClassFactory::GetClassName(classID), "AlphaBeta");
  EXPECT_EQ(ClassFactory::GetClassIDName(classID), "kAlphaBetaClassID");

  InterfaceRef<UnknownBase> instance = CreateClassInstanceRef(classID);
  ASSERT_TRUE(instance);
  InterfaceRef<IBeta> beta = instance;
  ASSERT_TRUE(beta);
  EXPECT_EQ(beta->BetaValue(), 2);
  // Each call runs the creator again.
  EXPECT_FALSE(CreateClassInstanceRef(classID) == instance);
  EXPECT_TRUE(ClassFactory::UnregisterClass(classID));
  EXPECT_FALSE(ClassFactory::UnregisterClass(classID));
}

TEST(ClassFactoryTest, RegisteringAgainReplacesTheCreator) {
  const Guid classID = Guid::CreateUnique();
  auto first = std::make_shared<AlphaBeta>();
  auto second = std::make_shared<AlphaBeta>();
  ClassFactory::RegisterClass(classID, "id", "First", [first] { return first; });
  ClassFactory::RegisterClass(classID, "id", "Second", [second] { return second; });
  EXPECT_EQ(ClassFactory::GetClassName(classID), "Second");
  EXPECT_EQ(CreateClassInstanceRef(classID).Get(), static_cast<UnknownBase*>(second.get()));
  ClassFactory::UnregisterClass(classID);
}

TEST(ClassFactoryTest, CreatorReturningNothingGivesAnEmptyReference) {
  const Guid classID = Guid::CreateUnique();
  ClassFactory::RegisterClass(classID, "id", "Nothing",
                              [] { return InterfaceRef<UnknownBase>(); });
  EXPECT_FALSE(CreateClassInstanceRef(classID));
  ClassFactory::RegisterClass(classID, "id", "NoCreator", nullptr);
  EXPECT_FALSE(CreateClassInstanceRef(classID));
  ClassFactory::UnregisterClass(classID);
}

TEST(ClassFactoryTest, CreatorMayCreateOtherClasses) {
  const Guid inner = Guid::CreateUnique();
  const Guid outer = Guid::CreateUnique();
  ClassFactory::RegisterClass(inner, "inner", "Inner", [] { return std::make_shared<AlphaBeta>(); });
  ClassFactory::RegisterClass(outer, "outer", "Outer", [inner] { return CreateClassInstanceRef(inner); });
  EXPECT_TRUE(CreateClassInstanceRef(outer));
  ClassFactory::UnregisterClass(inner);
  ClassFactory::UnregisterClass(outer);
}

TEST(ClassFactoryTest, CreatorExceptionsReachTheCaller) {
  const Guid classID = Guid::CreateUnique();
  ClassFactory::RegisterClass(classID, "id", "Throws",
                              []() -> InterfaceRef<UnknownBase> { throw std::runtime_error("no"); });
  EXPECT_THROW(CreateClassInstanceRef(classID), std::runtime_error);
  ClassFactory::UnregisterClass(classID);
}

// A creator in the style of a module's: one object as long as anybody holds it.
TEST(ClassFactoryTest, SingletonCreatorHandsOutOneObjectWhileItLives) {
  const Guid classID = Guid::CreateUnique();
  auto mutex = std::make_shared<std::mutex>();
  auto weak = std::make_shared<std::weak_ptr<AlphaBeta>>();
  ClassFactory::RegisterClass(classID, "id", "Single", [mutex, weak]() -> InterfaceRef<UnknownBase> {
    std::lock_guard lock(*mutex);
    std::shared_ptr<AlphaBeta> object = weak->lock();
    if (!object) {
      object = std::make_shared<AlphaBeta>();
      *weak = object;
    }
    return object;
  });
  InterfaceRef<IAlpha> a = CreateClassInstanceRef(classID);
  InterfaceRef<IAlpha> b = CreateClassInstanceRef(classID);
  EXPECT_EQ(a.Get(), b.Get());
  a.Reset();
  b.Reset();
  EXPECT_TRUE(weak->expired());
  ClassFactory::UnregisterClass(classID);
}

TEST(ClassFactoryTest, ConcurrentRegistrationAndCreationIsSafe) {
  const Guid shared = Guid::CreateUnique();
  ClassFactory::RegisterClass(shared, "id", "Shared", [] { return std::make_shared<AlphaBeta>(); });
  std::atomic<int> created{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 200; ++i) {
        if (t % 2 == 0) {
          ClassFactory::RegisterClass(shared, "id", "Shared",
                                      [] { return std::make_shared<AlphaBeta>(); });
        } else if (CreateClassInstanceRef(shared)) {
          ++created;
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(created.load(), 400);
  ClassFactory::UnregisterClass(shared);
}

}  // namespace
