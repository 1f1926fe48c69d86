// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "client/Connection.h"

namespace Lumenar::Client {

/// How a part of the platform was found.
enum class Verdict {
  Well,
  Look,   ///< it works, and somebody should look at it; or it gives no data for a reason that may be wanted
  Fails,  ///< it does not work
};

/// One part of the platform as it was found.
struct Finding {
  std::string part;     ///< "topic manager", "engine PROBE/1", "math:3", "reading PROBE/1/LEVEL"
  std::string address;  ///< of its process, as its reference tells it; empty where there is none
  Verdict verdict = Verdict::Well;
  std::string text;    ///< what was found; printable, one line
  std::string remedy;  ///< the command, or the deed, that mends it; empty where all is well
};

/// What to examine, and how long to look.
struct DiagnosisRequest {
  std::string factory;  ///< registered name of the math engine
  std::string reading;  ///< examine this one and what it is computed from, "math:3"; empty: everything
  std::chrono::milliseconds count_for{1000};  ///< samples are counted so long
};

/// Looks for reasons why no data come: the settings and the naming service; the topic manager, whether it reaches this
/// process (by a subscription of our own), and what it has dropped; hardware enumeration, and whether the engines that
/// it reports are there; each engine, and what it could not send; the math objects, their subscriptions, what they
/// refused; the readings that they compute on. In this order; without a naming service nothing else can be found.
/// Errors   none: what fails is a finding.
std::vector<Finding> Diagnose(Connection& connection, const DiagnosisRequest& request);

}  // namespace Lumenar::Client
