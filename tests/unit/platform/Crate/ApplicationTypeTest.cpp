#include <Crate/ApplicationType.h>

#include <gtest/gtest.h>

#include <thread>

namespace {

TEST(ApplicationTypeTest, ReferenceHostStartsAsUnknown) {
  EXPECT_EQ(Crate::GetApplicationType(), Crate::kApplicationType_Unknown);
}

TEST(ApplicationTypeTest, ScopedTypeIsAnsweredAndThenRestored) {
  {
    const Crate::ScopedApplicationType playing(11);
    EXPECT_EQ(Crate::GetApplicationType(), 11);
    {
      const Crate::ScopedApplicationType nested(Crate::kApplicationType_Tolmen);
      EXPECT_EQ(Crate::GetApplicationType(), 5);
    }
    EXPECT_EQ(Crate::GetApplicationType(), 11);
  }
  EXPECT_EQ(Crate::GetApplicationType(), Crate::kApplicationType_Unknown);
}

TEST(ApplicationTypeTest, SetTypeIsSeenFromOtherThreads) {
  Crate::SetApplicationType(Crate::kApplicationType_Marl);
  Crate::ApplicationType seen = Crate::kApplicationType_Unknown;
  std::thread reader([&seen] { seen = Crate::GetApplicationType(); });
  reader.join();
  EXPECT_EQ(seen, 1);
  Crate::SetApplicationType(Crate::kApplicationType_Unknown);
}

}  // namespace
