// SPDX-License-Identifier: Apache-2.0
// peer_channel_client PORT POINTS ROUNDS BURST: subscribes to the peer's event channel and writes one line with the
// median way of a single event and the time for one event of a burst, in microseconds.
#include <tango.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/system/peer_stamp.h"

namespace {

class Arrivals : public Tango::CallBack {
 public:
  explicit Arrivals(long points) : points_(points) {}

  void push_event(Tango::EventData* event) override {
    if (event->err || event->attr_value == nullptr) return;
    Tango::DevVarFloatArray* samples = nullptr;
    *event->attr_value >> samples;
    const std::unique_ptr<Tango::DevVarFloatArray> owner(samples);
    if (static_cast<long>(samples->length()) != points_) return;  // the first event is the present value
    const std::lock_guard<std::mutex> lock(mutex_);
    ways_.push_back(MicrosecondsSinceStamp(samples->get_buffer()));
    changed_.notify_one();
  }

  /// Waits until an event is there, up to `limit`, and forgets all that came.
  bool AnyWithin(std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex_);
    const bool came = changed_.wait_for(lock, limit, [&] { return !ways_.empty(); });
    ways_.clear();
    return came;
  }

  /// Waits for `count` events and takes their times.
  std::vector<double> Take(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (!changed_.wait_for(lock, std::chrono::seconds(10), [&] { return ways_.size() >= count; }))
      throw std::runtime_error(std::to_string(ways_.size()) + " of " + std::to_string(count) + " events came");
    std::vector<double> taken;
    taken.swap(ways_);
    return taken;
  }

 private:
  const long points_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<double> ways_;
};

double Median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
  return values[values.size() / 2];
}

void Burst(Tango::DeviceProxy& device, int points, int count) {
  std::vector<Tango::DevLong> numbers{points, count};
  Tango::DeviceData data;
  data << numbers;
  device.command_inout("Burst", data);
}

/// The channel loses what is pushed before its subscription stands, which subscribe_event does not wait for: pushes
/// until an event comes, then waits until no more of them are on their way.
void WaitUntilConnected(Tango::DeviceProxy& device, int points, Arrivals& arrivals) {
  constexpr std::chrono::milliseconds kPatience{300};
  for (int i = 0; i < 60; ++i) {
    Burst(device, points, 1);
    if (!arrivals.AnyWithin(kPatience)) continue;
    while (arrivals.AnyWithin(kPatience)) {}
    return;
  }
  throw std::runtime_error("no event ever came");
}

void Run(const std::string& port, int points, int rounds, int burst) {
  std::string name = "tango://127.0.0.1:" + port + "/bench/channel/1#dbase=no";
  Tango::DeviceProxy device(name);
  Arrivals arrivals(points);
  const int id = device.subscribe_event("Trace", Tango::CHANGE_EVENT, &arrivals);
  WaitUntilConnected(device, points, arrivals);
  std::vector<double> single, in_bursts;
  for (int i = 0; i < rounds; ++i) {
    Burst(device, points, 1);
    single.push_back(arrivals.Take(1)[0]);
  }
  for (int i = 0; i < 7; ++i) {
    const auto began = std::chrono::steady_clock::now();
    Burst(device, points, burst);
    arrivals.Take(static_cast<std::size_t>(burst));
    const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - began;
    in_bursts.push_back(took.count() / burst);
  }
  device.unsubscribe_event(id);
  std::cout << "way " << Median(single) << " burst " << Median(in_bursts) << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) return 2;
  try {
    Run(argv[1], std::stoi(argv[2]), std::stoi(argv[3]), std::stoi(argv[4]));
    return 0;
  } catch (const CORBA::Exception& error) {
    Tango::Except::print_exception(error);
  } catch (const std::exception& error) {
    std::cerr << error.what() << std::endl;
  }
  return 1;
}
