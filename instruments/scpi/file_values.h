// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "instruments/scpi/DeviceConfig.h"

namespace Lumenar::Scpi {

// The values of a device file, each from its text.
// Errors   std::invalid_argument in one line, which says what was expected.

/// A finite number.
double PlainNumber(std::string_view text);
double NumberBetween(std::string_view text, double lower, double upper);

/// "10 s", "500 ms".
Milliseconds Duration(std::string_view text, Milliseconds lower, Milliseconds upper);

/// "16 MB", "64 kB", "1000 B".
std::size_t Size(std::string_view text, std::size_t lower, std::size_t upper);

LineEnd LineEndFromText(std::string_view text);
ByteOrder ByteOrderFromText(std::string_view text);
BlockForm BlockFormFromText(std::string_view text);

/// One message that asks something.
std::string Question(std::string_view text);

/// A question, or nothing for "none".
std::string QuestionOrNone(std::string_view text);

/// One message with "{}" where a number goes.
std::string Command(std::string_view text);

/// One number, or one question.
Figure FigureFromText(std::string_view text);

/// Several of them: a number or a question that begins with ":" or "*" begins a new one.
std::vector<Figure> FiguresFromText(std::string_view text);

/// A unit in which results mean something; of levels those alone that can be made linear and levels again.
Value::Units ReadingUnit(std::string_view text);

/// The unit of an axis: one unit, with or without a prefix; the factor that the prefix stands for.
std::pair<Value::Units_list, double> AxisUnit(std::string_view text);

std::pair<double, double> Limits(std::string_view text);

}  // namespace Lumenar::Scpi
