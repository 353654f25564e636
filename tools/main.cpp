// SPDX-License-Identifier: MIT
//
// celumbrant-meta: the library's services on the command line.

#include <CelumbrantMetaLib.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>

#include "command.h"
#include "files.h"
#include "pages.h"
#include "text.h"

namespace celumbrant_meta {

CLI::App* add_command(CLI::App& parent, const std::string& name, const std::string& description,
                      const std::string& example) {
  CLI::App* const command = parent.add_subcommand(name, description);
  command->footer("Example:\n  " + std::string(kProgram) + " " + example);
  return command;
}

CLI::Option* add_repeated(CLI::App& command, const std::string& name,
                          std::vector<std::string>& words, const std::string& description) {
  // One word for each time that the option stands there: what follows belongs to the command.
  return command.add_option(name, words, description)->allow_extra_args(false);
}

CLI::Option* add_destination(CLI::App& command, Destination& destination,
                             const std::string& description) {
  command.add_flag("--force", destination.force, "Replace a file that exists");
  return command.add_option("-o,--output", destination.file, description)->type_name("FILE");
}

namespace {

int report(const std::string& message, int exit_code) {
  std::fprintf(stderr, "%s: %s\n", kProgram, printable(message).c_str());
  return exit_code;
}

void add_pages(CLI::App& app, Command& command) {
  // For the build, which makes these from the options as they are.
  const auto print = [&app, &command](std::string (*page)(const CLI::App&)) {
    command = [&app, page] {
      std::fputs(page(app).c_str(), stdout);
      return kDone;
    };
  };
  app.add_flag_callback("--man-page", [print] { print(man_page); })->group("");
  app.add_flag_callback("--bash-completion", [print] { print(bash_completion); })->group("");
}

std::string version() {
  return format("%s %d.%d.%d", kProgram, CELUMBRANT_META_VERSION_MAJOR,
                CELUMBRANT_META_VERSION_MINOR, CELUMBRANT_META_VERSION_PATCH);
}

// The arguments, the last first, as they are parsed. A name in brackets would be taken for a list.
std::vector<std::string> arguments_of(int argc, char** argv) {
  std::vector<std::string> arguments(argv + std::min(1, argc), argv + argc);
  for (std::string& argument : arguments)
    if (argument.starts_with('[') && arguments.front() == "show") argument.insert(0, "./");
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

int run(int argc, char** argv) {
  CLI::App app("Metadata of photographs, result pictures and tone-mapping settings", kProgram);
  Command command;
  app.set_version_flag("--version", version(), "Print the version and exit");
  app.footer(
      "Example:\n  celumbrant-meta show photo.jpg\n\n"
      "Exit codes: 0 done, 1 something could not be read or written, 2 wrong usage.");
  add_show(app, command);
  add_save(app, command);
  add_settings(app, command);
  add_blocks(app, command);
  add_pages(app, command);
  try {
    app.parse(arguments_of(argc, argv));
    if (!command) throw UsageError("no command is given; --help lists them");
    const int exit_code = command();
    flush_standard_output();
    return exit_code;
  } catch (const CLI::Success& help_or_version) {
    app.exit(help_or_version);
    return std::cout.flush() ? kDone : report("standard output: cannot be written", kFailed);
  } catch (const CLI::ParseError& error) {
    return report(error.what(), kWrongUsage);
  } catch (const UsageError& error) {
    return report(error.what(), kWrongUsage);
  } catch (const std::bad_alloc&) {
    return report("there is not enough memory", kFailed);
  } catch (const std::exception& error) {
    return report(error.what(), kFailed);
  }
}

}  // namespace
}  // namespace celumbrant_meta

int main(int argc, char** argv) {
  celumbrant_meta::remove_temporary_file_when_stopped();
  return celumbrant_meta::run(argc, argv);
}
