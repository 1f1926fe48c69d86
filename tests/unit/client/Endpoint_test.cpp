#include "client/Endpoint.h"

#include <gtest/gtest.h>

namespace Lumenar::Client {
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

TEST(EndpointOf, ReadsBothByteOrdersAndTakesTheFirstInternetProfile) {
  EXPECT_EQ(EndpointOf(kLittleEndian), "127.0.0.1:2700");
  EXPECT_EQ(EndpointOf(kBigEndian), "rack-7.lab:40001");
  EXPECT_EQ(EndpointOf(kSecondProfileOfOtherOrder), "10.0.0.8:65535");
}

TEST(EndpointOf, NamesNoEndpointWhereThereIsNone) {
  for (const std::string& text : {kNoInternetProfile, std::string(), std::string("IOR:"), std::string("IOR:zz"),
                                  std::string("corbaloc::1.2.3.4:5/k"), kLittleEndian.substr(4)}) {
    EXPECT_EQ(EndpointOf(text), "") << text;
  }
}

TEST(EndpointOf, SurvivesEveryTruncationAndEveryChangedByte) {
  for (std::size_t length = 0; length < kLittleEndian.size(); ++length) EndpointOf(kLittleEndian.substr(0, length));
  for (std::size_t i = 4; i < kLittleEndian.size(); ++i) {
    std::string changed = kLittleEndian;
    changed[i] = 'f';
    EndpointOf(changed);
  }
}

}  // namespace
}  // namespace Lumenar::Client
