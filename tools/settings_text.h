// SPDX-License-Identifier: MIT
//
// Settings by the names that they have in a packet. The names come from packets that the library
// writes, and values go through packets that it reads: so the program has no list of its own.

#ifndef CELUMBRANT_TOOLS_SETTINGS_TEXT_H_
#define CELUMBRANT_TOOLS_SETTINGS_TEXT_H_

#include <CelumbrantMetaLib.h>

#include <array>
#include <string>
#include <vector>

namespace celumbrant_meta {

struct Settings {
  int method = CBTM_NO_METHOD;
  std::array<float, CBTM_SETTINGS_COUNT> values{};
};

struct NamedValue {
  std::string name;
  std::string value;  // as it stands in the packet: "70.0", "Yes", "0.0,0.0,..."
};

// The name of a method, "Brilliance Refiner"; empty when the number has none.
std::string method_name(int method);

// The method of a name or number; a UsageError lists the methods.
int method_of(const std::string& name_or_number);

Settings default_settings(int method);

// Changes values by "Name=Value". A UsageError lists the names, or says what a value looks like.
void change_settings(Settings& settings, const std::vector<std::string>& assignments);

std::vector<NamedValue> named_values(const Settings& settings);

// The settings of a settings file, or of a photograph that carries some. Failure when there are none.
Settings settings_in(const std::string& file);

// A packet with a NUL behind it: of a photograph, else the whole file.
std::string packet_in(const std::string& file);

// The packet, without a NUL, with the settings inserted before those that it holds. The file is
// named in a Failure.
std::string packet_with(const Settings& settings, std::string packet, const std::string& file);

}  // namespace celumbrant_meta

#endif
