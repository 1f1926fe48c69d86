// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "MathFactory.hh"
#include "client/Connection.h"
#include "platform/orb/names.h"

namespace Lumenar::Client {

/// One element of the factory's TYPE.
struct MathType {
  std::int32_t number = 0;
  std::string name;
};

/// A live math object.
struct MathObject {
  std::int32_t id = 0;
  std::string type;
  Corvanta::MathFactory::Math_var reference;
};

/// A live math object as a list shows it.
struct MathStatus {
  std::int32_t id = 0;
  std::string type;
  std::vector<std::string> inputs;  ///< topics of the inputs
  Reading result;
  std::uint64_t refused = 0;  ///< samples that its operation refused
  std::string last_reason;    ///< empty when none was
};

/// One input of a math object, as its engine sees it.
struct InputReport {
  std::string topic;
  std::uint64_t samples = 0;                     ///< that came since the object was created
  std::optional<std::chrono::microseconds> age;  ///< since the last of them; nothing before the first
  bool away = false;                             ///< the engine that publishes it does not answer
  std::int32_t handle = 0;                       ///< of the object's subscription at the topic manager
};

/// All that a math object knows of itself.
struct MathReport {
  std::int32_t id = 0;
  std::string type;
  std::vector<InputReport> inputs;
  std::string result_topic;
  std::string kind;                              ///< of the result, as in TypeInfo
  Corvanta::VALUE_UNITS::Units units;            ///< of the present result
  std::uint32_t points = 0;                      ///< of the present result; 1 of a scalar, 0 before the first
  std::uint32_t size = 0;                        ///< SIZE of an Average, else 0
  std::uint32_t filled = 0;                      ///< samples in an Average's mean, else 0
  std::uint64_t results = 0;                     ///< since the object was created
  std::chrono::duration<double> interval{0};     ///< between results; 0 before the second
  std::optional<std::chrono::microseconds> age;  ///< of the present result; nothing before the first
  bool refusing = false;                         ///< the last sample that came was refused
  std::uint64_t refused = 0;
  std::string last_reason;
};

/// The math objects of one math engine.
/// Errors   of all functions: Error NotFound (no such engine, no such id), Refused, Unreachable.
class MathObjects {
 public:
  /// `factory` is the engine's registered name.
  explicit MathObjects(Connection& connection, std::string factory = Corvanta::kFirstMathFactory);

  /// The engine's registered name.
  const std::string& Engine() const { return engine_; }

  std::vector<MathType> Types();

  /// The type that a text means: its name, in any case of letters, or its number.
  /// Errors   BadArgument, naming what there is.
  MathType TypeFrom(const std::string& text);

  /// A new object of the type, given by its name (in any case of letters) or its number, over the inputs, each as in
  /// Find.
  ///
  /// The type is an attribute that all clients share, so that another client may change it between our setting it and
  /// our creating the object. An object of a wrong type is deleted again, a refusal under another type is not believed,
  /// and the creation is tried again, at most five times in all.
  /// Errors   also BadArgument for an unknown type.
  MathObject Create(const std::string& type, const std::vector<std::string>& inputs);
  MathObject Create(const MathType& type, const std::vector<Reading>& inputs);

  /// Ascending by id; one call for all of them.
  std::vector<MathStatus> List();

  /// What every object says of itself, ascending by id; one call for all of them.
  std::vector<MathReport> Reports();
  MathReport Report(std::int32_t id);

  MathObject Get(std::int32_t id);

  /// The inputs that an object was created over, in their order. Of an input whose engine does not answer `type_name`
  /// is empty.
  std::vector<Reading> Inputs(std::int32_t id);

  /// The reading RESULT of an object.
  Reading Result(std::int32_t id);
  Reading ResultOf(const MathObject& object);

  /// What an object has by this name, in any case of letters: RESULT, and of an Average SIZE and FULL.
  /// Errors   also BadArgument, naming what the object has.
  Reading Item(std::int32_t id, const std::string& name);

  /// The reading that a text means: a math object, see MathNameFromText, is its RESULT, everything else as
  /// Connection::FindReading.
  Reading Find(const std::string& text);

  /// SIZE of an Average.
  /// Errors   also Refused outside the limits, BadArgument for an object of another type.
  void SetSize(std::int32_t id, std::int32_t size);
  std::int32_t Size(std::int32_t id);

  /// RESET of an Average or a Peak.
  /// Errors   also BadArgument for an object of another type.
  void Reset(std::int32_t id);

  void Delete(std::int32_t id);

 private:
  bool TryCreate(const MathType& type, const Corvanta::MathFactory::ReadingAttribSeq& inputs, MathObject& created);
  Corvanta::MathFactory::Average_var Average(std::int32_t id);

  Connection& connection_;
  const std::string engine_;
  Corvanta::MathFactory::Interfaces_var factory_;
};

}  // namespace Lumenar::Client
