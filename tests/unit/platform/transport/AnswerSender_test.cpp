// SPDX-License-Identifier: Apache-2.0
#include "platform/transport/AnswerSender.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

#include "tests/support/GiopStream.h"

namespace Corvanta::Test {
namespace {

class AnswerSenderTest : public testing::Test {
 protected:
  AnswerSenderTest() {
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, sockets_) != 0) throw std::runtime_error("no sockets");
  }
  ~AnswerSenderTest() override {
    for (const int socket : sockets_) close(socket);
  }

  int sockets_[2];
  SendBudget budget_{1000};
  RefusalLog log_;
  AnswerSender sender_{{std::chrono::milliseconds(100), budget_, log_}, [] {}, [] { return std::string("peer"); }};
};

TEST_F(AnswerSenderTest, AnAnswerEndsWithItsLastByte) {
  EXPECT_TRUE(sender_.IsBetweenAnswers());
  const std::string answer = GiopStream().Reply(1, std::string(100, 'r'));
  std::size_t sent = 0;
  for (const std::size_t count : {answer.size() - 5, std::size_t{4}, std::size_t{1}}) {
    ASSERT_EQ(sender_.Send(sockets_[0], answer.data() + sent, count), static_cast<int>(count));
    sent += count;
    EXPECT_EQ(sender_.IsBetweenAnswers(), sent == answer.size()) << sent;
  }
}

TEST_F(AnswerSenderTest, OneInFragmentsEndsWithItsLastFragment) {
  for (const bool more : {true, false}) {
    const std::string part =
        more ? GiopStream().Reply(1, std::string(96, 'r'), true) : GiopStream().Fragment(1, "r", false);
    ASSERT_EQ(sender_.Send(sockets_[0], part.data(), part.size()), static_cast<int>(part.size()));
    EXPECT_EQ(sender_.IsBetweenAnswers(), !more);
  }
}

}  // namespace
}  // namespace Corvanta::Test
