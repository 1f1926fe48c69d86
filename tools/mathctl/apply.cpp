// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <chrono>
#include <memory>

#include "client/Error.h"
#include "client/ObjectSet.h"
#include "client/Text.h"
#include "platform/base/Diagnostic.h"
#include "platform/base/TextFile.h"
#include "platform/signals/Signals.h"
#include "tools/mathctl/RowWriter.h"
#include "tools/mathctl/Wakeup.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/file_errors.h"

namespace Lumenar::Mathctl {
namespace {

using Client::AppliedObject;
using Deed = AppliedObject::Deed;

constexpr std::size_t kLargestSet = std::size_t{64} << 20;

struct ApplyArguments {
  std::string file;
  bool dry_run = false;
  bool watch = false;
  double every_s = 2;
};

Client::ObjectSet ReadSet(const std::string& path) {
  return WithFiles([&] {
    const std::string text = TextFile(path).Rest(kLargestSet);
    try {
      return Client::ObjectSet::FromJson(text);
    } catch (const Client::Error& error) {
      throw Client::Error(Client::ErrorKind::Refused, fmt::format("{}: {}", Client::Printable(path), error.what()));
    }
  });
}

const char* DeedWord(Deed deed, bool dry_run) {
  switch (deed) {
    case Deed::There: return "there";
    case Deed::SizeSet: return dry_run ? "would set SIZE" : "set SIZE";
    case Deed::Created: return dry_run ? "would create" : "created";
    case Deed::Waiting: return "waiting";
    case Deed::Failed: break;
  }
  return "refused";
}

/// Ends a wait when a signal comes.
class SignalWakeup {
 public:
  SignalWakeup() {
    Signals::SetHandler([this] { wakeup_.Call(); });
  }
  ~SignalWakeup() { Signals::SetHandler({}); }
  SignalWakeup(const SignalWakeup&) = delete;
  SignalWakeup& operator=(const SignalWakeup&) = delete;

  void WaitFor(std::chrono::milliseconds limit) const { wakeup_.WaitFor(-1, limit); }

 private:
  Wakeup wakeup_;
};

/// A set that is applied, once or again and again.
class Applying {
 public:
  Applying(const Session& session, const ApplyArguments& arguments)
      : session_(session), arguments_(arguments), set_(ReadSet(arguments.file)) {}

  void Once() {
    const auto applied = Apply();
    Write(applied, [](const AppliedObject&) { return true; });
    std::size_t missing = 0;
    const AppliedObject* first = nullptr;
    for (const AppliedObject& object : applied) {
      if (object.deed != Deed::Waiting && object.deed != Deed::Failed) continue;
      if (missing++ == 0) first = &object;
    }
    if (first == nullptr) return;
    throw Client::Error(Client::ErrorKind::Refused, fmt::format("{} of {} objects are not there, the first one: {}",
                                                                missing, applied.size(), first->why));
  }

  // Until a signal comes. Only what changes is told.
  [[noreturn]] void Again() {
    const std::chrono::duration<double> pause(arguments_.every_s);
    const SignalWakeup signal;
    while (true) {
      Look();
      signal.WaitFor(std::chrono::ceil<std::chrono::milliseconds>(pause));
      Signals::ThrowIfPending();
    }
  }

 private:
  std::vector<AppliedObject> Apply() {
    Client::MathObjects objects = session_.Objects();
    return Client::ApplyObjects(session_.connection, objects, set_, arguments_.dry_run);
  }

  void Look() {
    try {
      const auto applied = Apply();
      if (away_) WriteError("mathctl: the math engine is back");
      away_ = false;
      Write(applied, [this](const AppliedObject& object) {
        return last_.empty() || object.deed == Deed::Created || object.deed == Deed::SizeSet ||
               object.deed != last_[object.place].deed;
      });
      last_ = applied;
    } catch (const Client::Error& error) {
      Signals::ThrowIfPending();
      if (!away_) WriteError(fmt::format("mathctl: {}; the set is applied when it is back", error.what()));
      away_ = true;
    }
  }

  template <class Wanted>
  void Write(const std::vector<AppliedObject>& applied, Wanted wanted) const {
    RowWriter rows(session_.options, {"PLACE", "OBJECT", "TYPE", "INPUTS", "DONE"});
    bool any = false;
    for (const AppliedObject& object : applied) {
      if (!wanted(object)) continue;
      Add(rows, object);
      any = true;
    }
    if (any || last_.empty()) rows.Finish();
  }

  void Add(RowWriter& rows, const AppliedObject& applied) const {
    const Client::SetObject& object = set_.Objects()[applied.place];
    const std::string name = applied.id ? session_.TextOf({session_.options.factory, *applied.id}) : "";
    const std::string deed = DeedWord(applied.deed, arguments_.dry_run);
    std::vector<std::string> inputs;
    std::string all;
    for (const Client::SetInput& input : object.inputs) {
      inputs.push_back(input.object ? fmt::format("object {}", *input.object) : Client::Printable(input.reading));
      all += (all.empty() ? "" : ", ") + inputs.back();
    }
    const std::string type = Client::Printable(object.type);
    rows.Add({{"place", applied.place},
              {"object", name},
              {"type", type},
              {"inputs", inputs},
              {"size", object.size},
              {"done", deed},
              {"why", applied.why}},
             {std::to_string(applied.place), name.empty() ? "-" : name, type, all,
              applied.why.empty() ? deed : deed + ": " + applied.why});
  }

  const Session& session_;
  const ApplyArguments& arguments_;
  const Client::ObjectSet set_;
  std::vector<AppliedObject> last_;  // of the look before
  bool away_ = false;
};

void Apply(const Session& session, const ApplyArguments& arguments) {
  Applying applying(session, arguments);
  if (arguments.watch) applying.Again();
  applying.Once();
}

constexpr const char* kApplyFooter =
    "Creates the objects of FILE that the engine has not, inputs first, and sets SIZE where it is another. Objects "
    "that it\n"
    "has besides stay. An object whose inputs are not there waits: apply ends with 1 then; with --watch it is made "
    "when\n"
    "they have come, as all are when the engine was started again.\n"
    "\n"
    "Examples:\n"
    "  mathctl apply bench.json --dry-run\n"
    "  mathctl apply bench.json --watch &";

}  // namespace

void DefineApply(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("apply", "Creates the math objects of a saved set that are missing");
  verb->footer(kApplyFooter);
  const auto arguments = std::make_shared<ApplyArguments>();
  verb->add_option("FILE", arguments->file, "What `mathctl save` wrote")->required();
  auto* dry_run = verb->add_flag("--dry-run", arguments->dry_run, "Say what would be done, and do nothing");
  verb->add_flag("--watch", arguments->watch, "Look again and again, until Ctrl-C")->excludes(dry_run);
  verb->add_option("--every", arguments->every_s, "Seconds between two looks of --watch")
      ->check(CheckSeconds)
      ->type_name("SEC")
      ->capture_default_str();
  verb->callback([&command, arguments] {
    command.ends_on_signal = arguments->watch;
    command.run = [arguments](const Session& session) { Apply(session, *arguments); };
  });
}

}  // namespace Lumenar::Mathctl
