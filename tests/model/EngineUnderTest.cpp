// SPDX-License-Identifier: Apache-2.0
#include "tests/model/EngineUnderTest.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <stdexcept>

#include "judge/same_bits.h"
#include "tests/model/datum_text.h"

namespace Lumenar::Model {
namespace {

using Corvanta::EngineReadingBase;
using Lumenar::Test::BT_DATA;
using Lumenar::Test::Scalar;

Datum Sweep(const std::vector<float>& samples, const Value::Units& units, unsigned mark) {
  return Datum(std::in_place_type<BT_DATA>, Bench::Trace(samples, units, mark));
}

Datum Quantity(double value, double minus_err, double plus_err, const Value::Units& units) {
  return Datum(std::in_place_type<Scalar>, Bench::ScalarOf(value, units, minus_err, plus_err));
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
  const Value::Units watt = Make_unit(Value::U_Watt);
  const Value::Units decibel = Make_unit(Value::U_None, 0, 0, true);
  return {Sweep({1, 2, 3}, watt, 1),
          Sweep({4, 0.5f, -2}, Bench::kMilliwatt, 2),
          Sweep({-10, 0, 10}, Bench::kdBm, 3),
          Sweep({3, 6, 9}, decibel, 4),
          Quantity(5, -1, 2, watt),
          Quantity(-3, 0, 0, Bench::kdBm),
          Quantity(2, 0, 0.5, Value::C_Empty),
          Datum(CORBA::Long{0}),
          Datum(CORBA::Long{2})};
}

EngineUnderTest::EngineUnderTest() : marker_input_(bench_, "MARKER", Scalar{}), traffic_(bench_.Orb()) {
  for (const Datum& datum : StartValues()) {
    const std::string name = fmt::format("INPUT{}", traces_.size() + scalars_.size() + longs_.size());
    if (const auto* trace = std::get_if<BT_DATA>(&datum)) {
      traces_.push_back(std::make_unique<Bench::TraceInput>(bench_, name.c_str(), *trace));
    } else if (const auto* scalar = std::get_if<Scalar>(&datum)) {
      scalars_.push_back(std::make_unique<Bench::ScalarInput>(bench_, name.c_str(), *scalar));
    } else {
      longs_.push_back(std::make_unique<Bench::LongInput>(bench_, name.c_str(), std::get<CORBA::Long>(datum)));
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
  if (const auto* trace = std::get_if<BT_DATA>(&datum)) {
    *traces_.at(number) = *trace;
  } else if (const auto* scalar = std::get_if<Scalar>(&datum)) {
    *scalars_.at(number - traces_.size()) = *scalar;
  } else {
    *longs_.at(number - traces_.size() - scalars_.size()) = std::get<CORBA::Long>(datum);
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
    marker_input_ = Bench::ScalarOf(++marks_, Value::C_Empty);
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
  if (const Datum result = ResultOf(subject); !Judge::SameBits(result, object.Result())) {
    return fmt::format("RESULT of {} is {} instead of {}", id, TextOf(result), TextOf(object.Result()));
  }
  const auto published = NewlyPublished(subject);
  if (published.size() != object.published.size()) {
    return fmt::format("object {} published {} samples instead of {}", id, published.size(), object.published.size());
  }
  for (std::size_t i = 0; i < published.size(); ++i) {
    if (Judge::SameBits(published[i], object.published[i])) continue;
    return fmt::format("object {} published {} instead of {}", id, TextOf(published[i]), TextOf(object.published[i]));
  }
  return object.operation == kAverage ? DifferenceOfAverage(id, object) : std::string();
}

std::string EngineUnderTest::DifferenceOfAverage(int id, const Object& object) {
  const auto average = As<Corvanta::MathFactory::Average>(subjects_.at(id).math);
  Corvanta::EngineAttribLong_var size = average->AttrSize();
  Corvanta::EngineReadingBoolean_var full = average->AttrFull();
  const int expected_size = object.rules->Size().value();
  if (size->Get() != expected_size)
    return fmt::format("SIZE of {} is {} instead of {}", id, size->Get(), expected_size);
  if (full->Get() != object.rules->IsFull()) return fmt::format("FULL of {} is not {}", id, object.rules->IsFull());
  return {};
}

std::vector<Datum> EngineUnderTest::NewlyPublished(Subject& subject) {
  std::vector<Datum> published;
  const auto take = [&](const auto& records) {
    for (; subject.seen < records.size(); ++subject.seen) published.push_back(records[subject.seen]);
  };
  if (subject.traces != nullptr) {
    take(subject.traces->All());
  } else {
    take(subject.scalars->All());
  }
  return published;
}

Datum EngineUnderTest::ResultOf(const Subject& subject) {
  if (subject.traces != nullptr) return TraceResult(subject.math);
  return ScalarResult(subject.math);
}

}  // namespace Lumenar::Model
