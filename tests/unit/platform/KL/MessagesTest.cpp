#include <KL/MediaInfoChangedMessage.h>
#include <KL/MediaInfoDeletedMessage.h>
#include <KL/OverrideReadOnlyPropertyWarningMessage.h>

#include <kilncore/messaging/Message.h>

#include <gtest/gtest.h>

namespace {

using kilncore::messaging::HashMessageTypeNameToMessageID;
using kilncore::messaging::MessageCast;

TEST(KLMessagesTest, IdentifiersAreTheHashesOfTheQualifiedNames) {
  EXPECT_EQ(KL::MediaInfoChangedMessage().GetMessageID(),
            HashMessageTypeNameToMessageID("KL::MediaInfoChangedMessage"));
  EXPECT_EQ(KL::MediaInfoDeletedMessage().GetMessageID(),
            HashMessageTypeNameToMessageID("KL::MediaInfoDeletedMessage"));
  EXPECT_EQ(KL::OverrideReadOnlyPropertyWarningMessage().GetMessageID(),
            HashMessageTypeNameToMessageID("KL::OverrideReadOnlyPropertyWarningMessage"));
}

TEST(KLMessagesTest, ChangedAndDeletedAreTellableApart) {
  EXPECT_NE(KL::MediaInfoChangedMessage::GetClassMessageID(), KL::MediaInfoDeletedMessage::GetClassMessageID());
  const KL::MediaInfoChangedMessage changed;
  EXPECT_NE(MessageCast<KL::MediaInfoChangedMessage>(changed), nullptr);
  EXPECT_EQ(MessageCast<KL::MediaInfoDeletedMessage>(changed), nullptr);
}

TEST(KLMessagesTest, CloneKeepsTheClass) {
  const KL::MediaInfoDeletedMessage deleted;
  const auto copy = deleted.Clone();
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(MessageCast<KL::MediaInfoDeletedMessage>(*copy), nullptr);
  EXPECT_EQ(copy->GetMessageID(), deleted.GetMessageID());
}

TEST(KLMessagesTest, ReadOnlyWarningCarriesItsKeyThroughClone) {
  const KL::OverrideReadOnlyPropertyWarningMessage warning(kilncore::utility::ImmutableString("Marked"));
  const auto copy = warning.Clone();
  const auto* typed = MessageCast<KL::OverrideReadOnlyPropertyWarningMessage>(*copy);
  ASSERT_NE(typed, nullptr);
  EXPECT_EQ(typed->GetKey(), kilncore::utility::ImmutableString("Marked"));
  EXPECT_TRUE(KL::OverrideReadOnlyPropertyWarningMessage().GetKey().empty());
}

}  // namespace
