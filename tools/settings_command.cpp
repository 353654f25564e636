// SPDX-License-Identifier: MIT

#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>

#include "command.h"
#include "files.h"
#include "settings_text.h"
#include "text.h"

namespace celumbrant_meta {
namespace {

struct SettingsOptions {
  std::string method;
  std::string file;
  Destination destination;
  std::vector<std::string> assignments;
  bool json = false;
};

// A value of a packet as JSON: a list as an array, Yes and No as booleans, a word as a string.
nlohmann::ordered_json json_value(const std::string& value) {
  if (value == "Yes" || value == "No") return value == "Yes";
  const std::string array = "[" + value + "]";
  const auto numbers = nlohmann::ordered_json::parse(array, nullptr, false);
  if (numbers.is_discarded()) return printable(value);
  return numbers.size() == 1 ? numbers.front() : numbers;
}

void print_settings(const Settings& settings, bool json) {
  nlohmann::ordered_json values;
  if (!json) std::printf("%s (%d)\n", method_name(settings.method).c_str(), settings.method);
  for (const NamedValue& value : named_values(settings)) {
    if (json)
      values[value.name] = json_value(value.value);
    else
      std::printf("  %s=%s\n", value.name.c_str(), value.value.c_str());
  }
  if (!json) return;
  const nlohmann::ordered_json object{
      {"method", settings.method}, {"name", method_name(settings.method)}, {"settings", values}};
  std::printf("%s\n", object.dump(2).c_str());
}

int show_defaults(const SettingsOptions& options) {
  print_settings(default_settings(method_of(options.method)), options.json);
  return kDone;
}

int show_settings(const SettingsOptions& options) {
  print_settings(settings_in(options.file), options.json);
  return kDone;
}

Settings wanted_settings(const SettingsOptions& options) {
  Settings settings = default_settings(method_of(options.method));
  change_settings(settings, options.assignments);
  return settings;
}

int write_settings(const SettingsOptions& options) {
  const Settings settings = wanted_settings(options);
  OutputFile output(options.destination);
  if (write_xmp(output.temporary().c_str(), settings.method, settings.values.data()) != 1)
    throw Failure(options.destination.file, "cannot be written whole; is the disk full?");
  output.keep();
  return kDone;
}

// In place, unless another file is named: the file is replaced when the new one is there whole.
int insert_settings(const SettingsOptions& options) {
  const Settings settings = wanted_settings(options);
  const std::string packet = packet_with(settings, read_file(options.file), options.file);
  const bool in_place = options.destination.file.empty();
  write_file(in_place ? Destination{options.file, true} : options.destination, packet);
  return kDone;
}

int count_settings(const SettingsOptions& options) {
  const std::string packet = packet_in(options.file);
  const int count =
      packet.empty() ? 0 : cbsettings_occurences_in_xmp(length_of(packet), packet.data());
  std::printf("%d\n", count);
  return kDone;
}

void add_method(CLI::App& command, SettingsOptions& options) {
  command.add_option("METHOD", options.method, "The method, by its name or number")->required();
}

void add_file(CLI::App& command, SettingsOptions& options, const char* description) {
  command.add_option("FILE", options.file, description)->required();
}

void add_set(CLI::App& command, SettingsOptions& options) {
  add_repeated(command, "--set", options.assignments,
               "Change one of the defaults, by its name in the packet")
      ->type_name("NAME=VALUE");
}

void add_json(CLI::App& command, SettingsOptions& options) {
  command.add_flag("--json", options.json, "Print a JSON object");
}

}  // namespace

void add_settings(CLI::App& app, Command& command) {
  constexpr const char* kCarriers = "A settings file, or a photograph that carries settings";
  auto options = std::make_shared<SettingsOptions>();
  CLI::App* const settings =
      add_command(app, "settings", "Show, write and insert tone-mapping settings",
                  "settings defaults \"Brilliance Refiner\"");
  settings->require_subcommand(1);

  CLI::App* const defaults = add_command(*settings, "defaults", "Show the defaults of a method",
                                         "settings defaults 3 --json");
  add_method(*defaults, *options);
  add_json(*defaults, *options);
  call_with(*defaults, options, command, show_defaults);

  CLI::App* const show = add_command(*settings, "show", "Show the settings that a file carries",
                                     "settings show result.tif");
  add_file(*show, *options, kCarriers);
  add_json(*show, *options);
  call_with(*show, options, command, show_settings);

  CLI::App* const write =
      add_command(*settings, "write", "Write a settings file",
                  "settings write \"Light Leveler\" -o evening.xmp --set Strength=65");
  add_method(*write, *options);
  add_destination(*write, options->destination, "The settings file; - for standard output")
      ->required();
  add_set(*write, *options);
  call_with(*write, options, command, write_settings);

  CLI::App* const insert =
      add_command(*settings, "insert", "Insert settings into an XMP packet that exists",
                  "settings insert photo.xmp 11 --set Radius=30");
  add_file(*insert, *options, "The packet's file, which is changed unless -o names another");
  add_method(*insert, *options);
  add_destination(*insert, options->destination, "Write the changed packet here instead");
  add_set(*insert, *options);
  call_with(*insert, options, command, insert_settings);

  CLI::App* const count =
      add_command(*settings, "count", "Count the settings in a packet", "settings count photo.xmp");
  add_file(*count, *options, kCarriers);
  call_with(*count, options, command, count_settings);
}

}  // namespace celumbrant_meta
