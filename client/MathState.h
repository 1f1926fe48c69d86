// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <string>

#include "client/MathObjects.h"

namespace Lumenar::Client {

/// What a math object is doing.
enum class MathState {
  Live,       ///< results come
  Waiting,    ///< an input has given no sample yet
  Stale,      ///< results came, and for much longer than between them none has
  InputAway,  ///< the engine of an input does not answer
  Refusing,   ///< the last sample could not be computed with
};

/// A name for people of a topic.
using NameOfTopic = std::function<std::string(const std::string& topic)>;

/// After how long without a result an object is stale: five times the interval between its results, but three seconds
/// at least, so that a source that comes a few times a second may be late; three seconds also before there is an
/// interval. The interval follows the rate of the last results, so that a source that has become slow is stale at first
/// and live again after its next samples.
std::chrono::duration<double> StaleAfter(const MathReport& report);

/// In this order: an input is away; the last sample was refused; no result was computed from a sample yet; stale; live.
/// An input that gives no samples beside one that does is no hindrance: its present value counts.
MathState StateOf(const MathReport& report);

/// "live", "waiting", "stale", "input away", "refusing": for programs.
const char* WordOf(MathState state);

/// The state in words for people, with what they need to know: "live", "waiting for a first sample of PROBE/1/WAKEUP",
/// "stale for 12 s", "input away: PROBE/1/WAKEUP", "units cannot be combined", "lengths differ (1001 and 501)",
/// "not finite: RESET", and behind each ", refused 17 samples" where some were.
/// Inputs are named by `name`; without one as their topics tell.
std::string StateInWords(const MathReport& report, const NameOfTopic& name = {});

}  // namespace Lumenar::Client
