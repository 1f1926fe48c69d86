// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "client/Address.h"
#include "client/Connection.h"
#include "client/MathName.h"
#include "client/MathObjects.h"

namespace Lumenar::Client {

/// The reading that publishes on a topic: a topic is "ENGINE/INSTANCE/ITEM", and of math objects' items the mark of the
/// engine's run follows.
ReadingName ReadingOfTopic(const std::string& topic);

/// Names for people of the topics that math objects take their samples from: of an instrument's reading its full name,
/// of a math object's result the object.
class TopicNames {
 public:
  /// `factory` is the engine that the user works with, see MathText.
  TopicNames(Connection& connection, std::string factory);

  /// The results of an engine's objects, instead of those told before.
  void Learn(const std::string& engine, const std::vector<MathReport>& reports);

  /// "PROBE/1/WAKEUP", "math:3", "MATHFACTORY/2/math:3". The result of an object that is no more is its reading and
  /// " (gone)". A math engine of which nothing was learnt is asked once; when it does not answer, its readings' names
  /// have to do.
  std::string Of(const std::string& topic);

 private:
  void LearnFrom(const std::string& engine);
  bool Knows(const std::string& engine, const std::vector<MathReport>& reports) const;

  Connection& connection_;
  const std::string factory_;
  std::set<std::string> asked_;                 // math engines
  std::map<std::string, std::size_t> learned_;  // of those that answered, how many objects they had
  std::unordered_map<std::string, MathName> results_;
};

}  // namespace Lumenar::Client
