#include "TestInterfaces.h"

#include <kilncore/classref/InterfaceName.h>
#include <kilncore/classref/UnknownBase.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using ClassRefTest::AlphaBeta;
using ClassRefTest::IAlpha;
using ClassRefTest::IBeta;
using kilncore::classref::UnknownBase;

TEST(UnknownBaseTest, InterfacesShareOneUnknownBase) {
  auto object = std::make_shared<AlphaBeta>();
  UnknownBase* viaAlpha = static_cast<IAlpha*>(object.get());
  UnknownBase* viaBeta = static_cast<IBeta*>(object.get());
  EXPECT_EQ(viaAlpha, viaBeta);
}

TEST(UnknownBaseTest, QueryMapAnswersWholeNamesOnly) {
  auto object = std::make_shared<AlphaBeta>();
  UnknownBase& base = *object;
  EXPECT_EQ(base.QueryInterface("ClassRefTest::IAlpha"), static_cast<void*>(static_cast<IAlpha*>(object.get())));
  EXPECT_EQ(base.QueryInterface("ClassRefTest::IBeta"), static_cast<void*>(static_cast<IBeta*>(object.get())));
  EXPECT_EQ(base.QueryInterface("ClassRefTest::AlphaBeta"), static_cast<void*>(object.get()));
  // Same length, other text; a prefix; a longer name; nothing.
  EXPECT_EQ(base.QueryInterface("ClassRefTest::IGamma"), nullptr);
  EXPECT_EQ(base.QueryInterface("ClassRefTest::IAlph"), nullptr);
  EXPECT_EQ(base.QueryInterface("ClassRefTest::IAlphaX"), nullptr);
  EXPECT_EQ(base.QueryInterface("IAlpha"), nullptr);
  EXPECT_EQ(base.QueryInterface(""), nullptr);
}

TEST(UnknownBaseTest, GetSharedFromThisSharesTheOwner) {
  auto object = std::make_shared<AlphaBeta>();
  std::shared_ptr<UnknownBase> shared = object->GetSharedFromThis();
  EXPECT_EQ(shared.get(), static_cast<UnknownBase*>(object.get()));
  EXPECT_EQ(object.use_count(), 2);
  const AlphaBeta& constObject = *object;
  EXPECT_EQ(constObject.GetSharedFromThis().get(), shared.get());
}

TEST(UnknownBaseTest, GetSharedFromThisOfAnUnownedObjectThrows) {
  AlphaBeta standalone;
  EXPECT_THROW(standalone.GetSharedFromThis(), std::bad_weak_ptr);
  EXPECT_TRUE(standalone.GetWeakReference().expired());
}

TEST(UnknownBaseTest, WeakReferenceExpiresWithTheObject) {
  auto object = std::make_shared<AlphaBeta>();
  std::weak_ptr<UnknownBase> weak = object->GetWeakReference();
  EXPECT_FALSE(weak.expired());
  object.reset();
  EXPECT_TRUE(weak.expired());
}

}  // namespace
