// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/WireAttacks.h"

namespace Lumenar::Test {
namespace {

using namespace Corvanta::Test;

constexpr std::uint32_t kNoRequest = 0xffffffff;
constexpr std::uint32_t kMany = 79'000'000;

/// The body of a message that begins with the number of its request.
std::string Numbered(std::uint32_t id, const std::string& rest = {}) { return Wire().Ulong(id).Bytes() + rest; }

std::string Fragment(std::uint32_t id, bool more, const std::string& rest) {
  return RawClient::Message(kFragment, more ? kFragmentsFollow : 0, Numbered(id, rest));
}

/// The arguments of _is_a, which every object has.
Wire TypeName(std::size_t length = 4) { return Wire().Text(std::string(length, 'x')); }

/// The first message of a request whose arguments are to follow.
std::string Begun(RawClient& client) { return client.Request("_is_a", TypeName(), true); }

std::string LastFragmentTwice(RawClient& client) {
  const std::string begun = Begun(client);
  const std::string last = Fragment(client.LastId(), false, TypeName().Bytes());
  return begun + last + last;
}

std::string FragmentOfNone(RawClient&) { return Fragment(kNoRequest, false, "abcd"); }

std::string BegunThenCancelled(RawClient& client) {
  return Begun(client) + RawClient::Message(kCancelRequest, 0, Numbered(client.LastId()));
}

std::string BegunTwice(RawClient& client) {
  const std::string begun = Begun(client);
  return begun + begun + Fragment(client.LastId(), false, TypeName().Bytes());
}

std::string CancelOfNone(RawClient&) { return RawClient::Message(kCancelRequest, 0, Numbered(kNoRequest)); }

std::string OldFragments(RawClient& client) { return client.RequestInOldFragments("_is_a", TypeName(4 * 2000), 2048); }

/// More than _is_a may have.
std::string LargeOldFragments(RawClient& client) {
  return client.RequestInOldFragments("_is_a", TypeName(4 * 8000), 8192);
}

std::string Answer(RawClient&) { return RawClient::Message(kReply, 0, Numbered(7, std::string(8, '\0'))); }

std::string Location(RawClient&) { return RawClient::Message(kLocateReply, 0, Numbered(7, std::string(4, '\0'))); }

std::string Error(RawClient&) { return RawClient::Message(kMessageError, 0, {}); }

std::string Goodbye(RawClient& client) {
  return RawClient::Message(kCloseConnection, 0, {}) + client.Request("_is_a", TypeName());
}

/// A header alone, which says what comes.
std::string HeaderOf(int kind, int flags, std::uint32_t size, int minor_version = 2) {
  std::string header = RawClient::Message(kind, flags, {}, minor_version);
  return header.replace(8, 4, Wire().Ulong(size).Bytes());
}

std::string LargerThanAnything(RawClient&) { return HeaderOf(kRequest, 0, 0xfffffff0) + "abcd"; }

std::string UnknownVersion(RawClient&) { return HeaderOf(kRequest, 0, 64, 9) + std::string(64, 'x'); }

std::string UnknownKind(RawClient&) { return HeaderOf(8, 0, 64) + std::string(64, 'x'); }

std::string TooShortForItsNumber(RawClient&) { return HeaderOf(kFragment, 0, 2) + "ab"; }

std::string EmptyFragmentsWithoutEnd(RawClient& client) {
  std::string bytes = Begun(client);
  for (int i = 0; i < 64; ++i) bytes += Fragment(client.LastId(), true, {});
  return bytes;
}

}  // namespace

std::vector<WireAttack> WireAttacks() {
  using enum WireAttack::Outcome;
  return {
      {"last fragment twice", Closed, "", LastFragmentTwice},
      {"cancel of no request", Dropped, "", CancelOfNone},
      {"cancel of half a request", Dropped, "", BegunThenCancelled},
      {"cancel of half a request, then the end", Ends, "", BegunThenCancelled},
      {"old fragments", Answered, "ok", OldFragments},
      {"large old fragments", Answered, "MARSHAL", LargeOldFragments},
      {"fragment of no request", Closed, "", FragmentOfNone},
      {"first fragment twice", Closed, "", BegunTwice},
      {"empty fragments", Ends, "", EmptyFragmentsWithoutEnd},
      {"answer to a server", Closed, "", Answer},
      {"location to a server", Closed, "", Location},
      {"message error", Closed, "", Error},
      {"request behind a goodbye", Closed, "", Goodbye},
      {"size of 4 GB", Ends, "", LargerThanAnything},
      {"unknown version", Closed, "", UnknownVersion},
      {"unknown kind", Closed, "", UnknownKind},
      {"no room for a number", Closed, "", TooShortForItsNumber},
  };
}

std::string Unended(RawClient& client, const std::string& operation, const Wire& arguments) {
  constexpr std::size_t kFlags = 6;
  std::string request = client.Request(operation, Wire(arguments).Align(8));
  request[kFlags] = static_cast<char>(request[kFlags] | kFragmentsFollow);
  return request;
}

WireAttack LyingFragments(const std::string& name, const std::string& operation, const Wire& arguments) {
  const auto bytes = [=](RawClient& client) {
    const std::string begun = Unended(client, operation, arguments);
    return begun + Fragment(client.LastId(), false, {});
  };
  return {name, WireAttack::Answered, "MARSHAL", bytes};
}

Wire ReferenceOfManyProfiles() { return Wire().Ulong(1).Text("IDL:X:1.0").Align(4).Ulong(kMany).Ulong(0).Ulong(0); }

Wire ManyReferences() { return Wire().Ulong(kMany).Ulong(1).Octet(0).Align(4).Ulong(0); }

Wire SubscriberOfManyProfiles() {
  return Wire().Text("TOPIC").Align(4).Text("IDL:X:1.0").Align(4).Ulong(kMany).Ulong(0).Ulong(0);
}

}  // namespace Lumenar::Test
