// SPDX-License-Identifier: Apache-2.0
#include "tests/model/EngineUnderTest.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <stdexcept>

#include "tests/model/datum_text.h"

namespace Lumenar::Model {
namespace {

using Corvanta::EngineReadingBase;
using Lumenar::Test::BT_DATA;
using Lumenar::Test::Scalar;

BT_DATA RecordOf(const Sweep& sweep) { return Bench::Trace(sweep.samples, sweep.units, sweep.mark); }
Scalar RecordOf(const Quantity& quantity) {
  return Bench::ScalarOf(quantity.value, quantity.units, quantity.minus, quantity.plus);
}

Datum DatumOf(const BT_DATA& record) {
  return Sweep{Bench::SamplesOf(record), Bench::UnitsOf(record), record.sequence_number};
}
Datum DatumOf(const Scalar& record) {
  return Quantity{record.val, record.minus_err, record.plus_err, Bench::UnitsOf(record)};
}

template <class Interface>
typename Interface::_var_type As(CORBA::Object_ptr object) {
  return Interface::_narrow(object);
}

template <class Reading>
Corvanta::EngineReadingBase_ptr BaseOf(Reading& reading) {
  const CORBA::Object_var object = reading._this();
  return EngineReadingBase::_narrow(object);
}

}  // namespace

std::vector<Datum> EngineUnderTest::StartValues() {
  using Value::Make_unit;
  const Units watt = Make_unit(Value::U_Watt);
  const Units decibel = Make_unit(Value::U_None, 0, 0, true);
  return {Sweep{{1, 2, 3}, watt, 1},
          Sweep{{4, 0.5f, -2}, Bench::kMilliwatt, 2},
          Sweep{{-10, 0, 10}, Bench::kdBm, 3},
          Sweep{{3, 6, 9}, decibel, 4},
          Quantity{5, -1, 2, watt},
          Quantity{-3, 0, 0, Bench::kdBm},
          Quantity{2, 0, 0.5, Value::C_Empty},
          0,
          2};
}

EngineUnderTest::EngineUnderTest() : marker_input_(bench_, "MARKER", RecordOf(Quantity{})), traffic_(bench_.Orb()) {
  for (const Datum& datum : StartValues()) {
    const std::string name = fmt::format("INPUT{}", traces_.size() + scalars_.size() + longs_.size());
    if (const auto* sweep = std::get_if<Sweep>(&datum)) {
      traces_.push_back(std::make_unique<Bench::TraceInput>(bench_, name.c_str(), RecordOf(*sweep)));
    } else if (const auto* quantity = std::get_if<Quantity>(&datum)) {
      scalars_.push_back(std::make_unique<Bench::ScalarInput>(bench_, name.c_str(), RecordOf(*quantity)));
    } else {
      longs_.push_back(std::make_unique<Bench::LongInput>(bench_, name.c_str(), std::get<int>(datum)));
    }
  }
  traffic_.Restart();
}

EngineUnderTest::~EngineUnderTest() = default;

void EngineUnderTest::Begin() {
  if (!platform_.TopicManager().IsRunning()) StartTopicManager();
  DeleteAll();
  const auto values = StartValues();
  for (int i = 0; i < kInputs; ++i) Feed(i, values[static_cast<std::size_t>(i)]);
  MakeMarker();
  SetType(0);
}

void EngineUnderTest::DeleteAll() {
  subjects_.clear();
  results_.clear();
  marker_results_.reset();
  Corvanta::MathFactory::IdSeq_var ids = factory_->ListMath();
  for (CORBA::ULong i = 0; i < ids->length(); ++i) factory_->DeleteMath(ids[i]);
}

/// An object beside the model, by which the engine shows that it publishes again.
void EngineUnderTest::MakeMarker() {
  marker_ = EngineFixture::Create(Bench::Average, Inputs(marker_input_));
  marker_results_ = std::make_unique<ScalarWatcher>(ResultTopic(marker_));
  first_id_ = marker_->GetId() + 1;
  traffic_.Register();
}

void EngineUnderTest::SetType(int type) {
  Corvanta::EngineAttribEnum_var selector = factory_->AttrType();
  selector->Set(type);
}

Corvanta::EngineReadingBase_ptr EngineUnderTest::ReferenceTo(const Source& source) {
  if (source.type == Source::Nil) return EngineReadingBase::_nil();
  if (source.type == Source::Result) return EngineReadingBase::_duplicate(results_.at(source.number));
  auto number = static_cast<std::size_t>(source.number);
  if (number < traces_.size()) return BaseOf(*traces_[number]);
  number -= traces_.size();
  if (number < scalars_.size()) return BaseOf(*scalars_[number]);
  return BaseOf(*longs_.at(number - scalars_.size()));
}

Creation EngineUnderTest::Create(const std::vector<Source>& inputs, int expected_id) {
  Corvanta::MathFactory::ReadingAttribSeq references;
  references.length(static_cast<CORBA::ULong>(inputs.size()));
  for (CORBA::ULong i = 0; i < references.length(); ++i) references[i] = ReferenceTo(inputs[i]);
  try {
    Corvanta::MathFactory::Math_var math = factory_->CreateMath(references);
    Adopt(expected_id, math);
    return {Creation::Made, {}};
  } catch (const Corvanta::MathFactory::MathFactoryException& refusal) {
    return {Creation::Refused, std::string(refusal.text)};
  } catch (const CORBA::SystemException&) {
    return {Creation::Failed, {}};
  }
}

void EngineUnderTest::Adopt(int id, Corvanta::MathFactory::Math_ptr math) {
  Subject& subject = subjects_[id];
  subject.math = Corvanta::MathFactory::Math::_duplicate(math);
  Corvanta::EngineReadingBase_var result = math->AttrResult();
  results_[id] = result;
  const bool is_trace = !CORBA::is_nil(As<Corvanta::EngineBasicTrace>(result).in());
  if (is_trace) {
    subject.traces = std::make_unique<TraceWatcher>(ResultTopic(math));
  } else {
    subject.scalars = std::make_unique<ScalarWatcher>(ResultTopic(math));
  }
  traffic_.Register();
}

void EngineUnderTest::Delete(int id) {
  factory_->DeleteMath(first_id_ + id);
  subjects_.erase(id);
}

void EngineUnderTest::Feed(int input, const Datum& datum) {
  auto number = static_cast<std::size_t>(input);
  if (const auto* sweep = std::get_if<Sweep>(&datum)) {
    *traces_.at(number) = RecordOf(*sweep);
  } else if (const auto* quantity = std::get_if<Quantity>(&datum)) {
    *scalars_.at(number - traces_.size()) = RecordOf(*quantity);
  } else {
    *longs_.at(number - traces_.size() - scalars_.size()) = std::get<int>(datum);
  }
}

bool EngineUnderTest::SetSize(int id, int size) {
  const auto average = As<Corvanta::MathFactory::Average>(subjects_.at(id).math);
  Corvanta::EngineAttribLong_var attribute = average->AttrSize();
  try {
    attribute->Set(size);
    return true;
  } catch (const Corvanta::LimitsExceeded&) {
    return false;
  }
}

void EngineUnderTest::Reset(int id) {
  const auto average = As<Corvanta::MathFactory::Average>(subjects_.at(id).math);
  const auto peak = As<Corvanta::MathFactory::Peak>(subjects_.at(id).math);
  Corvanta::EngineAttribVoid_var reset = CORBA::is_nil(average) ? peak->AttrReset() : average->AttrReset();
  reset->Set();
}

void EngineUnderTest::KillTopicManager() { platform_.KillTopicManager(); }

void EngineUnderTest::StartTopicManager() {
  platform_.StartTopicManager();
  traffic_.Restart();
  if (marker_results_ == nullptr) return;
  const double before = marks_;
  const bool found = Bench::WaitUntil([&] {
    marker_input_ = RecordOf(Quantity{++marks_, 0, 0, Value::C_Empty});
    const auto results = marker_results_->All();
    return !results.empty() && results.back().val > before;
  });
  if (!found) throw std::runtime_error("the engine did not find the topic manager again");
}

std::string EngineUnderTest::Difference(const MathModel& model) {
  if (model.HasTopics() && !Bench::WaitUntil([&] { return traffic_.IsQuiet(); })) return "samples stay under way";
  std::vector<int> expected;
  for (const auto& [id, object] : model.Objects()) expected.push_back(first_id_ + id);
  std::vector<int> found;
  Corvanta::MathFactory::IdSeq_var ids = factory_->ListMath();
  for (CORBA::ULong i = 0; i < ids->length(); ++i) {
    if (ids[i] >= first_id_) found.push_back(ids[i]);
  }
  if (found != expected)
    return fmt::format("objects {} instead of {}", fmt::join(found, ","), fmt::join(expected, ","));
  for (const auto& [id, object] : model.Objects()) {
    if (const std::string difference = DifferenceOf(id, object); !difference.empty()) return difference;
  }
  return {};
}

std::string EngineUnderTest::DifferenceOf(int id, const Object& object) {
  Subject& subject = subjects_.at(id);
  CORBA::String_var type = subject.math->GetType();
  if (std::string(type) != operation_names_.at(object.operation))
    return fmt::format("object {} is a {}", id, type.in());
  if (const Datum result = ResultOf(subject); !Same(result, object.result)) {
    return fmt::format("RESULT of {} is {} instead of {}", id, TextOf(result), TextOf(object.result));
  }
  const auto published = NewlyPublished(subject);
  if (published.size() != object.published.size()) {
    return fmt::format("object {} published {} samples instead of {}", id, published.size(), object.published.size());
  }
  for (std::size_t i = 0; i < published.size(); ++i) {
    if (Same(published[i], object.published[i])) continue;
    return fmt::format("object {} published {} instead of {}", id, TextOf(published[i]), TextOf(object.published[i]));
  }
  return object.operation == kAverage ? DifferenceOfAverage(id, object) : std::string();
}

std::string EngineUnderTest::DifferenceOfAverage(int id, const Object& object) {
  const auto average = As<Corvanta::MathFactory::Average>(subjects_.at(id).math);
  Corvanta::EngineAttribLong_var size = average->AttrSize();
  Corvanta::EngineReadingBoolean_var full = average->AttrFull();
  if (size->Get() != object.size) return fmt::format("SIZE of {} is {} instead of {}", id, size->Get(), object.size);
  if (full->Get() != object.full) return fmt::format("FULL of {} is not {}", id, object.full);
  return {};
}

std::vector<Datum> EngineUnderTest::NewlyPublished(Subject& subject) {
  std::vector<Datum> published;
  const auto take = [&](const auto& records) {
    for (; subject.seen < records.size(); ++subject.seen) published.push_back(DatumOf(records[subject.seen]));
  };
  if (subject.traces != nullptr) {
    take(subject.traces->All());
  } else {
    take(subject.scalars->All());
  }
  return published;
}

Datum EngineUnderTest::ResultOf(const Subject& subject) {
  if (subject.traces != nullptr) return DatumOf(TraceResult(subject.math));
  return DatumOf(ScalarResult(subject.math));
}

}  // namespace Lumenar::Model
