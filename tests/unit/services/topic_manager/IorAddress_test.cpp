#include "services/topic_manager/IorAddress.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace Lumenar::Test {
namespace {

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

const std::string kBigHost("\x00\x01\x02\x00\x00\x00\x00\x09""10.0.0.7\x00\x00\x12\x34", 20);
const std::string kLittleHost("\x01\x01\x02\x00\x09\x00\x00\x00""10.0.0.7\x00\x00\x34\x12", 20);

TEST(IorAddress, IsHostAndPortOfTheTcpProfile) {
  EXPECT_EQ(IorAddress(Ior(Profile(0, kBigHost), 1)), "10.0.0.7:4660");
  EXPECT_EQ(IorAddress(Ior(Profile(0, kLittleHost), 1)), "10.0.0.7:4660");
}

TEST(IorAddress, OtherProfilesArePassedOver) {
  const std::string other("\x00\x01\x02\x00\x00\x00\x00\x09""10.0.0.8\x00\x00\x12\x34", 20);
  EXPECT_EQ(IorAddress(Ior(Profile(1, other) + Profile(0, kBigHost), 2)), "10.0.0.7:4660");
}

TEST(IorAddress, WhatIsNotSuchAReferenceStandsForItself) {
  const std::string whole = Ior(Profile(0, kBigHost), 1);
  for (const std::string& text :
       {std::string(), std::string("IOR:"), std::string("IOR:0"), std::string("IOR:zz"), std::string("corbaloc::1/A"),
        Ior("", 1), Ior(Profile(1, "x"), 1), Ior("", 0xffffffff)}) {
    EXPECT_EQ(IorAddress(text), text);
  }
  for (std::size_t length = 4; length + 1 < whole.size(); length += 2) {
    EXPECT_EQ(IorAddress(whole.substr(0, length)), whole.substr(0, length)) << length;
  }
}

}  // namespace
}  // namespace Lumenar::Test
