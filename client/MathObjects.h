// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
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

/// The math objects of one math engine.
/// Errors   of all functions: Error NotFound (no such engine, no such id), Refused, Unreachable.
class MathObjects {
 public:
  /// `factory` is the engine's registered name.
  explicit MathObjects(Connection& connection, std::string factory = Corvanta::kFirstMathFactory);

  std::vector<MathType> Types();

  /// A new object of the type, given by its name (in any case of letters) or its number, over the inputs, each as in
  /// Find.
  ///
  /// The type is an attribute that all clients share, so that another client may change it between our setting it and
  /// our creating the object. An object of a wrong type is deleted again, a refusal under another type is not believed,
  /// and the creation is tried again, at most five times in all.
  /// Errors   also BadArgument for an unknown type.
  MathObject Create(const std::string& type, const std::vector<std::string>& inputs);

  /// Ascending by id; one call for all of them.
  std::vector<MathStatus> List();

  MathObject Get(std::int32_t id);

  /// The reading RESULT of an object.
  Reading Result(std::int32_t id);

  /// The reading that a text means: "math:3" and "3" are RESULT of object 3, everything else as
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
  MathType TypeFrom(const std::string& text);
  Corvanta::MathFactory::ReadingAttribSeq References(const std::vector<std::string>& inputs);
  bool TryCreate(const MathType& type, const Corvanta::MathFactory::ReadingAttribSeq& inputs, MathObject& created);
  Corvanta::MathFactory::Average_var Average(std::int32_t id);

  Connection& connection_;
  const std::string engine_;
  Corvanta::MathFactory::Interfaces_var factory_;
};

}  // namespace Lumenar::Client
