// SPDX-License-Identifier: MIT
//
// What the commands of the program share: how they are added to the command line.

#ifndef CELUMBRANT_TOOLS_COMMAND_H_
#define CELUMBRANT_TOOLS_COMMAND_H_

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "errors.h"
#include "files.h"

namespace celumbrant_meta {

// The program's exit codes.
constexpr int kDone = 0;
constexpr int kFailed = 1;      // something could not be read or written
constexpr int kWrongUsage = 2;  // the command line makes no sense

// What the command line asks for; it gives the exit code.
using Command = std::function<int()>;

// Each adds its commands with their options; the one that is called is left in `command`.
void add_show(CLI::App& app, Command& command);
void add_save(CLI::App& app, Command& command);
void add_settings(CLI::App& app, Command& command);
void add_blocks(CLI::App& app, Command& command);

// A command with a line that says what it does and an example.
CLI::App* add_command(CLI::App& parent, const std::string& name, const std::string& description,
                      const std::string& example);

// When the command is the one on the command line, the action is called with its options.
template <class Options>
void call_with(CLI::App& subcommand, const std::shared_ptr<Options>& options, Command& command,
               int (*action)(const Options&)) {
  subcommand.callback(
      [options, &command, action] { command = [options, action] { return action(*options); }; });
}

// An option that takes one word and may be repeated.
CLI::Option* add_repeated(CLI::App& command, const std::string& name,
                          std::vector<std::string>& words, const std::string& description);

// The options -o and --force.
CLI::Option* add_destination(CLI::App& command, Destination& destination,
                             const std::string& description);

}  // namespace celumbrant_meta

#endif
