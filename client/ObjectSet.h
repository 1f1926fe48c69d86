// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/Connection.h"
#include "client/MathObjects.h"

namespace Lumenar::Client {

/// One input of an object in a set: a reading by its name, or the result of another object of the set.
struct SetInput {
  std::string reading;                ///< "PROBE/1/WAKEUP"; empty for an object
  std::optional<std::size_t> object;  ///< place in the set
  friend bool operator==(const SetInput&, const SetInput&) = default;
};

/// One object of a set.
struct SetObject {
  std::string type;
  std::vector<SetInput> inputs;
  std::int32_t size = 0;  ///< SIZE of an Average; 0: not told
  friend bool operator==(const SetObject&, const SetObject&) = default;
};

/// The math objects of an engine as they can be kept in a file and made again: each with its type, its inputs by name
/// and its SIZE. No object is an input of itself, however far round.
class ObjectSet {
 public:
  ObjectSet() = default;

  /// Errors   Error BadArgument for an input that is no object of the set, or for objects in a ring.
  explicit ObjectSet(std::vector<SetObject> objects);

  /// The reverse of Json.
  /// Errors   Error BadArgument, with a reason of one line.
  static ObjectSet FromJson(std::string_view text);

  /// As text with line ends; lists of objects stand one a line.
  std::string Json() const;

  const std::vector<SetObject>& Objects() const { return objects_; }

  /// Places, each behind those of its inputs.
  const std::vector<std::size_t>& Order() const { return order_; }

 private:
  std::vector<SetObject> objects_;
  std::vector<std::size_t> order_;
};

/// What an engine has now.
struct PresentSet {
  ObjectSet set;
  /// Objects that cannot be made again, and those over them: an input is the result of an object that is gone. Each in
  /// a sentence.
  std::vector<std::string> left_out;
};

/// Errors   Error Unreachable, Refused.
PresentSet PresentObjects(Connection& connection, MathObjects& objects);

/// What became of one object of a set.
struct AppliedObject {
  enum class Deed {
    There,    ///< it is there as it should be
    SizeSet,  ///< it is there, and got its SIZE
    Created,
    Waiting,  ///< one of its inputs is not there; `why` says which
    Failed,   ///< the engine refused; `why` says what it said
  };
  std::size_t place = 0;  ///< in the set
  Deed deed = Deed::There;
  std::optional<std::int32_t> id;  ///< nothing for one that is not there, or would be created
  std::string why;
};

/// Makes an engine have the objects of a set: creates what is missing, in order of dependency, and sets SIZE where it
/// is another. What there is besides stays. With `dry_run` nothing is changed, and the answer says what would be done.
/// One object of the engine stands for one of the set at most.
/// Errors   Error Unreachable when the engine or the naming service does not answer; what a single object meets is told
///          in the answer.
std::vector<AppliedObject> ApplyObjects(Connection& connection, MathObjects& objects, const ObjectSet& set,
                                        bool dry_run);

}  // namespace Lumenar::Client
