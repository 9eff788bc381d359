#include "TestInterfaces.h"

#include <kilncore/classref/InterfaceName.h>
#include <kilncore/classref/InterfaceRef.h>
#include <kilncore/config/KilnException.h>

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace {

using kilncore::classref::InterfaceNameOf;
using kilncore::classref::InterfaceRef;
using kilncore::classref::UnknownBase;
using kilncore::config::NullPtrException;
using ClassRefTest::AlphaBeta;
using ClassRefTest::IAlpha;
using ClassRefTest::IBeta;
using ClassRefTest::IGamma;

TEST(InterfaceNameTest, IsTheFullyQualifiedTypeName) {
  EXPECT_EQ(InterfaceNameOf<IAlpha>(), "ClassRefTest::IAlpha");
  EXPECT_EQ(InterfaceNameOf<const IBeta>(), "ClassRefTest::IBeta");
  EXPECT_EQ(InterfaceNameOf<UnknownBase>(), "kilncore::classref::UnknownBase");
}

TEST(InterfaceRefTest, DefaultAndNullReferencesAreNull) {
  InterfaceRef<IAlpha> empty;
  InterfaceRef<IAlpha> null = nullptr;
  EXPECT_FALSE(empty);
  EXPECT_TRUE(empty.IsNull());
  EXPECT_EQ(empty.Get(), nullptr);
  EXPECT_EQ(empty.GetOwner(), nullptr);
  EXPECT_TRUE(null == nullptr);
  EXPECT_TRUE(empty == null);
}

TEST(InterfaceRefTest, DereferencingNullThrowsNullPtrExceptionWithTheTypeName) {
  InterfaceRef<IAlpha> empty;
  try {
    empty->AlphaValue();
    FAIL() << "no exception";
  } catch (const NullPtrException& e) {
    EXPECT_EQ(e.GetTypeName(), "ClassRefTest::IAlpha");
  }
  EXPECT_THROW((void)*empty, NullPtrException);
}

TEST(InterfaceRefTest, SharedObjectGivesItsInterface) {
  auto object = std::make_shared<AlphaBeta>();
  InterfaceRef<IAlpha> alpha = object;
  ASSERT_TRUE(alpha);
  EXPECT_EQ(alpha->AlphaValue(), 1);
  EXPECT_EQ((*alpha).AlphaValue(), 1);
  EXPECT_EQ(alpha.Get(), static_cast<IAlpha*>(object.get()));
  EXPECT_EQ(alpha.GetOwner().get(), static_cast<UnknownBase*>(object.get()));
  EXPECT_EQ(object.use_count(), 2);
}

TEST(InterfaceRefTest, ConversionToAnotherInterfaceQueriesTheObject) {
  InterfaceRef<IAlpha> alpha = std::make_shared<AlphaBeta>();
  InterfaceRef<IBeta> beta = alpha;
  ASSERT_TRUE(beta);
  EXPECT_EQ(beta->BetaValue(), 2);
  EXPECT_TRUE(beta == alpha);  // the same object, whichever interface
  InterfaceRef<IAlpha> back = beta;
  EXPECT_EQ(back.Get(), alpha.Get());
}

TEST(InterfaceRefTest, ConversionToAnInterfaceNotOfferedIsNull) {
  InterfaceRef<IAlpha> alpha = std::make_shared<AlphaBeta>();
  InterfaceRef<IGamma> gamma = alpha;
  EXPECT_FALSE(gamma);
  EXPECT_EQ(gamma.GetOwner(), nullptr);
  EXPECT_THROW(gamma->GammaValue(), NullPtrException);
}

TEST(InterfaceRefTest, ConversionOfNullIsNull) {
  InterfaceRef<IAlpha> alpha;
  InterfaceRef<IBeta> beta = alpha;
  InterfaceRef<UnknownBase> base = alpha;
  EXPECT_FALSE(beta);
  EXPECT_FALSE(base);
}

TEST(InterfaceRefTest, UnknownBaseConvertsToAnyOfferedInterface) {
  auto object = std::make_shared<AlphaBeta>();
  InterfaceRef<UnknownBase> base = object;
  InterfaceRef<IBeta> beta = base;
  ASSERT_TRUE(beta);
  EXPECT_EQ(beta.Get(), static_cast<IBeta*>(object.get()));
  // The concrete class answers to its own name as well.
  InterfaceRef<AlphaBeta> concrete = base;
  EXPECT_EQ(concrete.Get(), object.get());
}

TEST(InterfaceRefTest, UpcastNeedsNoQuery) {
  // IAlpha is a base of AlphaBeta, so conversion from AlphaBeta is a plain
  // pointer conversion and works even for names the object doesn't list.
  InterfaceRef<AlphaBeta> concrete = std::make_shared<AlphaBeta>();
  InterfaceRef<UnknownBase> base = concrete;
  EXPECT_EQ(base.Get(), static_cast<UnknownBase*>(concrete.Get()));
}

TEST(InterfaceRefTest, ObjectLivesAsLongAsAnyReference) {
  std::atomic<int> destroyed{0};
  InterfaceRef<IBeta> beta;
  {
    InterfaceRef<IAlpha> alpha = std::make_shared<AlphaBeta>(&destroyed);
    beta = alpha;
  }
  EXPECT_EQ(destroyed.load(), 0);
  EXPECT_EQ(beta->BetaValue(), 2);
  beta.Reset();
  EXPECT_EQ(destroyed.load(), 1);
}

TEST(InterfaceRefTest, MoveLeavesTheSourceNull) {
  InterfaceRef<IAlpha> alpha = std::make_shared<AlphaBeta>();
  InterfaceRef<IAlpha> moved = std::move(alpha);
  EXPECT_TRUE(moved);
  EXPECT_FALSE(alpha);  // NOLINT: checking the moved-from state on purpose
  InterfaceRef<IBeta> converted = std::move(moved);
  EXPECT_TRUE(converted);
  EXPECT_FALSE(moved);  // NOLINT
}

TEST(InterfaceRefTest, AliasingConstructorWithANullPartIsNull) {
  auto object = std::make_shared<AlphaBeta>();
  InterfaceRef<IAlpha> noInterface(object, nullptr);
  InterfaceRef<IAlpha> noOwner(nullptr, object.get());
  EXPECT_FALSE(noInterface);
  EXPECT_FALSE(noOwner);
  EXPECT_EQ(noInterface.GetOwner(), nullptr);
}

TEST(InterfaceRefTest, FromThisSharesTheExistingOwner) {
  auto object = std::make_shared<AlphaBeta>();
  auto ref = InterfaceRef<IBeta>::FromThis(object.get());
  EXPECT_EQ(ref.GetOwner().get(), static_cast<UnknownBase*>(object.get()));
  EXPECT_EQ(object.use_count(), 2);
}

TEST(InterfaceRefTest, AsSharedPtrSharesTheCount) {
  auto object = std::make_shared<AlphaBeta>();
  InterfaceRef<IBeta> beta = object;
  std::shared_ptr<IBeta> shared = beta.AsSharedPtr();
  EXPECT_EQ(shared.get(), beta.Get());
  EXPECT_EQ(object.use_count(), 3);
}

TEST(InterfaceRefTest, CopiesOnManyThreadsKeepTheCountRight) {
  std::atomic<int> destroyed{0};
  InterfaceRef<IAlpha> alpha = std::make_shared<AlphaBeta>(&destroyed);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([alpha] {
      for (int i = 0; i < 1000; ++i) {
        InterfaceRef<IBeta> beta = alpha;
        InterfaceRef<IAlpha> again = beta;
        EXPECT_EQ(again->AlphaValue(), 1);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  alpha.Reset();
  EXPECT_EQ(destroyed.load(), 1);
}

}  // namespace
