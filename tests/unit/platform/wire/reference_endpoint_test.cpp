// SPDX-License-Identifier: Apache-2.0
#include "platform/wire/reference_endpoint.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>

namespace Lumenar::Test {
namespace {

// Made from the layout in the standard by a program of its own, not by the code under test.
const std::string kLittleEndian =
    "IOR:010000000a00000049444c3a583a312e30000000010000000000000019000000010102000a0000003132372e302e302e31008c0a"
    "010000006b";
const std::string kBigEndian =
    "IOR:000000000000000a49444c3a583a312e3000000000000001000000000000001d000102000000000b7261636b2d372e6c61620000"
    "9c410000000000016b";
const std::string kSecondProfileOfOtherOrder =
    "IOR:000000000000000a49444c3a583a312e30000000000000020000000100000004000000010000000000000019010102000900000031"
    "302e302e302e380000ffff010000006b";
const std::string kNoInternetProfile = "IOR:010000000a00000049444c3a583a312e3000000001000000010000000400000000000001";

// As the ORB writes it: a process with a socket of its machine alone, and one that has an internet address besides.
const std::string kUnixAlone =
    "IOR:"
    "010000000a00000049444c3a783a312e300000000100000000000000750000000101020003000000766d000000000000010000007800000003"
    "0000"
    "0000000000080000000100000000545441010000001c0000000100000001000100010000000100010509010100010000000901010002545441"
    "1d0000000100000003000000766d00000d0000002f746d702f75782f642f733100";

std::string Hex(const std::string& bytes) {
  std::string hex;
  for (const char byte : bytes) hex += fmt::format("{:02x}", static_cast<unsigned char>(byte));
  return hex;
}

std::string Big(unsigned number) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift);
  return bytes;
}

std::string Profile(unsigned tag, const std::string& body) {
  std::string padded = Big(tag) + Big(static_cast<unsigned>(body.size())) + body;
  padded.resize((padded.size() + 3) / 4 * 4);
  return padded;
}

// Type "IDL:A:1.0", in the order of bytes of a big-endian process.
std::string Ior(const std::string& profiles, unsigned count) {
  return "IOR:" + Hex(std::string(4, '\0') + Big(10) + std::string("IDL:A:1.0\0\0\0", 12) + Big(count) + profiles);
}

const std::string kHost(
    "\x00\x01\x02\x00\x00\x00\x00\x09"
    "10.0.0.7\x00\x00\x12\x34",
    20);
const std::string kNoHost("\x00\x01\x02\x00\x00\x00\x00\x01\x00\x00\x12\x34", 12);
const std::string kHostWithLineEnd(
    "\x00\x01\x02\x00\x00\x00\x00\x09"
    "10.0.0.\n\x00\x00\x12\x34",
    20);
const std::string kNoPort(
    "\x00\x01\x02\x00\x00\x00\x00\x09"
    "10.0.0.8\x00\x00\x00\x00",
    20);

TEST(EndpointOf, ReadsBothByteOrdersAndTakesTheFirstInternetProfile) {
  EXPECT_EQ(EndpointOf(kLittleEndian), "127.0.0.1:2700");
  EXPECT_EQ(EndpointOf(kBigEndian), "rack-7.lab:40001");
  EXPECT_EQ(EndpointOf(kSecondProfileOfOtherOrder), "10.0.0.8:65535");
}

TEST(EndpointOf, NamesTheSocketOfAProcessThatHasNoInternetAddress) {
  EXPECT_EQ(EndpointOf(kUnixAlone), "unix:/tmp/ux/d/s1");
}

TEST(EndpointOf, PassesOverProfilesThatNameNone) {
  for (const std::string& useless : {Profile(1, kNoPort), Profile(0, kNoPort), Profile(0, kNoHost), Profile(0, ""),
                                     Profile(0, kHostWithLineEnd), Profile(0, kHost.substr(0, 10))}) {
    EXPECT_EQ(EndpointOf(Ior(useless + Profile(0, kHost), 2)), "10.0.0.7:4660") << Hex(useless);
    EXPECT_EQ(EndpointOf(Ior(useless, 1)), "") << Hex(useless);
  }
}

TEST(EndpointOf, IsEmptyWhereThereIsNone) {
  for (const std::string& text :
       {kNoInternetProfile, std::string(), std::string("IOR:"), std::string("IOR:0"), std::string("IOR:zz"),
        std::string("corbaloc::1.2.3.4:5/k"), kLittleEndian.substr(4), Ior("", 1), Ior("", 0xffffffff)}) {
    EXPECT_EQ(EndpointOf(text), "") << text;
  }
}

TEST(EndpointOf, IsEmptyForEveryTruncation) {
  const std::string whole = Ior(Profile(0, kHost), 1);
  for (std::size_t length = 0; length < whole.size(); ++length)
    EXPECT_EQ(EndpointOf(whole.substr(0, length)), "") << length;
}

/// What kLittleEndian means when one of its bytes is another one. Nothing where a length of text is what changed: then
/// other bytes are taken for host and port.
std::optional<std::string> MeaningWith(std::size_t place, unsigned char byte) {
  const std::string unchanged = "127.0.0.1:2700";
  const auto within = [place](std::size_t first, std::size_t last) { return first <= place && place <= last; };
  if (within(4, 7) || within(36, 39)) return std::nullopt;                // lengths of type and host
  if (place == 0 || place == 32) return byte != 0 ? unchanged : "";       // orders of bytes
  if (within(20, 23)) return place == 20 && byte == 0 ? "" : unchanged;   // number of profiles: the first counts
  if (within(24, 27)) return "";                                          // kind of profile
  if (place == 28) return byte >= 0x14 && byte <= 0x19 ? unchanged : "";  // length of profile: up to the port at least
  if (within(29, 31)) return "";
  if (within(40, 48)) {  // host
    std::string host = "127.0.0.1";
    host[place - 40] = static_cast<char>(byte);
    return byte < 0x20 || byte == 0x7f ? "" : host + ":2700";
  }
  if (place == 50) return fmt::format("127.0.0.1:{}", 0x0a00 + byte);  // port
  if (place == 51) return fmt::format("127.0.0.1:{}", 256 * byte + 0x8c);
  return unchanged;  // type, versions, ends of texts, gaps, the object's key
}

bool IsPrintable(const std::string& text) {
  return std::none_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; });
}

TEST(EndpointOf, AChangedDigitChangesWhatStandsThereAlone) {
  constexpr std::size_t kPrefix = 4;  // "IOR:"
  for (std::size_t i = kPrefix; i < kLittleEndian.size(); ++i) {
    for (const char digit : std::string("0123456789abcdef")) {
      std::string changed = kLittleEndian;
      changed[i] = digit;
      if (changed == kLittleEndian) continue;
      const std::size_t place = (i - kPrefix) / 2;
      const auto byte = static_cast<unsigned char>(std::stoul(changed.substr(kPrefix + 2 * place, 2), nullptr, 16));
      const std::string found = EndpointOf(changed);
      EXPECT_EQ(found, MeaningWith(place, byte).value_or(found)) << changed;
      EXPECT_TRUE(IsPrintable(found)) << changed;
    }
  }
}

TEST(EndpointOf, IsEmptyForEveryDigitThatIsNone) {
  for (std::size_t i = 0; i < kLittleEndian.size(); ++i) {
    std::string changed = kLittleEndian;
    changed[i] = 'g';
    EXPECT_EQ(EndpointOf(changed), "") << changed;
  }
}

}  // namespace
}  // namespace Lumenar::Test
