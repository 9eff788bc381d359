#include <KL/IVideoStream.h>
#include <KL/MediaFactory.h>

#include <kilncore/classref/InterfaceRef.h>

#include <gtest/gtest.h>

#include <memory>

namespace {

using kilncore::classref::InterfaceRef;

TEST(MediaFactoryTest, NullSourceGivesNoStreamAndLeavesTheOutputAlone) {
  InterfaceRef<KL::IVideoStream> stream;
  EXPECT_EQ(KL::MediaFactory::CreateGeneratedVideoStream(nullptr, stream), KL::MediaFactory::kNoSource);
  EXPECT_FALSE(stream);
}

}  // namespace
