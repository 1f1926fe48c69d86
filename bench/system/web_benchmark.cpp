// SPDX-License-Identifier: Apache-2.0
// What a picture costs the web gateway, and how many clients it carries: fifty clients look at a trace of 10,001 points
// that comes twenty times a second, 1,400 columns wide, each telling at once that it has drawn.
#include <algorithm>
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

constexpr int kClients = 50;
constexpr unsigned kWidth = 1400;
constexpr std::chrono::seconds kWarmUp{2};
constexpr const char* kSource = "trace:LEVEL:units=dBm:wave=noise:amplitude=3:offset=-40:points=10001:rate=20";

unsigned short PortOf(Test::Process& web) {
  const std::string ready = "math_web ready at http://127.0.0.1:";
  const auto at = [&] { return web.Out().find(ready); };
  if (!Test::WaitUntil([&] { return at() != std::string::npos && web.Out().ends_with("\n"); }))
    throw std::runtime_error("the gateway does not start: " + web.Error());
  return static_cast<unsigned short>(std::atoi(web.Out().c_str() + at() + ready.size()));
}

/// Clients that draw whatever comes, at once.
class Audience {
 public:
  Audience(unsigned short port, int clients) {
    for (int i = 0; i < clients; ++i) {
      clients_.push_back(std::make_unique<Test::WebClient>(port));
      if (!clients_.back()->Subscribe(1, "SIM/1/LEVEL", kWidth)) throw std::runtime_error("no stream");
      clients_.back()->Ready(1);  // the first frame may have come before the answer
    }
  }

  /// The frames that came in a time.
  long Watch(std::chrono::milliseconds span) {
    const auto end = Clock::now() + span;
    long frames = 0;
    while (Clock::now() < end) {
      for (const auto& client : clients_) frames += Draw(*client);
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return frames;
  }

 private:
  static long Draw(Test::WebClient& client) {
    const auto message = client.Next(std::chrono::milliseconds(0));
    if (!message || !message->IsFrame()) return 0;
    client.Ready(1);
    return 1;
  }

  std::vector<std::unique_ptr<Test::WebClient>> clients_;
};

std::vector<Figure> Measure(std::chrono::seconds span) {
  Test::IsolatedPlatform platform;
  platform.StartEngine("sim", {{"SIM_READINGS", kSource}});
  const auto web = platform.Start("math_web", {"--listen", "127.0.0.1:0", "--clients", "64"});
  Audience audience(PortOf(*web), kClients);
  audience.Watch(kWarmUp);
  const auto before = Test::ProcessorTime(web->Pid());
  const long frames = audience.Watch(span);
  const auto used = Test::ProcessorTime(web->Pid()) - before;
  if (frames == 0) throw std::runtime_error("no frames came");
  const double each = static_cast<double>(frames) / static_cast<double>(span.count()) / kClients;
  return {Plain("web gateway, processor time of a frame for a client, 10001 points", 1.0 * used.count() / frames, "ms",
                0.5),
          Plain("web gateway, 50 clients, time between frames of each", 1000 / each, "ms", 52)};
}

}  // namespace
}  // namespace Lumenar::Bench

/// Usage: web_benchmark [--quick].
int main(int argc, char** argv) {
  const bool quick = argc > 1 && std::string(argv[1]) == "--quick";
  Lumenar::Bench::Report(Lumenar::Bench::Measure(std::chrono::seconds(quick ? 2 : 20)));
}
