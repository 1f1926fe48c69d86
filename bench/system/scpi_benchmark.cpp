// SPDX-License-Identifier: Apache-2.0
// Sweeps of 10,001 points, fifty a second, from an instrument over SCPI to RESULT of an Average: whether all of them
// arrive, and what processor time the engine that reads them takes for one, beside a bare socket that only asks and
// reads, as often, and without pauses.
#include <fmt/format.h>
#include <netdb.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <thread>

#include "GuiAble.hh"
#include "bench/Figures.h"
#include "instruments/scpi/Address.h"
#include "tests/support/EngineFixture.h"
#include "tests/support/ProcessFigures.h"
#include "tests/support/ScpiServer.h"

namespace {

using namespace Lumenar::Bench;
using namespace Lumenar::Test;

constexpr double kRate_Hz = 50;
constexpr std::size_t kPoints = 10001;
constexpr int kBareRounds = 1000;
constexpr int kPacedRounds = 250;

double ThreadTime_us() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) * 1e-3;
}

/// A blocking socket to the server.
class BareSocket {
 public:
  explicit BareSocket(const std::string& address) {
    const Lumenar::Scpi::StopSign stop;
    const auto where = Lumenar::Scpi::AddressFromText(address);
    const auto list = Lumenar::Scpi::LookUp(where, Lumenar::Scpi::Clock::now() + std::chrono::seconds(5), stop);
    descriptor_ = ::socket(list->ai_family, SOCK_STREAM, 0);
    if (::connect(descriptor_, list->ai_addr, list->ai_addrlen) != 0) throw std::runtime_error("no connection");
  }
  ~BareSocket() { ::close(descriptor_); }
  BareSocket(const BareSocket&) = delete;
  BareSocket& operator=(const BareSocket&) = delete;

  /// Asks for a sweep and reads it; `bytes` is its length with its end.
  void Sweep(std::size_t bytes) {
    constexpr std::string_view kQuestion = ":TRAC? TRACE1\n";
    if (::send(descriptor_, kQuestion.data(), kQuestion.size(), MSG_NOSIGNAL) < 0) throw std::runtime_error("not sent");
    for (std::size_t had = 0; had < bytes;) {
      const ssize_t count = ::recv(descriptor_, room_.data(), room_.size(), 0);
      if (count <= 0) throw std::runtime_error("no answer");
      had += static_cast<std::size_t>(count);
    }
  }

 private:
  int descriptor_ = -1;
  std::array<char, 65536> room_;
};

/// Processor time of a bare socket for a sweep, of which one is asked for each `pause`.
double BareTime_us(const std::string& address, int rounds, std::chrono::nanoseconds pause) {
  ScpiServer::Ask(address, ":FORM REAL,32;*OPC?");
  BareSocket socket(address);
  const std::size_t bytes = std::string_view("#540004").size() + kPoints * sizeof(float) + 1;
  socket.Sweep(bytes);
  auto next = std::chrono::steady_clock::now();
  const double began = ThreadTime_us();
  for (int i = 0; i < rounds; ++i) {
    std::this_thread::sleep_until(next += pause);
    socket.Sweep(bytes);
  }
  return (ThreadTime_us() - began) / rounds;
}

/// Counts what is published on a topic, and the numbers that are missing.
class Follower {
 public:
  explicit Follower(const std::string& topic)
      : counts_(std::make_shared<Counts>()),
        subscriber_(topic.c_str(), [counts = counts_](const char*, BT_DATA record) {
          const long number = record.sequence_number;
          if (counts->last >= 0 && number > counts->last + 1) counts->missing += number - counts->last - 1;
          counts->last = number;
          ++counts->came;
        }) {}

  std::size_t Came() const { return counts_->came; }
  std::size_t Missing() const { return counts_->missing; }

 private:
  struct Counts {
    std::atomic<std::size_t> came{0}, missing{0};
    std::atomic<long> last{-1};
  };
  const std::shared_ptr<Counts> counts_;
  Corvanta::DDS_Subscriber<BT_DATA> subscriber_;
};

/// The platform with the engine, and an Average of one sample over its trace.
class SweepRoad {
 public:
  explicit SweepRoad(const ScpiServer& server) {
    platform_.UseInThisProcess();
    WriteText(
        platform_.Directory() / "analyser.scpi",
        fmt::format("connect = {}\nstart = :FORM REAL,32 ; :FORM:BORD SWAP\n[trace LEVEL]\nquery = :TRAC? TRACE1\n"
                    "unit = dBm\nrate = {}\n",
                    server.Analyser(), kRate_Hz));
    platform_.StartEngine("math_factory_hh");
    scpi_ = &platform_.StartEngine("scpi", {{"SCPI_DEVICES", (platform_.Directory() / "analyser.scpi").string()}});
    bench_ = std::make_unique<Testbench>();
    CreateAverage(Reading());
  }

  /// Sweeps and results so far, and the processor time of the engine.
  std::size_t Sweeps() const { return sweeps_->Came(); }
  std::size_t Results() const { return results_->Came(); }
  double EngineTime_ms() const { return static_cast<double>(ProcessorTime(scpi_->Pid()).count()); }

  /// Sweeps that the engine published and nobody here saw.
  std::size_t Missing() const { return sweeps_->Missing(); }

 private:
  Corvanta::EngineReadingBase_var Reading() {
    Corvanta::EngineReadingBase_var found;
    const auto is_there = [&] {
      CORBA::Object_var object = bench_->Orb().Resolve({"Lumenar", "local", "SCPI", "1"});
      Corvanta::GUI_Able_var registration = Corvanta::GUI_Able::_narrow(object);
      Corvanta::ItemSeq_var items = registration->Items();
      if (items->length() > 0) found = Corvanta::EngineReadingBase::_duplicate(items[0u].reference);
      return items->length() > 0;
    };
    if (!WaitUntil(is_there)) throw std::runtime_error("no reading: " + scpi_->Error());
    return found;
  }

  void CreateAverage(const Corvanta::EngineReadingBase_var& reading) {
    Corvanta::MathFactory::Interfaces_var factory = bench_->Factory();
    Corvanta::EngineAttribEnum_var selector = factory->AttrType();
    selector->Set(Average);
    Corvanta::MathFactory::ReadingAttribSeq inputs;
    inputs.length(1);
    inputs[0] = reading;
    math_ = factory->CreateMath(inputs);
    Corvanta::MathFactory::Average_var average = Corvanta::MathFactory::Average::_narrow(math_);
    Corvanta::EngineAttribLong_var size = average->AttrSize();
    size->Set(1);
    Corvanta::EngineReadingBase_var result = math_->AttrResult();
    CORBA::String_var result_topic = result->DDS_Value(), topic = reading->DDS_Value();
    results_ = std::make_unique<Follower>(result_topic.in());
    sweeps_ = std::make_unique<Follower>(topic.in());
  }

  IsolatedPlatform platform_;
  Process* scpi_ = nullptr;
  std::unique_ptr<Testbench> bench_;
  Corvanta::MathFactory::Math_var math_;
  std::unique_ptr<Follower> results_;
  std::unique_ptr<Follower> sweeps_;
};

void RunScpi(int seconds) {
  const ScpiServer server;
  const double bare_us = BareTime_us(server.Analyser(), kBareRounds, std::chrono::nanoseconds(0));
  const double paced_us =
      BareTime_us(server.Analyser(), kPacedRounds, std::chrono::nanoseconds(std::llround(1e9 / kRate_Hz)));
  SweepRoad road(server);
  if (!WaitUntil([&] { return road.Sweeps() > 5 && road.Results() > 5; })) throw std::runtime_error("no sweeps come");
  const std::size_t sweeps = road.Sweeps(), results = road.Results();
  const double time_ms = road.EngineTime_ms();
  const auto wanted = static_cast<std::size_t>(seconds * kRate_Hz);
  if (!WaitUntil([&] { return road.Sweeps() >= sweeps + wanted; }, std::chrono::seconds(3 * seconds + 10)))
    throw std::runtime_error("too few sweeps come");
  const std::size_t came = road.Sweeps() - sweeps;
  const double engine_us = (road.EngineTime_ms() - time_ms) * 1000 / static_cast<double>(came);
  WaitUntil([&] { return road.Results() >= results + came; });
  const std::size_t lost = road.Missing() + (results + came - std::min(results + came, road.Results()));
  const std::string what = fmt::format("of a sweep of {} points over SCPI at {} Hz", kPoints, kRate_Hz);
  Report({AtMost("processor time " + what + ", to a bare socket at this rate", engine_us, "us", paced_us, {}),
          Plain("processor time of a bare socket without pauses", bare_us, "us"),
          Plain(fmt::format("sweeps lost on the way to RESULT, of {}", came), static_cast<double>(lost), "", 0)});
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Sweeps of an instrument over SCPI, to RESULT");
  int seconds = 60;
  app.add_option("--seconds", seconds, "how long (60)")->check(CLI::Range(1, 3600));
  CLI11_PARSE(app, argc, argv);
  try {
    RunScpi(seconds);
    return 0;
  } catch (const CORBA::Exception& failure) {
    std::fprintf(stderr, "scpi_benchmark: %s\n", failure._name());
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "scpi_benchmark: %s\n", failure.what());
  }
  return 1;
}
