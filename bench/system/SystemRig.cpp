// SPDX-License-Identifier: Apache-2.0
#include "bench/system/SystemRig.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <semaphore>
#include <stdexcept>

namespace Lumenar::Bench {
namespace {

using namespace Test;
using Clock = std::chrono::steady_clock;

template <class Reading>
Corvanta::EngineReadingBase_ptr ReferenceOf(Reading& reading) {
  const auto typed = reading._this();
  Corvanta::EngineReadingBase_ptr base = Corvanta::EngineReadingBase::_duplicate(typed);
  CORBA::release(typed);
  return base;
}

}  // namespace

struct Road::Arrival {
  std::counting_semaphore<> came{0};
  std::atomic<Clock::time_point> when{};
};

Road::Road(TraceInput& input, const std::string& out)
    : input_(input),
      arrival_(std::make_shared<Arrival>()),
      subscriber_(out.c_str(), [arrival = arrival_](const char*, const BT_DATA&) {
        arrival->when = Clock::now();
        arrival->came.release();
      }) {}

Road::~Road() = default;

double Road::Once(const BT_DATA& trace) {
  const auto began = Clock::now();
  input_ = trace;
  if (!arrival_->came.try_acquire_for(std::chrono::seconds(5)))
    throw std::runtime_error("no answer to a sample within 5 s");
  return std::chrono::duration<double, std::micro>(arrival_->when.load() - began).count();
}

double Road::Burst(const BT_DATA& trace, int count) {
  const auto began = Clock::now();
  for (int i = 0; i < count; ++i) input_ = trace;
  for (int i = 0; i < count; ++i)
    if (!arrival_->came.try_acquire_for(std::chrono::seconds(5)))
      throw std::runtime_error("a sample of a burst did not arrive");
  return std::chrono::duration<double, std::micro>(arrival_->when.load() - began).count() / count;
}

SystemRig::SocketDirectory::SocketDirectory() {
  path = (std::filesystem::temp_directory_path() / "lumenar-bench-XXXXXX").string();
  if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no directory " + path);
}

SystemRig::SocketDirectory::~SocketDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path, ignored);
}

SystemRig::SystemRig(Sockets sockets)
    : platform_([&] {
        IsolatedPlatform::Options options;
        options.hw_enumeration = false;
        if (sockets == Sockets::Unix) options.transport = "orb.endpoint = giop:unix:" + sockets_.path + "/";
        return options;
      }()) {
  platform_.UseInThisProcess();
  platform_.StartEngine("math_factory_hh");
  bench_ = std::make_unique<Testbench>();
  factory_ = bench_->Factory();
}

SystemRig::~SystemRig() { Clear(); }

void SystemRig::Clear() {
  for (const CORBA::Long id : objects_) factory_->DeleteMath(id);
  objects_.clear();
  relays_.clear();
  inputs_.clear();
}

TraceInput& SystemRig::NewInput(const BT_DATA& trace) {
  inputs_.push_back(std::make_unique<TraceInput>(*bench_, "INPUT", trace));
  return *inputs_.back();
}

std::unique_ptr<Road> SystemRig::SubtractRoad(const BT_DATA& trace) {
  TraceInput& first = NewInput(trace);
  TraceInput& second = NewInput(trace);
  Corvanta::MathFactory::ReadingAttribSeq inputs;
  inputs.length(2);
  inputs[0] = ReferenceOf(first);
  inputs[1] = ReferenceOf(second);
  Corvanta::EngineAttribEnum_var(factory_->AttrType())->Set(Subtract);
  Corvanta::MathFactory::Math_var math = factory_->CreateMath(inputs);
  objects_.push_back(math->GetId());
  Corvanta::EngineReadingBase_var result = math->AttrResult();
  CORBA::String_var topic = result->DDS_Value();
  return std::make_unique<Road>(first, topic.in());
}

std::unique_ptr<Road> SystemRig::RelayRoad(const BT_DATA& trace) {
  TraceInput& input = NewInput(trace);
  const std::string out = input.GetDDS_Topic() + "/RELAYED";
  relays_.push_back(platform_.Start("system_relay", {input.GetDDS_Topic(), out}));
  if (!relays_.back()->WaitForLine("ready"))
    throw std::runtime_error("the relay did not start: " + relays_.back()->Error());
  return std::make_unique<Road>(input, out);
}

std::unique_ptr<Road> SystemRig::OneHop(const BT_DATA& trace) {
  TraceInput& input = NewInput(trace);
  return std::make_unique<Road>(input, input.GetDDS_Topic());
}

std::string SystemRig::FreePort() {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  const bool bound = bind(probe, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
                     getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0;
  close(probe);
  if (!bound) throw std::runtime_error("no free port");
  return std::to_string(ntohs(address.sin_port));
}

BT_DATA BenchTrace(std::size_t points, bool in_dB) {
  std::vector<float> samples(points);
  for (std::size_t i = 0; i < points; ++i) {
    const float level = static_cast<float>(i * 7919 % 9973) / 9973;  // any order will do
    samples[i] = in_dB ? -90 + 60 * level : 0.001f + level;
  }
  return Trace(samples, in_dB ? kdBm : kMilliwatt);
}

}  // namespace Lumenar::Bench
