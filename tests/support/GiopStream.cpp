// SPDX-License-Identifier: Apache-2.0
#include "tests/support/GiopStream.h"

namespace Corvanta::Test {
namespace {

constexpr char kKey[] = "KEY!";

/// What a head of version 1.2 is followed by, when anything follows.
void AlignBody(Wire& body, unsigned minor, bool anything) {
  if (minor < 2 || !anything) return;
  while ((body.Bytes().size() + kMessageHeader) % 8 != 0) body.Octet(0xee);
}

}  // namespace

std::string GiopStream::Message(MessageKind kind, const std::string& body, bool more, std::int64_t claimed) const {
  Wire wire(little_endian_);
  wire.Raw("GIOP").Octet(1).Octet(static_cast<std::uint8_t>(minor_));
  wire.Octet(static_cast<std::uint8_t>((little_endian_ ? 1 : 0) | (more ? 2 : 0)))
      .Octet(static_cast<std::uint8_t>(kind));
  wire.Ulong(claimed < 0 ? static_cast<std::uint32_t>(body.size()) : static_cast<std::uint32_t>(claimed));
  return wire.Bytes() + body;
}

std::string GiopStream::Request(std::uint32_t id, const std::string& operation, const std::string& arguments, bool more,
                                bool answered) const {
  Wire body = Body();
  if (minor_ < 2) body.Ulong(0);  // no contexts
  body.Ulong(id).Octet(answered ? (minor_ == 2 ? 3 : 1) : 0);
  if (minor_ > 0) body.Octet(0).Octet(0).Octet(0);
  if (minor_ == 2) body.Ushort(0);  // by key
  body.Align(4);
  body.Ulong(4).Raw(kKey).Text(operation);
  body.Align(4);
  body.Ulong(0);  // no contexts; no principal
  AlignBody(body, minor_, !arguments.empty() || more);
  return Message(MessageKind::Request, body.Raw(arguments).Bytes(), more);
}

std::string GiopStream::Reply(std::uint32_t id, const std::string& results, bool more, std::uint32_t status) const {
  Wire body = Body();
  if (minor_ < 2) body.Ulong(0);
  body.Ulong(id).Ulong(status);
  if (minor_ == 2) body.Ulong(0);
  AlignBody(body, minor_, !results.empty() || more);
  return Message(MessageKind::Reply, body.Raw(results).Bytes(), more);
}

std::string GiopStream::Fragment(std::uint32_t id, const std::string& bytes, bool more) const {
  Wire body = Body();
  if (minor_ == 2) body.Ulong(id);
  return Message(MessageKind::Fragment, body.Raw(bytes).Bytes(), more);
}

std::string GiopStream::Cancel(std::uint32_t id) const {
  return Message(MessageKind::CancelRequest, Body().Ulong(id).Bytes());
}

std::string GiopStream::LocateRequest(std::uint32_t id) const {
  Wire body = Body();
  body.Ulong(id);
  if (minor_ == 2) body.Ushort(0);
  body.Align(4);
  return Message(MessageKind::LocateRequest, body.Ulong(4).Raw(kKey).Bytes());
}

}  // namespace Corvanta::Test
