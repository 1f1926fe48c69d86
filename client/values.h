// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "client/Connection.h"
#include "platform/records/SampleRecord.h"

namespace Lumenar::Client {

/// Whether there is a value to get: not of an action.
bool HasValue(const Reading& reading);

/// The present value of a reading or attribute, by its kind; an enum is its number.
/// Errors   Error BadArgument for a kind without a value (an action) or one that is not known; those of remote calls.
Corvanta::SampleRecord GetValue(const Reading& reading);

/// Sets an attribute from text: a long as "10", an enum as its number or name, a scalar as "2.5 ms" (without units: in
/// those that it has), an action with an empty text.
/// Errors   Error BadArgument for a text that is no value of the kind and for a reading that cannot be set; Refused
///          outside its limits; those of remote calls.
void SetValue(const Reading& reading, const std::string& text);

/// A whole number, as "10" or "-3".
/// Errors   Error BadArgument that names the text.
std::int32_t LongFromText(const std::string& text);

/// A number and, behind it, units, as "2.5 ms", "-10dBm" or "7". Without units `units` stays as it is.
/// Errors   Error BadArgument that names what is not understood.
void ScalarFromText(const std::string& text, double& number, Corvanta::VALUE_UNITS::Units& units);

}  // namespace Lumenar::Client
