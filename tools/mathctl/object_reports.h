// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "client/MathName.h"
#include "client/MathObjects.h"
#include "client/TopicNames.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {

/// Which math objects a verb is about.
struct ObjectSelection {
  /// Each a math object, or a pattern with * and ? of an object ("math:1*"), a type or the name of an input. None: all
  /// objects.
  std::vector<std::string> filters;
  bool all_engines = false;  ///< of every math engine, not of --factory's alone
};

/// A math object and what it says of itself.
struct ReportedObject {
  Client::MathName name;
  Client::MathReport report;
};

/// The reports of some math objects, by one call to each engine, however often they are wanted.
class ObjectReports {
 public:
  ObjectReports(const Session& session, ObjectSelection selection);

  /// The objects that are selected now, by engine and id. Of engines that the user did not name one that does not
  /// answer is left out, see Silent.
  /// Errors   Client::Error of an engine that the user named; what the last Ask gave stays.
  const std::vector<ReportedObject>& Ask();

  /// Errors   Client::Error NotFound when Ask found nothing for one of the filters.
  void RequireAll() const;

  /// Why an engine was left out by the last Ask.
  const std::optional<Client::Error>& Silent() const { return silent_; }

  /// The names of the topics that objects take their samples from.
  Client::TopicNames& Names() { return names_; }

 private:
  struct Filter {
    std::string text;
    std::optional<Client::MathName> object;
    bool found = false;
  };

  std::vector<std::string> EnginesToAsk();
  void AskEngine(const std::string& engine, std::vector<ReportedObject>& objects);
  bool IsSelected(const ReportedObject& object);
  bool Fits(const Filter& filter, const ReportedObject& object);
  bool NamesEngine(const std::string& engine) const;

  const Session& session_;
  const bool all_engines_;
  std::vector<Filter> filters_;
  Client::TopicNames names_;
  std::vector<ReportedObject> objects_;
  std::optional<Client::Error> silent_;
};

}  // namespace Lumenar::Mathctl
