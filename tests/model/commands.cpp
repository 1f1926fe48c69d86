#include "tests/model/commands.h"

#include <fmt/format.h>

#include <cmath>
#include <limits>

#include "tests/model/datum_text.h"

namespace Lumenar::Model {
namespace {

namespace gen = rc::gen;

// ---------------------------------------------------------------- random samples

Units DrawUnits() {
  using Value::Make_unit;
  static const std::vector<Units> kCommon = {Make_unit(Value::U_Watt), Bench::kMilliwatt, Bench::kdBm,
                                             Make_unit(Value::U_Watt, 1, 0, true)};
  static const std::vector<Units> kRare = {Value::C_Empty,
                                           Make_unit(Value::U_None, 0, 0, true),
                                           Make_unit(Value::U_Volt),
                                           Make_unit(Value::U_Volt, 1, -3),
                                           Make_unit(Value::U_Volt, 2),
                                           Make_unit(Value::U_Volt, 2, 0, true),
                                           Make_unit(Value::U_Volt, 1, -3, true)};
  return *gen::inRange(0, 5) > 0 ? *gen::elementOf(kCommon) : *gen::elementOf(kRare);
}

/// Mostly levels and powers as they are measured, now and then a number that breaks things.
double DrawNumber() {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  static const std::vector<double> kOdd = {0.0, -0.0, kInfinity, -kInfinity, NAN, 3e38, -3e38, 1e-40, 400, -400};
  return *gen::inRange(0, 25) > 0 ? *gen::inRange(-400, 401) / 8.0 : *gen::elementOf(kOdd);
}

Datum DrawSweep() {
  static const std::vector<std::size_t> kLengths = {3, 3, 3, 3, 3, 3, 3, 3, 0, 1, 4};
  Sweep sweep;
  sweep.samples.resize(*gen::elementOf(kLengths));
  for (float& sample : sweep.samples) sample = static_cast<float>(DrawNumber());
  sweep.units = DrawUnits();
  sweep.mark = *gen::inRange(0u, 1000u);
  return sweep;
}

Datum DrawQuantity() {
  return Quantity{DrawNumber(), -*gen::inRange(0, 9) / 4.0, *gen::inRange(0, 9) / 4.0, DrawUnits()};
}

Datum DrawDatum(Kind kind) {
  if (kind == Kind::Trace) return DrawSweep();
  if (kind == Kind::Scalar) return DrawQuantity();
  return *gen::inRange(-2, 6);
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

Source DrawSource(const MathModel& model, std::optional<Kind> kind) {
  const std::vector<Source> sources = SourcesOf(model, kind);
  return *gen::elementOf(sources);
}

/// Inputs that an operation takes.
std::vector<Source> DrawFitting(const MathModel& model, int type) {
  if (type == kCumulativeAdd) {
    return {DrawSource(model, Kind::Trace), DrawSource(model, Kind::Long), DrawSource(model, Kind::Long)};
  }
  const Kind kind = *gen::element(Kind::Scalar, Kind::Trace);
  std::vector<Source> inputs{DrawSource(model, kind)};
  if (type == kSubtract || type == kRelativeSubtract) inputs.push_back(DrawSource(model, kind));
  return inputs;
}

/// Any inputs at all, mostly refused.
std::vector<Source> DrawAny(const MathModel& model) {
  std::vector<Source> inputs(static_cast<std::size_t>(*gen::inRange(0, 5)));
  for (Source& input : inputs) input = *gen::inRange(0, 10) > 0 ? DrawSource(model, std::nullopt) : Source{};
  return inputs;
}

/// The id of an object of one of these operations.
int DrawObject(const MathModel& model, const std::vector<Operation>& operations) {
  std::vector<int> ids;
  for (const auto& [id, object] : model.Objects()) {
    if (std::find(operations.begin(), operations.end(), object.operation) != operations.end()) ids.push_back(id);
  }
  RC_PRE(!ids.empty());
  return *gen::elementOf(ids);
}

void Expect(bool holds, const std::string& text) {
  if (!holds) RC_FAIL(text);
}

// ---------------------------------------------------------------- commands

struct Feed : Command {
  int input;
  Datum datum;

  explicit Feed(const MathModel&) : input(*gen::inRange(0, kInputs)), datum(DrawDatum(kInputKinds[input])) {}
  void apply(MathModel& model) const override { model.Feed(input, datum); }
  void Do(const MathModel&, EngineUnderTest& engine) const override { engine.Feed(input, datum); }
  void show(std::ostream& out) const override { out << "feed input " << input << ": " << TextOf(datum); }
};

struct SetType : Command {
  int type = *gen::inRange(0, 4) > 0 ? *gen::inRange(0, static_cast<int>(kOperations)) : *gen::element(-1, 5, 7, INT32_MIN);

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
    if (*gen::inRange(0, 3) > 0) type = *gen::inRange(0, static_cast<int>(kOperations));
    const int effective = type.value_or(model.Type());
    inputs = *gen::inRange(0, 5) > 0 && effective >= 0 && effective < kOperations ? DrawFitting(model, effective)
                                                                                : DrawAny(model);
  }

  Creation Apply(MathModel& model) const {
    if (type) model.SetType(*type);
    return model.Create(inputs);
  }

  void checkPreconditions(const MathModel& before) const override {
    for (const Source& input : inputs) RC_PRE(input.type != Source::Result || before.Knows(input.number));
    MathModel after = before;
    if (Apply(after).kind == Creation::Made) RC_PRE(!before.MeetsItself(inputs) && after.Objects().size() <= kMostObjects);
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

  explicit Delete(const MathModel& model) : id(*gen::inRange(0, model.NextId() + 2)) {}
  void apply(MathModel& model) const override { model.Delete(id); }
  void Do(const MathModel&, EngineUnderTest& engine) const override { engine.Delete(id); }
  void show(std::ostream& out) const override { out << "delete " << id; }
};

struct SetSize : Command {
  int id;
  int size = *gen::inRange(0, 4) > 0 ? *gen::inRange(1, 5) : *gen::element(-1, 0, 1, 99, 100, INT32_MAX);

  explicit SetSize(const MathModel& model) : id(DrawObject(model, {kAverage})) {}
  void checkPreconditions(const MathModel& model) const override { RC_PRE(model.Objects().count(id) > 0); }
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
  void checkPreconditions(const MathModel& model) const override { RC_PRE(model.Objects().count(id) > 0); }
  void apply(MathModel& model) const override { model.Reset(id); }
  void Do(const MathModel&, EngineUnderTest& engine) const override { engine.Reset(id); }
  void show(std::ostream& out) const override { out << "reset " << id; }
};

/// Seldom, since it takes its time.
struct KillTopicManager : Command {
  explicit KillTopicManager(const MathModel& model) { RC_PRE(model.HasTopics() && *gen::inRange(0, 12) == 0); }
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
  return rc::state::gen::execOneOfWithArgs<Feed, Feed, Feed, Feed, Feed, Feed, Create, Create, Create, SetType, Delete,
                                           SetSize, Reset, KillTopicManager, StartTopicManager>()(model);
}

}  // namespace Lumenar::Model
