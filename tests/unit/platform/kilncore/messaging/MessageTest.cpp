#include "TestMessages.h"

#include <kilncore/messaging/Message.h>

#include <gtest/gtest.h>

#include <memory>

namespace {

using kilncore::messaging::HashMessageTypeNameToMessageID;
using kilncore::messaging::Message;
using kilncore::messaging::MessageCast;
using MessagingTest::EmptyMessage;
using MessagingTest::TextMessage;

TEST(HashMessageTypeNameToMessageIDTest, IsStableAndDistinguishesNames) {
  const auto a = HashMessageTypeNameToMessageID("KL::MediaInfoChangedMessage");
  EXPECT_EQ(a, HashMessageTypeNameToMessageID("KL::MediaInfoChangedMessage"));
  EXPECT_NE(a, HashMessageTypeNameToMessageID("KL::MediaInfoDeletedMessage"));
  EXPECT_NE(a, 0u);
}

TEST(HashMessageTypeNameToMessageIDTest, IsTheSameValueInEveryRun) {
  // A fixed value: identifiers must agree between processes and runs.
  EXPECT_EQ(HashMessageTypeNameToMessageID(""), 0x02CC5D05u);
}

TEST(HashMessageTypeNameToMessageIDTest, NullNameIsHashedAsEmpty) {
  EXPECT_EQ(HashMessageTypeNameToMessageID(nullptr), HashMessageTypeNameToMessageID(""));
  EXPECT_NE(HashMessageTypeNameToMessageID(nullptr), 0u);
}

TEST(MessageImplTest, ClassIdentifierIsTheHashOfTheQualifiedName) {
  EXPECT_EQ(TextMessage::GetClassMessageID(),
            HashMessageTypeNameToMessageID("MessagingTest::TextMessage"));
  TextMessage message("x");
  EXPECT_EQ(message.GetMessageID(), TextMessage::GetClassMessageID());
  EXPECT_NE(EmptyMessage().GetMessageID(), message.GetMessageID());
}

TEST(MessageImplTest, CloneIsADeepCopyOfTheMostDerivedClass) {
  TextMessage original("hello", {1, 2, 3});
  std::shared_ptr<Message> copy = original.Clone();
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->GetMessageID(), original.GetMessageID());
  const TextMessage* text = MessageCast<TextMessage>(*copy);
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->mText, "hello");
  EXPECT_EQ(text->mValues, (std::vector<int>{1, 2, 3}));
  original.mText = "changed";
  original.mValues.clear();
  EXPECT_EQ(text->mText, "hello");
  EXPECT_EQ(text->mValues.size(), 3u);
  EXPECT_EQ(MessageCast<EmptyMessage>(*copy), nullptr);
}

}  // namespace
