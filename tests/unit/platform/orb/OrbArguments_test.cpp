// SPDX-License-Identifier: Apache-2.0
#include "platform/orb/OrbArguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>

namespace Corvanta {
namespace {

using testing::Contains;
using testing::Pair;

/// An environment variable for the length of a test.
class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) { setenv(name, value, 1); }
  ~Variable() { unsetenv(name_); }

 private:
  const char* name_;
};

template <int N>
OrbArguments Read(const char* const (&argv)[N]) {
  return OrbArguments::Read(N, argv);
}

class OrbArguments_ : public testing::Test {
 protected:
  void SetUp() override {
    unsetenv("LUMENAR_NAMING");
    unsetenv("LUMENAR_TRANSPORT_CONF");
    unsetenv("LUMENAR_NAMING_WAIT");
    unsetenv("LUMENAR_ENDPOINT");
  }
};

TEST_F(OrbArguments_, AnEnginesListGivesNamingServiceAndTransport) {
  const auto arguments = Read({"./common_math.engine", "-ORBInitRef", "NameService=corbaloc:iiop:box:2700/NameService",
                               "-ORBSvcConf", "/nonexistent/tcp.conf"});
  EXPECT_EQ(arguments.NamingAddress(), "box:2700");
  EXPECT_THAT(arguments.options, Contains(Pair("InitRef", "NameService=corbaloc:iiop:box:2700/NameService")));
  EXPECT_EQ(arguments.transport.call_timeout, std::chrono::seconds(5)) << "a missing file means the defaults";
}

TEST_F(OrbArguments_, TheEnvironmentSaysHowLongTheNamingServiceIsWaitedFor) {
  EXPECT_EQ(Read({"program"}).transport.naming_wait, std::chrono::seconds(0));
  {
    const Variable wait("LUMENAR_NAMING_WAIT", "90");
    EXPECT_EQ(Read({"program"}).transport.naming_wait, std::chrono::seconds(90));
  }
  for (const char* wrong : {"-1", "1s", " 1", "86401", "99999999999999999999"}) {
    const Variable wait("LUMENAR_NAMING_WAIT", wrong);
    EXPECT_THROW(Read({"program"}), std::invalid_argument) << wrong;
  }
}

TEST_F(OrbArguments_, AProcessMayHaveAnEndpointOfItsOwn) {
  {
    const Variable endpoint("LUMENAR_ENDPOINT", "giop:tcp:127.0.0.1:2701");
    EXPECT_THAT(Read({"program"}).options, Contains(Pair("endPoint", "giop:tcp:127.0.0.1:2701")));
  }
  {
    const Variable endpoint("LUMENAR_ENDPOINT", "127.0.0.1:2701");
    EXPECT_THROW(Read({"program"}), std::invalid_argument);
  }
  const Variable endpoint("LUMENAR_ENDPOINT", "giop:unix:relative");
  try {
    Read({"program"});
    ADD_FAILURE() << "taken";
  } catch (const std::exception& error) {
    EXPECT_THAT(error.what(), testing::StartsWith("LUMENAR_ENDPOINT: "));
  }
}

TEST_F(OrbArguments_, AnEmptyListMeansTheLocalNamingService) {
  EXPECT_EQ(Read({"program"}).NamingAddress(), "localhost:2700");
}

struct Address {
  const char* uri;
  const char* expected;
};

TEST_F(OrbArguments_, TheNamingAddressIsFoundInEachFormOfReference) {
  for (const auto& [uri, expected] :
       {Address{"corbaloc::a:1/NameService", "a:1"}, Address{"corbaloc:iiop:1.2@a:1/NameService", "a:1"},
        Address{"corbaloc:iiop:[::1]:5/NameService", "[::1]:5"}}) {
    const std::string value = std::string("NameService=") + uri;
    EXPECT_EQ(Read({"p", "-ORBInitRef", value.c_str()}).NamingAddress(), expected);
  }
}

TEST_F(OrbArguments_, OtherReferencesAndKnownOptionsArePassedOn) {
  const auto arguments = Read({"p", "--mine", "-ORBInitRef", "Log=corbaloc::b:2/Log", "-ORBtraceLevel", "10", "file"});
  EXPECT_THAT(arguments.options, Contains(Pair("InitRef", "Log=corbaloc::b:2/Log")));
  EXPECT_THAT(arguments.options, Contains(Pair("traceLevel", "10")));
}

TEST_F(OrbArguments_, TheEnvironmentReplacesTheNamingService) {
  const Variable naming("LUMENAR_NAMING", "127.0.0.1:4711");
  const auto arguments = Read({"p", "-ORBInitRef", "NameService=corbaloc:iiop:box:2700/NameService"});
  EXPECT_EQ(arguments.NamingAddress(), "127.0.0.1:4711");
}

TEST_F(OrbArguments_, AConfigurationNamedInTheEnvironmentMustExist) {
  const Variable conf("LUMENAR_TRANSPORT_CONF", "/nonexistent/env.conf");
  EXPECT_THROW(Read({"p", "-ORBSvcConf", "/nonexistent/tcp.conf"}), TransportConfigError);
}

TEST_F(OrbArguments_, AnAddressThatIsNoneIsRefused) {
  for (const char* address : {"abc", ":", "127.0.0.1:99999", "a b:1", "127.0.0.1:0", "x:1/NameService"}) {
    const Variable naming("LUMENAR_NAMING", address);
    EXPECT_THROW(Read({"p"}), std::invalid_argument) << address;
  }
  EXPECT_THROW(Read({"p", "-ORBendPoint", "giop:tcp:127.0.0.1:99999"}), std::invalid_argument);
}

std::string Refusal(const char* argument, bool with_value) {
  try {
    const char* argv[] = {"p", argument, "value"};
    OrbArguments::Read(with_value ? 3 : 2, argv);
    return "accepted";
  } catch (const std::invalid_argument& error) {
    return error.what();
  }
}

TEST_F(OrbArguments_, UnknownOptionsAndMissingValuesAreNamed) {
  EXPECT_EQ(Refusal("-ORBnoSuchThing", true), "unknown ORB argument -ORBnoSuchThing");
  EXPECT_EQ(Refusal("-ORBInitRef", false), "no value after -ORBInitRef");
  EXPECT_EQ(Refusal("-ORBSvcConf", false), "no value after -ORBSvcConf");
}

}  // namespace
}  // namespace Corvanta
