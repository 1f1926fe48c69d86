// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <vector>

#include "tests/support/EngineFixture.h"

namespace Lumenar::Bench {

/// What a process has used so far.
double CpuSecondsOf(pid_t process);
double ResidentBytesOf(pid_t process);

/// A platform of its own with a math engine, and two readings as the inputs of all objects: a trace of 1001 points, and
/// a scalar.
class ObjectsRig {
 public:
  static constexpr int kPoints = 1001;

  ObjectsRig();

  /// A new math object; the time that CreateMath took, in seconds.
  double Create(Test::MathType type) { return Create(type, trace_inputs_); }
  double CreateOnScalar(Test::MathType type) { return Create(type, scalar_inputs_); }

  /// Deletes the newest object; the time that DeleteMath took, in seconds.
  double DeleteNewest();

  /// Asks the engine for its objects with their states, in one call; the time that it took, in seconds.
  double List();

  CORBA::Long NewestId() const { return ids_.back(); }

  std::size_t Objects() const { return ids_.size(); }

  /// SIZE of the newest object, an Average.
  void SetSize(int size);

  /// Publishes samples one after another and waits until every object has had each of them.
  void Publish(int samples);

  Test::IsolatedPlatform& Platform() { return platform_; }

  /// CPU time of engine and topic manager together, in seconds.
  double CpuSeconds();
  double EngineBytes() { return ResidentBytesOf(engine_.Pid()); }
  double TopicManagerBytes() { return ResidentBytesOf(platform_.TopicManager().Pid()); }

 private:
  using Inputs = Corvanta::MathFactory::ReadingAttribSeq[2];  // one input, and two

  double Create(Test::MathType type, const Inputs& inputs);
  void WaitUntilDelivered();

  Test::IsolatedPlatform platform_;
  Test::Process& engine_;
  Test::Testbench bench_;
  Corvanta::MathFactory::Interfaces_var factory_;
  Test::BT_DATA sample_;
  Test::TraceInput input_;
  Test::ScalarInput scalar_;
  Inputs trace_inputs_;
  Inputs scalar_inputs_;
  std::vector<CORBA::Long> ids_;
};

}  // namespace Lumenar::Bench
