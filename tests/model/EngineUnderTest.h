// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "tests/model/MathModel.h"
#include "tests/model/TopicTraffic.h"
#include "tests/support/EngineFixture.h"

namespace Lumenar::Model {

namespace Bench = Lumenar::Test;  // inside a fixture, Test is its base class

/// The running system as the commands of the model check use it: an engine and a topic manager in processes of their
/// own, the inputs in this one. It stays from case to case; only what clients make is taken away between.
class EngineUnderTest : public Bench::EngineFixture {
 public:
  EngineUnderTest();
  ~EngineUnderTest() override;
  void TestBody() override {}

  /// The inputs and their values at the start of a case.
  static std::vector<Datum> StartValues();

  /// Begins a case: no object, TYPE 0, the inputs at their start values.
  void Begin();

  void SetType(int type);
  Creation Create(const std::vector<Source>& inputs, int expected_id);
  void Delete(int id);
  void Feed(int input, const Datum& datum);
  bool SetSize(int id, int size);
  void Reset(int id);
  void KillTopicManager();

  /// Returns when everybody found the topic manager again.
  void StartTopicManager();

  /// Waits until all samples under way have arrived, and compares everything that clients can see with the model; what
  /// differs, or empty.
  std::string Difference(const MathModel& model);

 private:
  using TraceWatcher = Bench::Watcher<Bench::BT_DATA>;
  using ScalarWatcher = Bench::Watcher<Bench::Scalar>;

  /// An object that the engine has.
  struct Subject {
    Corvanta::MathFactory::Math_var math;
    std::unique_ptr<TraceWatcher> traces;
    std::unique_ptr<ScalarWatcher> scalars;
    std::size_t seen = 0;  ///< of what was published
  };

  void DeleteAll();
  void Adopt(int id, Corvanta::MathFactory::Math_ptr math);
  Corvanta::EngineReadingBase_ptr ReferenceTo(const Source& source);
  void MakeMarker();
  std::string DifferenceOf(int id, const Object& object);
  std::string DifferenceOfAverage(int id, const Object& object);
  std::vector<Datum> NewlyPublished(Subject& subject);
  static Datum ResultOf(const Subject& subject);

  std::vector<std::unique_ptr<Bench::TraceInput>> traces_;
  std::vector<std::unique_ptr<Bench::ScalarInput>> scalars_;
  std::vector<std::unique_ptr<Bench::LongInput>> longs_;
  Bench::ScalarInput marker_input_;
  Corvanta::MathFactory::Math_var marker_;
  std::unique_ptr<ScalarWatcher> marker_results_;
  double marks_ = 0;

  TopicTraffic traffic_;
  std::map<int, Subject> subjects_;
  std::map<int, Corvanta::EngineReadingBase_var> results_;  ///< also of objects that are gone
  int first_id_ = 0;                                        ///< the engine's id of the case's id 0
  const std::vector<std::string> operation_names_ = Bench::OperationNames(factory_);
};

/// The kinds of the inputs, in order.
inline constexpr Kind kInputKinds[] = {Kind::Trace,  Kind::Trace,  Kind::Trace, Kind::Trace, Kind::Scalar,
                                       Kind::Scalar, Kind::Scalar, Kind::Long,  Kind::Long};
inline constexpr int kInputs = static_cast<int>(std::size(kInputKinds));

}  // namespace Lumenar::Model
