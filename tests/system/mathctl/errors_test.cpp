// SPDX-License-Identifier: Apache-2.0
// What goes wrong says who, where, why and what to do, without a word of the ORB.
#include <csignal>

#include "tests/system/mathctl/FrameFixture.h"

namespace Lumenar::Test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

class ErrorsTest : public FrameFixture {
 protected:
  static void ExpectPlain(const std::string& error) {
    EXPECT_THAT(error, MatchesRegex("mathctl: [^\n]+\n"));
    for (const char* word : {"TRANSIENT", "COMM_FAILURE", "TIMEOUT", "OBJECT_NOT_EXIST", "CORBA", "completed"}) {
      EXPECT_THAT(error, Not(HasSubstr(word)));
    }
  }

  ScalarInput level_{bench_, "LEVEL", ScalarOf(1, Value::C_Watts)};
};

TEST_F(ErrorsTest, NobodyIsAtTheNamingServicesAddress) {
  platform_.KillNamingService();
  const std::string expected = "mathctl: naming service at " + platform_.NamingAddress() +
                               " does not answer (connection refused); is omniNames running?\n";
  for (const Words& words : {Words{"list"}, Words{"engines"}, Words{"readings"}, Words{"watch", "LEVEL"},
                             Words{"set", "0", "SIZE", "3"}, Words{"delete", "0"}, Words{"subscriptions"}}) {
    const Outcome result = Run(words);
    EXPECT_EQ(result.exit_code, Mathctl::kUnreachable) << testing::PrintToString(words);
    EXPECT_EQ(result.error, expected) << testing::PrintToString(words);
  }
}

TEST_F(ErrorsTest, ANamingServiceThatHangs) {
  platform_.NamingService().Signal(SIGSTOP);
  const Outcome result = Run({"list", "-w", "0.3"});
  EXPECT_EQ(result.exit_code, Mathctl::kUnreachable);
  EXPECT_EQ(result.error, "mathctl: naming service at " + platform_.NamingAddress() +
                              " does not answer within 0.3 s; it hangs, is stopped, or needs more time\n");
  platform_.NamingService().Signal(SIGCONT);
}

TEST_F(ErrorsTest, AnAddressThatIsNoneIsRefusedBeforeAnythingIsAsked) {
  const Outcome as_option = Run({"list", "--naming", "foo"});
  EXPECT_EQ(as_option.exit_code, Mathctl::kUsage);
  EXPECT_THAT(as_option.error, HasSubstr("--naming: 'foo' is no address: expected HOST:PORT"));
  const auto process = std::make_unique<Process>(Words{BuiltProgram("mathctl").string(), "list"},
                                                 std::map<std::string, std::string>{{"LUMENAR_NAMING", "foo"}});
  EXPECT_EQ(process->WaitForExit(kPatience), Mathctl::kUsage);
  EXPECT_EQ(process->Error(), "mathctl: LUMENAR_NAMING: 'foo' is no address: expected HOST:PORT\n");
}

TEST_F(ErrorsTest, AnEngineThatDied) {
  engine_.Signal(SIGKILL);
  engine_.WaitForExit();
  const Outcome list = Run({"list"});
  EXPECT_EQ(list.exit_code, Mathctl::kUnreachable);
  ExpectPlain(list.error);
  EXPECT_THAT(list.error, MatchesRegex("mathctl: math engine MATHFACTORY/1 at 127\\.0\\.0\\.1:[0-9]+ does not answer "
                                       "\\(connection refused\\); is its engine_host running\\?\n"));
  const Outcome engines = Run({"engines"});
  EXPECT_EQ(engines.exit_code, Mathctl::kDone) << engines.error;
  EXPECT_THAT(engines.out, HasSubstr("does not answer (connection refused); is its engine_host running?"));
}

TEST_F(ErrorsTest, AnEngineThatIsNotThere) {
  const Outcome result = Run({"list", "--factory", "MATHFACTORY/7"});
  EXPECT_EQ(result.exit_code, Mathctl::kRefused);
  EXPECT_EQ(result.error, "mathctl: MATHFACTORY/7 is not registered with the naming service at " +
                              platform_.NamingAddress() + "; is its program running?\n");
}

TEST_F(ErrorsTest, ATopicManagerThatDied) {
  platform_.KillTopicManager();
  const Outcome subscriptions = Run({"subscriptions"});
  EXPECT_EQ(subscriptions.exit_code, Mathctl::kUnreachable);
  ExpectPlain(subscriptions.error);
  EXPECT_THAT(subscriptions.error, MatchesRegex("mathctl: topic manager at 127\\.0\\.0\\.1:[0-9]+ does not answer "
                                                "\\(connection refused\\); is [^\n]+ running\\?\n"));
  const Outcome watch = Run({"watch", "LEVEL"});
  EXPECT_EQ(watch.exit_code, Mathctl::kUnreachable);
  EXPECT_THAT(watch.error, HasSubstr("topic manager"));
  EXPECT_THAT(watch.error, HasSubstr("is topic_manager running?"));
}

TEST_F(ErrorsTest, AReadingOfAnEngineThatHangs) {
  Out({"create", "Average", "LEVEL"});
  engine_.Signal(SIGSTOP);
  const Outcome result = Run({"get", "MATHFACTORY/1/SIZE", "-w", "0.3"});
  EXPECT_EQ(result.exit_code, Mathctl::kUnreachable);
  ExpectPlain(result.error);
  EXPECT_THAT(result.error, HasSubstr(" does not answer within 0.3 s"));
  engine_.Signal(SIGCONT);
}

// The services say it in the same words.
TEST_F(ErrorsTest, ServicesWithoutANamingService) {
  platform_.KillNamingService();
  for (const char* program : {"topic_manager", "hw_enumeration"}) {
    const auto process = platform_.Start(program, {});
    EXPECT_EQ(process->WaitForExit(kPatience), 1);
    EXPECT_EQ(process->Error(), std::string(program) + ": naming service at " + platform_.NamingAddress() +
                                    " does not answer (connection refused); is omniNames running?\n");
  }
}

TEST_F(ErrorsTest, AnEngineHostWithoutANamingServiceSaysWhyBesideTheEnginesLine) {
  platform_.KillNamingService();
  const auto host = platform_.Start("engine_host", {BuiltEngineLibrary("math_factory_hh").string()});
  EXPECT_EQ(host->WaitForExit(kPatience), 1);
  EXPECT_THAT(host->Error(),
              HasSubstr("Lumenar::MathInit new: CORBA error:TRANSIENT on repo IDL:omg.org/CORBA/TRANSIENT:1.0"));
  EXPECT_THAT(host->Error(),
              HasSubstr("engine_host: the engine did not start: naming service at " + platform_.NamingAddress() +
                        " does not answer (connection refused); is omniNames running?\n"));
}

}  // namespace
}  // namespace Lumenar::Test
