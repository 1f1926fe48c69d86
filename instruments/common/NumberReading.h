// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "instruments/common/Instrument.h"
#include "platform/components/readings/EngineReadingValueDouble_i.h"
#include "platform/value/Value_object.h"

namespace Lumenar::Instruments {

/// A number with its unit and its error band, as -0.5 and +0.5 about the value.
using Number = Value::Value_object<double>;

/// A reading of an instrument that is a number.
/// Threads   one at a time.
class NumberReading {
 public:
  /// `first` is what clients get before the first publication.
  NumberReading(const Place& place, const std::string& name, const Number& first);

  /// Publishes the next sample.
  void Publish(const Number& number);

 private:
  Corvanta::EngineReadingValueDouble_i reading_;
};

}  // namespace Lumenar::Instruments
