// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "client/Connection.h"
#include "client/MathName.h"
#include "client/MathObjects.h"
#include "platform/orb/names.h"

namespace Lumenar::Mathctl {

/// Exit codes of the program; they are part of its interface.
enum ExitCode { kDone = 0, kRefused = 1, kUsage = 2, kUnreachable = 3 };

enum class Format { Table, Json, Csv };

/// What every verb understands.
struct Options {
  double timeout_s = 5;
  Format format = Format::Table;
  std::optional<int> precision;  ///< significant digits of numbers for people, from 1 to 17; without it six
  bool quiet = false;            ///< nothing but results and errors
  bool verbose = false;          ///< on standard error, what is done and with whom
  std::string factory = Corvanta::kFirstMathFactory;
  std::string naming;  ///< HOST:PORT; empty: as the environment says

  bool Json() const { return format == Format::Json; }
};

/// What a verb works with while it runs.
struct Session {
  const Options& options;
  Client::Connection& connection;

  Client::MathObjects Objects() const { return Client::MathObjects(connection, options.factory); }

  /// The math object that a text names; those of another engine than --factory's are "MATHFACTORY/2/math:3".
  std::optional<Client::MathName> MathFrom(const std::string& text) const {
    return Client::MathNameFromText(text, options.factory);
  }

  /// As MathFrom. Errors   Client::Error BadArgument for a text that is no math object's.
  Client::MathName RequireMath(const std::string& text) const;

  /// The engine of an object, and what a text is called for people.
  Client::MathObjects ObjectsOf(const Client::MathName& name) const {
    return Client::MathObjects(connection, name.engine);
  }
  std::string TextOf(const Client::MathName& name) const { return Client::MathText(name, options.factory); }

  /// The reading that a text means; a math engine is needed only for its objects.
  Client::Reading Find(const std::string& text) const {
    const auto math = MathFrom(text);
    return math ? ObjectsOf(*math).Result(math->id) : connection.FindReading(text);
  }

  /// The readings that several texts mean, each a name, a math object, or a pattern with * and ? of either ("PROBE/1/*",
  /// "math:*"), in order, none twice. A pattern leaves out what has no value (actions), and an engine that does not
  /// answer, which is said on standard error.
  /// Errors   Client::Error NotFound for a text that nothing fits, naming what is near; as Find.
  std::vector<Client::Reading> FindAll(const std::vector<std::string>& texts) const;
};

/// A parsed command line.
struct Command {
  Options options;
  std::function<void(const Session&)> run;  ///< the verb; fails with Client::Error
  bool ends_on_signal = false;              ///< SIGINT and SIGTERM end the verb in good order instead of killing it
};

/// The verbs, one file each: every function adds its verb to the application; parsing it sets `command.run`.
void DefineEngines(CLI::App& app, Command& command);
void DefineReadings(CLI::App& app, Command& command);
void DefineTypes(CLI::App& app, Command& command);
void DefineCreate(CLI::App& app, Command& command);
void DefineList(CLI::App& app, Command& command);
void DefineShow(CLI::App& app, Command& command);
void DefineTop(CLI::App& app, Command& command);
void DefineGet(CLI::App& app, Command& command);
void DefineWatch(CLI::App& app, Command& command);
void DefinePlot(CLI::App& app, Command& command);
void DefineSet(CLI::App& app, Command& command);
void DefineReset(CLI::App& app, Command& command);
void DefineDelete(CLI::App& app, Command& command);
void DefineSubscriptions(CLI::App& app, Command& command);
void DefineDoctor(CLI::App& app, Command& command);
void DefineDiscover(CLI::App& app, Command& command);
void DefineExplain(CLI::App& app, Command& command);
void DefineGraph(CLI::App& app, Command& command);
void DefineRecord(CLI::App& app, Command& command);
void DefineReplay(CLI::App& app, Command& command);
void DefineConvert(CLI::App& app, Command& command);
void DefineReference(CLI::App& app, Command& command);
void DefineSave(CLI::App& app, Command& command);
void DefineApply(CLI::App& app, Command& command);
void DefineVerify(CLI::App& app, Command& command);
void DefineCompletion(CLI::App& app, Command& command);

/// The application with all its options and verbs, as Parse makes it.
void DefineApplication(CLI::App& app, Command& command);

/// Parses a command line into `command`. Returns true when there is something to run; else `exit_code` is set and the
/// help or the complaint has been written.
bool Parse(int argc, const char* const* argv, Command& command, int& exit_code);

/// Runs a parsed command against the platform; writes what goes wrong to standard error. Returns the exit code.
int Run(const Command& command);

/// Ends the program as the shell's tools end when the reader of their output has closed its pipe, if it has: by SIGPIPE,
/// or with `exit_code` kRefused where who started the program had SIGPIPE ignored. Else the exit code as it is.
int EndWithReader(int exit_code, bool sigpipe_was_ignored);

/// Of an option that is a number of things: empty when the text is a whole number from 1 on, else what is wrong.
std::string CheckCount(const std::string& text);
/// The same from 0 on.
std::string CheckCountOrZero(const std::string& text);

/// Of an option that is a time: empty when the text is one that can be waited, else what is wrong.
std::string CheckSeconds(const std::string& text);

}  // namespace Lumenar::Mathctl
