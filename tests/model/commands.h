// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <rapidcheck/state.h>

#include "tests/model/EngineUnderTest.h"

namespace Lumenar::Model {

/// One thing that a client, an instrument or fate does; drawn at random with regard to the state that the model is in.
class Command : public rc::state::Command<MathModel, EngineUnderTest> {
 public:
  /// Does it, and compares the two worlds.
  void run(const MathModel& before, EngineUnderTest& engine) const final;

 protected:
  /// Does it to the engine; what the engine answers must be what the model answered.
  virtual void Do(const MathModel& before, EngineUnderTest& engine) const = 0;
};

/// The generator of commands for rc::state::check.
rc::Gen<std::shared_ptr<const rc::state::Command<MathModel, EngineUnderTest>>> NextCommand(const MathModel& model);

}  // namespace Lumenar::Model
