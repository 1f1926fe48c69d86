// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <libsigrok/libsigrok.h>

#include <memory>
#include <string>
#include <vector>

#include "instruments/sigrok/SampleCutter.h"

namespace Lumenar::Sigrok {

/// Packets as a driver sends them.
class Packets {
 public:
  explicit Packets(SampleCutter& cutter) : cutter_(cutter) {}

  /// What the next analog packets mean.
  int quantity = SR_MQ_VOLTAGE;
  int unit = SR_UNIT_VOLT;
  int flags = 0;
  int digits = 3;

  /// Samples of channels, point by point of all of them.
  void Analog(std::vector<std::string> channels, std::vector<float> samples) {
    std::vector<sr_channel> parts(channels.size());
    GSList* list = nullptr;
    for (std::size_t i = 0; i < channels.size(); ++i) {
      parts[i].name = channels[i].data();
      list = g_slist_append(list, &parts[i]);
    }
    sr_analog_encoding encoding{};
    encoding.unitsize = sizeof(float);
    encoding.is_float = TRUE;
    encoding.is_digits_decimal = TRUE;
    encoding.digits = static_cast<int8_t>(digits);
    encoding.scale = {1, 1};
    encoding.offset = {0, 1};
    sr_analog_meaning meaning{static_cast<sr_mq>(quantity), static_cast<sr_unit>(unit), static_cast<sr_mqflag>(flags),
                              list};
    sr_analog_spec spec{};
    sr_datafeed_analog analog{samples.data(), static_cast<uint32_t>(samples.size() / channels.size()), &encoding,
                              &meaning, &spec};
    const std::unique_ptr<GSList, void (*)(GSList*)> owner(list, g_slist_free);
    Send(SR_DF_ANALOG, &analog);
  }

  void Send(int type, const void* payload = nullptr) {
    const sr_datafeed_packet packet{static_cast<uint16_t>(type), payload};
    cutter_.Take(packet);
  }

  void Frame(const std::string& channel, std::vector<float> samples) {
    Send(SR_DF_FRAME_BEGIN);
    Analog({channel}, std::move(samples));
    Send(SR_DF_FRAME_END);
  }

 private:
  SampleCutter& cutter_;
};

}  // namespace Lumenar::Sigrok
