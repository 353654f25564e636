// SPDX-License-Identifier: MIT

#include "pages.h"

#include <CelumbrantMetaLib.h>

#include <vector>

#include "errors.h"
#include "text.h"

namespace celumbrant_meta {
namespace {

constexpr const char* kManPage = R"(.TH CELUMBRANT\-META 1 "" "CelumbrantMetaLib @VERSION@" ""
.SH NAME
celumbrant\-meta \- metadata of photographs, result pictures and tone\-mapping settings
.SH SYNOPSIS
.B celumbrant\-meta
.I COMMAND
[\fIOPTION\fR]... \fIFILE\fR...
.SH OPTIONS
@OPTIONS@
.SH COMMANDS
@COMMANDS@
.SH OUTPUT FILES
A file is written under a temporary name beside its own and renamed when it is whole. One that exists
is replaced only with \fB\-\-force\fR; commands that change a file do so unless \fB\-o\fR names another.
.SH ENVIRONMENT
.TP
.B NO_COLOR
When set, nothing is printed in bold.
.SH EXIT STATUS
.TP
.B 0
Everything is done.
.TP
.B 1
Something could not be read or written; the other files are done.
.TP
.B 2
The command line is wrong.
)";

// The words before the one that is completed tell which command it belongs to.
constexpr const char* kCompletion = R"(# bash completion for celumbrant-meta
_celumbrant_meta() {
  local word path=celumbrant-meta words current=${COMP_WORDS[COMP_CWORD]}
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    case "$path $word" in
      @PATHS@) path="$path $word" ;;
    esac
  done
  case $path in
@CASES@
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
  [[ $current == -* ]] ||
    mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -- "$current")
}
complete -o filenames -o bashdefault -o default -F _celumbrant_meta celumbrant-meta
)";

std::vector<const CLI::App*> commands_of(const CLI::App& app) {
  return app.get_subcommands([](const CLI::App*) { return true; });
}

// Options and arguments that users are told of.
std::vector<const CLI::Option*> options_of(const CLI::App& app) {
  return app.get_options([](const CLI::Option* option) { return !option->get_group().empty(); });
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size())
    text.replace(at, what.size(), with);
  return text;
}

// Text for a man page: hyphens that can be copied, and no line that begins with a request.
std::string roff(const std::string& text) {
  return replaced(replaced(replaced(text, "\\", "\\e"), "-", "\\-"), "\n.", "\n\\&.");
}

std::string man_option(const CLI::Option& option) {
  const bool takes_value = !option.get_positional() && option.get_items_expected_max() > 0;
  std::string text = ".TP\n.B " + roff(option.get_name(false, true));
  if (takes_value) text += " " + roff(option.get_type_name());
  return text + "\n" + roff(option.get_description()) + "\n";
}

void add_man_command(std::string& text, const CLI::App& command, const std::string& path) {
  const std::string name = path + " " + command.get_name();
  text += ".SS " + roff(name) + "\n" + roff(command.get_description()) + ".\n";
  for (const CLI::Option* option : options_of(command)) text += man_option(*option);
  text += ".PP\n.nf\n" + roff(command.get_footer()) + "\n.fi\n";
  for (const CLI::App* below : commands_of(command)) add_man_command(text, *below, name);
}

// The words that can follow a command: its own commands and its options.
std::string words_after(const CLI::App& command) {
  std::vector<std::string> words;
  for (const CLI::App* below : commands_of(command)) words.push_back(below->get_name());
  for (const CLI::Option* option : options_of(command)) {
    for (const std::string& name : option->get_lnames()) words.push_back("--" + name);
    for (const std::string& name : option->get_snames()) words.push_back("-" + name);
  }
  return joined(words, " ");
}

void add_completion_cases(std::string& text, const CLI::App& command, const std::string& path) {
  text += "    \"" + path + "\") words=\"" + words_after(command) + "\" ;;\n";
  for (const CLI::App* below : commands_of(command))
    add_completion_cases(text, *below, path + " " + below->get_name());
}

std::string paths_of(const CLI::App& command, const std::string& path) {
  std::string paths;
  for (const CLI::App* below : commands_of(command)) {
    const std::string name = path + " " + below->get_name();
    paths += "|\"" + name + "\"" + paths_of(*below, name);
  }
  return paths;
}

}  // namespace

std::string man_page(const CLI::App& app) {
  std::string options;
  for (const CLI::Option* option : options_of(app)) options += man_option(*option);
  std::string commands;
  for (const CLI::App* command : commands_of(app)) add_man_command(commands, *command, kProgram);
  const std::string version = format("%d.%d.%d", CELUMBRANT_META_VERSION_MAJOR,
                                     CELUMBRANT_META_VERSION_MINOR, CELUMBRANT_META_VERSION_PATCH);
  std::string page = replaced(kManPage, "@VERSION@", version);
  page = replaced(page, "@OPTIONS@\n", options);
  return replaced(page, "@COMMANDS@\n", commands);
}

std::string bash_completion(const CLI::App& app) {
  std::string cases;
  add_completion_cases(cases, app, kProgram);
  const std::string page = replaced(kCompletion, "@PATHS@", paths_of(app, kProgram).substr(1));
  return replaced(page, "@CASES@\n", cases);
}

}  // namespace celumbrant_meta
