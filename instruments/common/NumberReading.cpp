// SPDX-License-Identifier: Apache-2.0
#include "instruments/common/NumberReading.h"

#include "platform/records/Records.h"

namespace Lumenar::Instruments {

NumberReading::NumberReading(const Place& place, const std::string& name, const Number& first)
    : reading_(place.namer, place.registration, name.c_str(), VALUE::ValueToCorba(first)) {}

void NumberReading::Publish(const Number& number) { reading_ = VALUE::ValueToCorba(number); }

}  // namespace Lumenar::Instruments
