// SPDX-License-Identifier: Apache-2.0
#include "tests/model/commands.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "tests/model/datum_text.h"

namespace Lumenar::Model {
namespace {

namespace gen = rc::gen;

/// Evenly from low to high - 1. (Left to themselves, numbers are small ones in small cases, and choices no choices.)
int Draw(int low, int high) { return *gen::resize(rc::kNominalSize, gen::inRange(low, high)); }

bool OneIn(int count) { return Draw(0, count) == 0; }

template <class T>
T DrawOneOf(const std::vector<T>& choices) {
  return choices[static_cast<std::size_t>(Draw(0, static_cast<int>(choices.size())))];
}

// ---------------------------------------------------------------- random samples

Value::Units DrawUnits() {
  using Value::Make_unit;
  static const std::vector<Value::Units> kCommon = {Make_unit(Value::U_Watt), Bench::kMilliwatt, Bench::kdBm,
                                                    Make_unit(Value::U_Watt, 1, 0, true)};
  static const std::vector<Value::Units> kRare = {Value::C_Empty,
                                                  Make_unit(Value::U_None, 0, 0, true),
                                                  Make_unit(Value::U_Volt),
                                                  Make_unit(Value::U_Volt, 1, -3),
                                                  Make_unit(Value::U_Volt, 2),
                                                  Make_unit(Value::U_Volt, 2, 0, true),
                                                  Make_unit(Value::U_Volt, 1, -3, true)};
  return OneIn(6) ? DrawOneOf(kRare) : DrawOneOf(kCommon);
}

/// Mostly levels and powers as they are measured, now and then a number that breaks things.
double DrawNumber() {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  static const std::vector<double> kOdd = {0.0, -0.0, kInfinity, -kInfinity, NAN, 3e38, -3e38, 1e-40, 400, -400};
  return OneIn(60) ? DrawOneOf(kOdd) : Draw(-400, 401) / 8.0;
}

Datum DrawSweep() {
  static const std::vector<std::size_t> kLengths = {3, 3, 3, 3, 3, 3, 3, 3, 0, 1, 4};
  std::vector<float> samples(DrawOneOf(kLengths));
  for (float& sample : samples) sample = static_cast<float>(DrawNumber());
  const Value::Units units = DrawUnits();
  return Bench::Trace(samples, units, static_cast<unsigned>(Draw(0, 1000)));
}

Datum DrawQuantity() {
  const double number = DrawNumber();
  const double minus_err = -Draw(0, 9) / 4.0;
  const double plus_err = Draw(0, 9) / 4.0;
  return Bench::ScalarOf(number, DrawUnits(), minus_err, plus_err);
}

Datum DrawDatum(Kind kind) {
  if (kind == Kind::Trace) return DrawSweep();
  if (kind == Kind::Scalar) return DrawQuantity();
  return CORBA::Long{Draw(-2, 6)};
}

// ---------------------------------------------------------------- random sources

std::string NameOf(const Source& source) {
  static constexpr const char* kNames[] = {"input", "result", "nil"};
  return source.type == Source::Nil ? "nil" : fmt::format("{} {}", kNames[source.type], source.number);
}

/// Everything that can be named as an input; of one kind only, if wanted.
std::vector<Source> SourcesOf(const MathModel& model, std::optional<Kind> kind) {
  std::vector<Source> sources;
  for (int i = 0; i < kInputs; ++i) sources.push_back({Source::Input, i});
  for (int id = 0; id < model.NextId(); ++id) {
    if (model.Knows(id)) sources.push_back({Source::Result, id});
  }
  const auto unfit = [&](const Source& source) { return kind && model.KindOfSource(source) != kind; };
  sources.erase(std::remove_if(sources.begin(), sources.end(), unfit), sources.end());
  return sources;
}

Source DrawSource(const MathModel& model, std::optional<Kind> kind) { return DrawOneOf(SourcesOf(model, kind)); }

/// Inputs that an operation takes.
std::vector<Source> DrawFitting(const MathModel& model, int type) {
  if (type == kCumulativeAdd) {
    return {DrawSource(model, Kind::Trace), DrawSource(model, Kind::Long), DrawSource(model, Kind::Long)};
  }
  const Kind kind = OneIn(2) ? Kind::Scalar : Kind::Trace;
  std::vector<Source> inputs{DrawSource(model, kind)};
  if (Judge::InputsOf(static_cast<Judge::Type>(type)) == 2) inputs.push_back(DrawSource(model, kind));
  return inputs;
}

/// Any inputs at all, mostly refused.
std::vector<Source> DrawAny(const MathModel& model) {
  std::vector<Source> inputs(static_cast<std::size_t>(Draw(0, 5)));
  for (Source& input : inputs) input = OneIn(10) ? Source{} : DrawSource(model, std::nullopt);
  return inputs;
}

using Operations = std::vector<Operation>;

bool IsOneOf(const MathModel& model, int id, const Operations& operations) {
  const auto found = model.Objects().find(id);
  return found != model.Objects().end() &&
         std::find(operations.begin(), operations.end(), found->second.operation) != operations.end();
}

/// The id of an object of one of these operations.
int DrawObject(const MathModel& model, const Operations& operations) {
  std::vector<int> ids;
  for (const auto& [id, object] : model.Objects()) {
    if (IsOneOf(model, id, operations)) ids.push_back(id);
  }
  RC_PRE(!ids.empty());
  return DrawOneOf(ids);
}

void Expect(bool holds, const std::string& text) {
  if (!holds) RC_FAIL(text);
}

// ---------------------------------------------------------------- commands

/// Mostly one that an object works on.
int DrawInput(const MathModel& model) {
  std::vector<int> used;
  for (const auto& [id, object] : model.Objects()) {
    for (const Source& source : object.inputs) {
      if (source.type == Source::Input) used.push_back(source.number);
    }
  }
  return used.empty() || OneIn(8) ? Draw(0, kInputs) : DrawOneOf(used);
}

struct Feed : Command {
  int input;
  Datum datum;

  explicit Feed(const MathModel& model) : input(DrawInput(model)), datum(DrawDatum(kInputKinds[input])) {}
  void apply(MathModel& model) const override { model.Feed(input, datum); }
  void Do(const MathModel&, EngineUnderTest& engine) const override { engine.Feed(input, datum); }
  void show(std::ostream& out) const override { out << "feed input " << input << ": " << TextOf(datum); }
};

struct SetType : Command {
  int type = OneIn(5) ? DrawOneOf<int>({-1, kOperations, 99, INT32_MIN}) : Draw(0, kOperations);

  void apply(MathModel& model) const override { model.SetType(type); }
  void Do(const MathModel&, EngineUnderTest& engine) const override { engine.SetType(type); }
  void show(std::ostream& out) const override { out << "set TYPE " << type; }
};

/// Sets TYPE, or leaves it as the last command left it, and creates.
struct Create : Command {
  static constexpr std::size_t kMostObjects = 6;
  std::optional<int> type;
  std::vector<Source> inputs;

  explicit Create(const MathModel& model) {
    if (!OneIn(4)) type = Draw(0, kOperations);
    const int effective = type.value_or(model.Type());
    const bool exists = effective >= 0 && effective < kOperations;
    inputs = exists && !OneIn(6) ? DrawFitting(model, effective) : DrawAny(model);
  }

  Creation Apply(MathModel& model) const {
    if (type) model.SetType(*type);
    return model.Create(inputs);
  }

  void checkPreconditions(const MathModel& before) const override {
    for (const Source& input : inputs) RC_PRE(input.type != Source::Result || before.Knows(input.number));
    MathModel after = before;
    if (Apply(after).kind == Creation::Made)
      RC_PRE(!before.MeetsItself(inputs) && after.Objects().size() <= kMostObjects);
  }

  void apply(MathModel& model) const override { Apply(model); }

  void Do(const MathModel& before, EngineUnderTest& engine) const override {
    if (type) engine.SetType(*type);
    MathModel after = before;
    const Creation expected = Apply(after);
    const Creation actual = engine.Create(inputs, before.NextId());
    Expect(actual.kind == expected.kind && actual.text == expected.text,
           fmt::format("creation ends as {} \"{}\" instead of {} \"{}\"", static_cast<int>(actual.kind), actual.text,
                       static_cast<int>(expected.kind), expected.text));
  }

  void show(std::ostream& out) const override {
    out << "create " << (type ? std::to_string(*type) : "by TYPE") << " of";
    for (const Source& input : inputs) out << ", " << NameOf(input);
  }
};

/// Also of ids that no object has.
struct Delete : Command {
  int id;

  explicit Delete(const MathModel& model) : id(Draw(0, model.NextId() + 2)) {}
  void apply(MathModel& model) const override { model.Delete(id); }
  void Do(const MathModel&, EngineUnderTest& engine) const override { engine.Delete(id); }
  void show(std::ostream& out) const override { out << "delete " << id; }
};

struct SetSize : Command {
  int id;
  int size = OneIn(5) ? DrawOneOf<int>({-1, 0, 1, 99, 100, INT32_MAX}) : Draw(1, 6);

  explicit SetSize(const MathModel& model) : id(DrawObject(model, {kAverage})) {}
  void checkPreconditions(const MathModel& model) const override { RC_PRE(IsOneOf(model, id, {kAverage})); }
  void apply(MathModel& model) const override { model.SetSize(id, size); }

  void Do(const MathModel& before, EngineUnderTest& engine) const override {
    MathModel after = before;
    Expect(engine.SetSize(id, size) == after.SetSize(id, size), "SIZE is taken where it should be refused, or refused");
  }

  void show(std::ostream& out) const override { out << "set SIZE of " << id << " to " << size; }
};

struct Reset : Command {
  int id;

  explicit Reset(const MathModel& model) : id(DrawObject(model, {kAverage, kPeak})) {}
  void checkPreconditions(const MathModel& model) const override { RC_PRE(IsOneOf(model, id, {kAverage, kPeak})); }
  void apply(MathModel& model) const override { model.Reset(id); }
  void Do(const MathModel&, EngineUnderTest& engine) const override { engine.Reset(id); }
  void show(std::ostream& out) const override { out << "reset " << id; }
};

/// Seldom, since it takes its time.
struct KillTopicManager : Command {
  explicit KillTopicManager(const MathModel& model) { RC_PRE(model.HasTopics() && OneIn(10)); }
  void checkPreconditions(const MathModel& model) const override { RC_PRE(model.HasTopics()); }
  void apply(MathModel& model) const override { model.SwitchTopics(false); }
  void Do(const MathModel&, EngineUnderTest& engine) const override { engine.KillTopicManager(); }
  void show(std::ostream& out) const override { out << "kill the topic manager"; }
};

struct StartTopicManager : Command {
  explicit StartTopicManager(const MathModel& model) { RC_PRE(!model.HasTopics()); }
  void checkPreconditions(const MathModel& model) const override { RC_PRE(!model.HasTopics()); }
  void apply(MathModel& model) const override { model.SwitchTopics(true); }
  void Do(const MathModel&, EngineUnderTest& engine) const override { engine.StartTopicManager(); }
  void show(std::ostream& out) const override { out << "start the topic manager"; }
};

}  // namespace

void Command::run(const MathModel& before, EngineUnderTest& engine) const {
  Do(before, engine);
  const std::string difference = engine.Difference(nextState(before));
  Expect(difference.empty(), difference);
}

rc::Gen<std::shared_ptr<const rc::state::Command<MathModel, EngineUnderTest>>> NextCommand(const MathModel& model) {
  return rc::state::gen::execOneOfWithArgs<Feed, Feed, Feed, Feed, Feed, Feed, Feed, Feed, Create, Create, SetType,
                                           Delete, SetSize, Reset, KillTopicManager, StartTopicManager>()(model);
}

}  // namespace Lumenar::Model
