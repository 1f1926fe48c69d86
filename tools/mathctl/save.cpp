// SPDX-License-Identifier: Apache-2.0
#include <memory>

#include "client/ObjectSet.h"
#include "platform/base/Diagnostic.h"
#include "recording/OutputFile.h"
#include "tools/mathctl/command.h"
#include "tools/mathctl/file_errors.h"

namespace Lumenar::Mathctl {
namespace {

struct SaveArguments {
  std::string file;
  bool force = false;
};

void Save(const Session& session, const SaveArguments& arguments) {
  Client::MathObjects objects = session.Objects();
  const Client::PresentSet present = Client::PresentObjects(session.connection, objects);
  for (const std::string& sentence : present.left_out) WriteError("mathctl: " + sentence);
  std::string text = present.set.Json();
  if (arguments.file.empty()) {
    text.pop_back();  // the line end
    return WriteOut(text);
  }
  using Existing = Recording::OutputFile::Existing;
  WithFiles([&] {
    Recording::OutputFile file(arguments.file, arguments.force ? Existing::Replaced : Existing::Refused);
    file.Write(text);
    file.Close();
  });
}

constexpr const char* kSaveFooter =
    "Each object has a line: its type, its inputs by name (an object of the set by its place, from 0), its SIZE. The\n"
    "samples that an Average or a Peak has are not kept.\n"
    "\n"
    "Examples:\n"
    "  mathctl save bench.json\n"
    "  mathctl apply bench.json";

}  // namespace

void DefineSave(CLI::App& app, Command& command) {
  auto* verb = app.add_subcommand("save", "Writes the math objects as JSON, so that apply makes them again");
  verb->footer(kSaveFooter);
  const auto arguments = std::make_shared<SaveArguments>();
  verb->add_option("FILE", arguments->file, "Where to; without it, standard output");
  verb->add_flag("--force", arguments->force, "Replace a file that is there");
  verb->callback(
      [&command, arguments] { command.run = [arguments](const Session& session) { Save(session, *arguments); }; });
}

}  // namespace Lumenar::Mathctl
