// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/message_head.h"

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/GiopStream.h"

namespace Corvanta {
namespace {

using Test::GiopStream;
using Test::Wire;

/// Every version, in both byte orders.
class MessageHead : public testing::TestWithParam<std::tuple<unsigned, bool>> {
 protected:
  unsigned Minor() const { return std::get<0>(GetParam()); }
  bool IsLittleEndian() const { return std::get<1>(GetParam()); }
  GiopStream Giop() const { return GiopStream(Minor(), IsLittleEndian()); }

  MessageHeader Header(MessageKind kind) const {
    MessageHeader header;
    header.kind = kind;
    header.minor = static_cast<std::uint8_t>(Minor());
    header.little_endian = IsLittleEndian();
    return header;
  }
};

TEST_P(MessageHead, AHeaderIsReadAsItWasWritten) {
  MessageHeader header = Header(MessageKind::Reply);
  header.size = 70'000;
  std::vector<char> bytes(kMessageHeader);
  WriteMessageHeader(header, bytes.data());
  const MessageHeader read = ReadMessageHeader(bytes);
  EXPECT_EQ(read.kind, MessageKind::Reply);
  EXPECT_EQ(read.minor, Minor());
  EXPECT_EQ(read.little_endian, IsLittleEndian());
  EXPECT_FALSE(read.more_fragments);
  EXPECT_EQ(read.size, 70'000u);
}

TEST_P(MessageHead, OfARequestSaysWhatIsCalled) {
  for (const bool answered : {true, false}) {
    const std::string message = Giop().Request(7, "Publish", "arguments", false, answered);
    RequestHead head;
    ASSERT_EQ(ReadRequestHead(message, ReadMessageHeader(message), head), Reading::Complete);
    EXPECT_EQ(head.id, 7u);
    EXPECT_EQ(head.operation, "Publish");
    EXPECT_EQ(head.answered, answered);
    EXPECT_EQ(head.end, Giop().Request(7, "Publish").size()) << "arguments follow";
  }
}

TEST_P(MessageHead, OfAReplySaysHowItWent) {
  const std::string message = Giop().Reply(9, "results", false, 3);
  ReplyHead head;
  ASSERT_EQ(ReadReplyHead(message, ReadMessageHeader(message), head), Reading::Complete);
  EXPECT_EQ(head.id, 9u);
  EXPECT_EQ(head.status, 3u);
  EXPECT_EQ(head.end, Giop().Reply(9).size()) << "results follow";
}

TEST_P(MessageHead, ThatHasComeInPartIsIncomplete) {
  const std::string request = Giop().Request(7, "Publish"), reply = Giop().Reply(7);
  RequestHead request_head;
  for (std::size_t size = kMessageHeader; size < request.size(); ++size)
    EXPECT_EQ(ReadRequestHead({request.data(), size}, ReadMessageHeader(request), request_head), Reading::Incomplete);
  ReplyHead reply_head;
  for (std::size_t size = kMessageHeader; size < reply.size(); ++size)
    EXPECT_EQ(ReadReplyHead({reply.data(), size}, ReadMessageHeader(reply), reply_head), Reading::Incomplete);
}

TEST_P(MessageHead, LongerThanItsMessageIsUnlawful) {
  std::string message = Giop().Request(7, "Publish");
  MessageHeader header = ReadMessageHeader(message);
  header.size = message.size() - 1;
  RequestHead head;
  EXPECT_THROW(ReadRequestHead(message, header, head), UnlawfulMessage);
}

TEST_P(MessageHead, AnIdBehindTheHeaderIsFoundThere) {
  std::vector<std::string> messages{Giop().Cancel(77), Giop().LocateRequest(77)};
  if (Minor() == 2)
    messages.insert(messages.end(), {Giop().Request(77, "op"), Giop().Reply(77), Giop().Fragment(77, "", false)});
  for (const std::string& message : messages) EXPECT_EQ(IdOf(message, ReadMessageHeader(message)), 77u);
}

TEST_P(MessageHead, WhatStandsAtFixedPlacesIsKnownByKindAndVersion) {
  struct Row {
    MessageKind kind;
    std::size_t old_end;  ///< in versions 1.0 and 1.1
    std::size_t end;      ///< in version 1.2
  };
  const Row kRows[] = {
      {MessageKind::Request, 12, 22},       {MessageKind::Reply, 12, 20},
      {MessageKind::CancelRequest, 16, 16}, {MessageKind::LocateRequest, 12, 18},
      {MessageKind::LocateReply, 12, 20},   {MessageKind::Fragment, 12, 16},
      {MessageKind::MessageError, 12, 12},  {MessageKind::CloseConnection, 12, 12},
  };
  for (const Row& row : kRows)
    EXPECT_EQ(EndOfFixed(Header(row.kind)), Minor() == 2 ? row.end : row.old_end) << NameOf(row.kind);
}

TEST_P(MessageHead, ATargetMayBeNamedByItsKeyAlone) {
  for (std::string message : {Giop().Request(1, "op"), Giop().LocateRequest(1)}) {
    const MessageHeader header = ReadMessageHeader(message);
    EXPECT_NO_THROW(RequireKey(message, header));
    if (Minor() < 2) continue;  // these know no other way
    const std::size_t place = header.kind == MessageKind::Request ? 20 : 16;
    message[place] = 1;
    EXPECT_THROW(RequireKey(message, header), UnlawfulMessage);
    EXPECT_NO_THROW(RequireKey(std::span<const char>(message).first(place), header)) << "it has not come yet";
  }
}

TEST_P(MessageHead, AMarshalExceptionIsALawfulAnswer) {
  MessageHeader header = Header(MessageKind::Reply);
  std::vector<char> bytes = MarshalException(header, 5);
  header.size = bytes.size();
  WriteMessageHeader(header, bytes.data());
  ReplyHead head;
  ASSERT_EQ(ReadReplyHead(bytes, ReadMessageHeader(bytes), head), Reading::Complete);
  EXPECT_EQ(head.id, 5u);
  EXPECT_EQ(head.status, 2u) << "a system exception";
  const std::string results(bytes.begin() + static_cast<std::ptrdiff_t>(head.end), bytes.end());
  const Wire text = Wire(IsLittleEndian()).Text("IDL:omg.org/CORBA/MARSHAL:1.0");
  ASSERT_EQ(results.substr(0, text.Bytes().size()), text.Bytes());
  EXPECT_EQ(results.size(), (text.Bytes().size() + 3) / 4 * 4 + 8) << "two numbers follow";
  EXPECT_EQ(results.substr(results.size() - 8), std::string(8, '\0'));
}

INSTANTIATE_TEST_SUITE_P(Versions, MessageHead, testing::Combine(testing::Values(0u, 1u, 2u), testing::Bool()));

TEST(MessageHeads, SomeAnswersSendTheCallElsewhere) {
  for (std::uint32_t status = 0; status < 8; ++status) {
    EXPECT_EQ(SendsElsewhere(MessageKind::Reply, status), status >= 3 && status <= 5) << status;
    EXPECT_EQ(SendsElsewhere(MessageKind::LocateReply, status), status == 2 || status == 3 || status == 5) << status;
    EXPECT_FALSE(SendsElsewhere(MessageKind::Request, status)) << status;
  }
}

TEST(MessageHeads, RequestsAndAnswersAreTwoKindsEach) {
  for (int number = 0; number <= static_cast<int>(MessageKind::Fragment); ++number) {
    const auto kind = static_cast<MessageKind>(number);
    EXPECT_EQ(IsRequest(kind), kind == MessageKind::Request || kind == MessageKind::LocateRequest) << NameOf(kind);
    EXPECT_EQ(IsAnswer(kind), kind == MessageKind::Reply || kind == MessageKind::LocateReply) << NameOf(kind);
  }
}

}  // namespace
}  // namespace Corvanta
