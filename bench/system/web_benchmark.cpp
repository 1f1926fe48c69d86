// SPDX-License-Identifier: Apache-2.0
// What a picture costs the web gateway, how many clients it carries, and whether the source notices: clients look at a
// trace, 1,400 columns wide, each telling at once that it has drawn.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/Figures.h"
#include "tests/support/IsolatedPlatform.h"
#include "tests/support/ProcessFigures.h"
#include "tests/support/WebClient.h"

namespace Lumenar::Bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kWidth = 1400;
constexpr std::chrono::seconds kWarmUp{2};
constexpr double kMostProcessor_ms = 0.5;

/// A source and how many look at it.
struct Load {
  int points;
  int rate_Hz;
  int clients;
};

/// What was seen during a time.
struct Seen {
  double processor_ms = 0;  ///< of the gateway, for a frame and client
  double frames_Hz = 0;     ///< that each client got
  double source_ms = 0;     ///< between two samples of the source, by their times of capture
  unsigned skipped = 0;     ///< by all clients
};

unsigned short PortOf(Test::Process& web) {
  const std::string ready = "math_web ready at http://127.0.0.1:";
  const auto at = [&] { return web.Out().find(ready); };
  if (!Test::WaitUntil([&] { return at() != std::string::npos && web.Out().ends_with("\n"); }))
    throw std::runtime_error("the gateway does not start: " + web.Error());
  return static_cast<unsigned short>(std::atoi(web.Out().c_str() + at() + ready.size()));
}

/// One client, which draws whatever comes at once.
class Viewer {
 public:
  explicit Viewer(unsigned short port) : client_(port) {
    if (!client_.Subscribe(1, "SIM/1/LEVEL", kWidth)) throw std::runtime_error("no stream");
    client_.Ready(1);  // the first frame may have come before the answer
  }

  void Begin() { frames_ = 0; }

  /// Takes what has come.
  void Draw() {
    const auto message = client_.Next(std::chrono::milliseconds(0));
    if (!message || !message->IsFrame()) return;
    client_.Ready(1);
    if (frames_++ == 0) first_ = *message;
    last_ = *message;
  }

  long Frames() const { return frames_; }
  unsigned Skipped() const { return frames_ == 0 ? 0 : last_.skipped - first_.skipped; }

  /// Time between two samples of the source; those that were skipped count.
  double Source_ms() const {
    if (frames_ < 2) throw std::runtime_error("no frames came");
    return 1000 * (last_.time_s - first_.time_s) / static_cast<double>(frames_ - 1 + Skipped());
  }

 private:
  Test::WebClient client_;
  long frames_ = 0;
  Test::WebMessage first_, last_;
};

using Viewers = std::vector<std::unique_ptr<Viewer>>;

void Watch(const Viewers& viewers, std::chrono::milliseconds span) {
  const auto end = Clock::now() + span;
  while (Clock::now() < end) {
    for (const auto& viewer : viewers) viewer->Draw();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

Seen Measure(const Load& load, std::chrono::seconds span) {
  Test::IsolatedPlatform platform;
  platform.StartEngine(
      "sim", {{"SIM_READINGS", fmt::format("trace:LEVEL:units=dBm:wave=noise:amplitude=3:offset=-40:points={}:rate={}",
                                           load.points, load.rate_Hz)}});
  const auto web = platform.Start("math_web", {"--listen", "127.0.0.1:0", "--clients", "64"});
  const unsigned short port = PortOf(*web);
  Viewers viewers;
  for (int i = 0; i < load.clients; ++i) viewers.push_back(std::make_unique<Viewer>(port));
  Watch(viewers, kWarmUp);
  for (const auto& viewer : viewers) viewer->Begin();
  const auto before = Test::ProcessorTime(web->Pid());
  Watch(viewers, span);
  const auto used = Test::ProcessorTime(web->Pid()) - before;
  Seen seen;
  seen.source_ms = viewers.front()->Source_ms();
  long frames = 0;
  for (const auto& viewer : viewers) {
    frames += viewer->Frames();
    seen.skipped += viewer->Skipped();
  }
  seen.processor_ms = static_cast<double>(used.count()) / static_cast<double>(frames);
  seen.frames_Hz = static_cast<double>(frames) / static_cast<double>(span.count()) / load.clients;
  return seen;
}

Figure Cost(const Load& load, const Seen& seen) {
  return Plain(fmt::format("web gateway, processor time of a frame for a client, {} points", load.points),
               seen.processor_ms, "ms", kMostProcessor_ms);
}

void Run(std::chrono::seconds span) {
  const Load many{10001, 20, 50}, one{10001, 20, 1}, large{1000001, 5, 5};
  const Seen by_many = Measure(many, span), by_one = Measure(one, span), of_large = Measure(large, span);
  const auto gap = [](const Load& load, const Seen& seen) {
    return Plain(
        fmt::format("web gateway, {} clients, {} points: time between frames of each", load.clients, load.points),
        1000 / seen.frames_Hz, "ms", 1.05 * 1000 / load.rate_Hz);
  };
  Report({Cost(many, by_many), gap(many, by_many),
          Plain("the same: samples that a client skipped, of a second", by_many.skipped / (50.0 * span.count()), "1/s"),
          AtMost("time between samples of the source, 50 clients, to one client", by_many.source_ms, "ms",
                 by_one.source_ms, 1.01),
          Cost(large, of_large), gap(large, of_large)});
}

}  // namespace
}  // namespace Lumenar::Bench

int main(int argc, char** argv) {
  CLI::App app("What pictures cost the web gateway");
  int seconds = 20;
  app.add_option("--seconds", seconds, "how long each figure (20)")->check(CLI::Range(1, 3600));
  CLI11_PARSE(app, argc, argv);
  try {
    Lumenar::Bench::Run(std::chrono::seconds(seconds));
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "web_benchmark: %s\n", failure.what());
    return 1;
  }
}
