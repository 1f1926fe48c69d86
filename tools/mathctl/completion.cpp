// SPDX-License-Identifier: Apache-2.0
#include <map>
#include <memory>

#include "platform/base/Diagnostic.h"
#include "tools/mathctl/command.h"

namespace Lumenar::Mathctl {
namespace {

constexpr const char* kCompletionFooter =
    "The shell asks mathctl for the words: verbs, options, and the names that the platform has at the moment.\n"
    "\n"
    "Examples:\n"
    "  eval \"$(mathctl completion bash)\"        # in ~/.bashrc\n"
    "  eval \"$(mathctl completion zsh)\"         # in ~/.zshrc, behind compinit\n"
    "  mathctl completion fish | source         # in ~/.config/fish/config.fish";

// A colon ends a word in bash, so what stands before the last one is there already.
constexpr const char* kBash = R"(_mathctl_words() {
  local line=${COMP_LINE:0:COMP_POINT} typed there
  mapfile -t COMPREPLY < <("$1" __complete "$line" 2>/dev/null)
  typed=${line##*[[:space:]]}
  if [[ $typed == *:* && $COMP_WORDBREAKS == *:* ]]; then
    there=${typed%"${typed##*:}"}
    COMPREPLY=("${COMPREPLY[@]#"$there"}")
  fi
}
complete -o default -F _mathctl_words mathctl)";

constexpr const char* kZsh = R"(_mathctl_words() {
  local -a found
  found=("${(@f)$("${words[1]}" __complete "mathctl ${(j: :)words[2,CURRENT-1]} $PREFIX" 2>/dev/null)}")
  found=(${found:#})
  if (( ${#found} )); then
    compadd -M 'm:{a-zA-Z}={A-Za-z}' -a found
  else
    _files
  fi
}
compdef _mathctl_words mathctl)";

// Of itself, fish takes what stands behind a colon for the beginning of a file's name.
constexpr const char* kFish = R"(function _mathctl_words
  set -l found (mathctl __complete (commandline -cp | string collect) 2>/dev/null)
  if test (count $found) -gt 0
    printf '%s\n' $found
  else
    __fish_complete_path (commandline -ct)
  end
end
complete -c mathctl -f -a '(_mathctl_words)')";

}  // namespace

void DefineCompletion(CLI::App& app, Command& command) {
  static const std::map<std::string, std::string> kScripts{{"bash", kBash}, {"zsh", kZsh}, {"fish", kFish}};
  auto* verb = app.add_subcommand("completion", "Writes what makes a shell complete verbs, options and names");
  verb->footer(kCompletionFooter);
  const auto shell = std::make_shared<std::string>();
  verb->add_option("SHELL", *shell, "bash, zsh or fish")
      ->required()
      ->transform(CLI::IsMember({"bash", "zsh", "fish"}, CLI::ignore_case).description(""));
  verb->callback([&command, shell] { command.run = [shell](const Session&) { WriteOut(kScripts.at(*shell)); }; });
}

}  // namespace Lumenar::Mathctl
