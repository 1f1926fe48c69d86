// SPDX-License-Identifier: Apache-2.0
// The entry points with a start-up object that fails as the test wants.
#include <gtest/gtest.h>

#include <functional>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "Common_Math/src/MathFactory_i.h"
#include "Common_Math/src/MathInit.h"
#include "platform/program/built_for.h"
#include "platform/signals/Signals.h"

extern "C" {
void* createEngine();
void joinEngine();
int destroyEngine(void* engine);
extern Lumenar::MathInit* math;
extern int localargc;
extern char* localargv[];
}

namespace {

std::function<void()> construct;
std::function<void()> join;
int destroyed = 0;

}  // namespace

// In place of the engine's own.
namespace Lumenar {

struct GUI_Able_i::Impl {};
GUI_Able_i::GUI_Able_i() = default;
GUI_Able_i::~GUI_Able_i() = default;
long GUI_Able_i::Add(const Entry&) { return 0; }
void GUI_Able_i::Remove(long) noexcept {}
Corvanta::DdsBaseAccess& GUI_Able_i::Topics() { throw std::logic_error("an engine of this test publishes nothing"); }

void MathInit::FactoryOwner::operator()(MathFactory_i*) const noexcept {}
MathInit::MathInit() { construct(); }
MathInit::~MathInit() { ++destroyed; }
void MathInit::Join() { join(); }

}  // namespace Lumenar

namespace Lumenar::Test {
namespace {

class EntryPoints : public testing::Test {
 protected:
  EntryPoints() : out_before_(std::cout.rdbuf(out_.rdbuf())), error_before_(std::cerr.rdbuf(error_.rdbuf())) {
    math = nullptr;
    construct = [] {};
    join = [] {};
    destroyed = 0;
  }
  ~EntryPoints() override {
    std::cout.rdbuf(out_before_);
    std::cerr.rdbuf(error_before_);
    math = nullptr;
  }

  static std::string Take(std::ostringstream& stream) {
    std::string text = stream.str();
    stream.str("");
    return text;
  }

  std::ostringstream out_;
  std::ostringstream error_;

 private:
  std::streambuf* out_before_;
  std::streambuf* error_before_;
};

struct Failure {
  const char* line;
  std::function<void()> raise;
};

const Failure kFailures[] = {
    {"Got terminate signal", [] { throw Term_Exception(15); }},
    {"Got quit signal", [] { throw Quit_Exception(3); }},
    {"Caught exception out of paper", [] { throw std::runtime_error("out of paper"); }},
    {"CORBA error:TRANSIENT on repo IDL:omg.org/CORBA/TRANSIENT:1.0", [] { throw CORBA::TRANSIENT(); }},
    {"An unknown exception was caught", [] { throw 42; }},
};

TEST_F(EntryPoints, CreateJoinAndDestroy) {
  void* engine = createEngine();
  EXPECT_NE(engine, nullptr);
  EXPECT_EQ(engine, math);
  EXPECT_EQ(Take(out_), "Lumenar::MathInit createEngine\nLumenar::MathInit createEngine done\n");
  joinEngine();
  EXPECT_EQ(destroyEngine(engine), 0);
  EXPECT_EQ(destroyed, 1);
  EXPECT_EQ(math, engine) << "the handle is not cleared";
  EXPECT_EQ(Take(out_) + Take(error_), "");
}

TEST_F(EntryPoints, EveryFailureOfTheStartIsOneLineOnStandardErrorAndANullHandle) {
  for (const Failure& failure : kFailures) {
    construct = failure.raise;
    EXPECT_EQ(createEngine(), nullptr);
    EXPECT_EQ(Take(out_), "Lumenar::MathInit createEngine\n");
    EXPECT_EQ(Take(error_), std::string("Lumenar::MathInit new: ") + failure.line + "\n");
  }
}

TEST_F(EntryPoints, EveryFailureOfTheLoopIsOneLineOnStandardErrorAndANormalReturn) {
  void* engine = createEngine();
  for (const Failure& failure : kFailures) {
    join = failure.raise;
    joinEngine();
    EXPECT_EQ(Take(error_), std::string("Lumenar::MathInit Join: ") + failure.line + "\n");
  }
  destroyEngine(engine);
}

TEST_F(EntryPoints, AFailedSecondStartLeavesTheFirstEngine) {
  void* engine = createEngine();
  construct = [] { throw std::runtime_error("second"); };
  EXPECT_EQ(createEngine(), engine);
  destroyEngine(engine);
}

TEST_F(EntryPoints, JoinWithoutAnEngineSaysSo) {
  joinEngine();
  EXPECT_EQ(Take(error_), "Lumenar::MathInit Join: ebdy NULL\n");
}

TEST_F(EntryPoints, DestroyOfNullDoesNothing) {
  EXPECT_EQ(destroyEngine(nullptr), 0);
  EXPECT_EQ(destroyed, 0);
}

TEST_F(EntryPoints, TheOrbsArgumentsAreFive) {
  ASSERT_EQ(localargc, 5);
  EXPECT_STREQ(localargv[0], "./common_math.engine");
  EXPECT_STREQ(localargv[1], "-ORBInitRef");
  EXPECT_STREQ(localargv[2], "NameService=corbaloc:iiop:" LUMENAR_NAMING_HOST ":2700/NameService");
  EXPECT_STREQ(localargv[3], "-ORBSvcConf");
  EXPECT_STREQ(localargv[4], LUMENAR_TRANSPORT_CONF);
}

}  // namespace
}  // namespace Lumenar::Test
