// SPDX-License-Identifier: MIT

#include "settings_text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "errors.h"
#include "files.h"
#include "photo.h"
#include "text.h"

namespace celumbrant_meta {
namespace {

constexpr int kMethods = 15;
constexpr std::string_view kElement = "<cbtm:";
constexpr const char* kMethodElement = "Method";
constexpr const char* kVersionElement = "Version";

// The settings description alone, as the library writes it.
std::string description_of(const Settings& settings) {
  const int request = CBTM_WITHOUT_FRAME + settings.method;
  const float* const values = settings.values.data();
  const int length = embed_xmp(CBTM_MEASURE, request, values, 0, nullptr, nullptr);
  std::string text(static_cast<std::size_t>(length), '\0');
  embed_xmp(1, request, values, 0, nullptr, text.data());
  return text;
}

std::string without_padding(std::string text) {
  text.erase(text.find_last_not_of(' ') + 1);
  return text;
}

// The elements of a description, `<cbtm:Name>value</cbtm:Name>` each.
std::vector<NamedValue> elements_of(const std::string& description) {
  std::vector<NamedValue> elements;
  for (std::size_t at = 0; (at = description.find(kElement, at)) != std::string::npos;) {
    at += kElement.size();
    const std::size_t name_end = description.find('>', at);
    const std::size_t value_end = description.find("</", name_end);
    elements.push_back({description.substr(at, name_end - at),
                        description.substr(name_end + 1, value_end - name_end - 1)});
    at = value_end;
  }
  return elements;
}

const NamedValue* find_name(const std::vector<NamedValue>& values, std::string_view name) {
  const auto found = std::find_if(values.begin(), values.end(),
                                  [&](const NamedValue& value) { return value.name == name; });
  return found == values.end() ? nullptr : &*found;
}

// Names of methods are compared by their letters: "brilliance-refiner" will do.
std::string letters_of(std::string_view text) {
  std::string letters;
  for (const char c : text)
    if (std::isalpha(static_cast<unsigned char>(c)) != 0)
      letters += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return letters;
}

std::string list_of_methods() {
  std::vector<std::string> methods;
  for (int method = 1; method <= kMethods; ++method)
    if (const std::string name = method_name(method); !name.empty())
      methods.push_back(format("%d %s", method, name.c_str()));
  return joined(methods, ", ");
}

template <class Number>
std::optional<Number> number_in(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

// Whether a number or word arrived. A packet keeps numbers to one unit of their last decimal, and
// the vector to what a float holds.
bool same_item(std::string_view given, std::string_view kept) {
  const std::optional<double> a = number_in<double>(given);
  const std::optional<double> b = number_in<double>(kept);
  if (!a || !b) return !a && !b && given == kept;
  const std::size_t point = kept.find('.');
  const auto decimals = static_cast<int>(point == kept.npos ? 0 : kept.size() - point - 1);
  constexpr auto kFloatStep = static_cast<double>(std::numeric_limits<float>::epsilon());
  const double unit = std::pow(10.0, -decimals) + std::abs(*a) * kFloatStep;
  return std::isfinite(*a) && std::abs(*a - *b) <= unit;
}

// The same for lists with commas.
bool same_value(std::string_view given, std::string_view kept) {
  const std::size_t given_end = std::min(given.find(','), given.size());
  const std::size_t kept_end = std::min(kept.find(','), kept.size());
  if (!same_item(given.substr(0, given_end), kept.substr(0, kept_end))) return false;
  const bool given_ends = given_end == given.size();
  const bool kept_ends = kept_end == kept.size();
  if (given_ends || kept_ends) return given_ends == kept_ends;
  return same_value(given.substr(given_end + 1), kept.substr(kept_end + 1));
}

NamedValue parse_assignment(const std::string& assignment, const std::vector<NamedValue>& known) {
  const std::size_t equals = assignment.find('=');
  if (equals == std::string::npos)
    throw UsageError("\"" + assignment + "\" is not of the form Name=Value");
  NamedValue wanted{assignment.substr(0, equals), assignment.substr(equals + 1)};
  if (find_name(known, wanted.name) == nullptr) {
    std::vector<std::string> names;
    for (const NamedValue& value : known) names.push_back(value.name);
    throw UsageError("the method has no setting \"" + wanted.name +
                     "\"; it has: " + joined(names, ", "));
  }
  return wanted;
}

void replace_value(std::string& description, const NamedValue& wanted) {
  const std::string element = std::string(kElement) + wanted.name + ">";
  const std::size_t begin = description.find(element) + element.size();
  description.replace(begin, description.find("</", begin) - begin, wanted.value);
}

Settings read_description(int method, const std::string& description) {
  Settings settings{method};
  get_settings_from_xmp(method, length_of(description) + 1, description.c_str(), nullptr,
                        settings.values.data());
  return settings;
}

}  // namespace

std::string method_name(int method) {
  if (method < 1 || method > kMethods) return {};
  const std::vector<NamedValue> elements = elements_of(description_of(default_settings(method)));
  const NamedValue* const name = find_name(elements, kMethodElement);
  return name == nullptr ? std::string() : name->value;
}

int method_of(const std::string& name_or_number) {
  const int number = number_in<int>(name_or_number).value_or(CBTM_NO_METHOD);
  if (!method_name(number).empty()) return number;
  const std::string wanted = letters_of(name_or_number);
  for (int method = 1; method <= kMethods && !wanted.empty(); ++method)
    if (letters_of(method_name(method)) == wanted) return method;
  throw UsageError("there is no method \"" + name_or_number +
                   "\"; the methods are: " + list_of_methods());
}

Settings default_settings(int method) {
  Settings settings{method};
  def_param(method, settings.values.data());
  return settings;
}

std::vector<NamedValue> named_values(const Settings& settings) {
  std::vector<NamedValue> values = elements_of(description_of(settings));
  std::erase_if(values, [](const NamedValue& value) {
    return value.name == kVersionElement || value.name == kMethodElement;
  });
  for (NamedValue& value : values) value.value = without_padding(value.value);
  return values;
}

void change_settings(Settings& settings, const std::vector<std::string>& assignments) {
  const std::vector<NamedValue> before = named_values(settings);
  const std::string old_description = description_of(settings);
  std::string description = old_description;
  std::vector<NamedValue> wanted;
  for (const std::string& assignment : assignments) {
    NamedValue value = parse_assignment(assignment, before);
    std::erase_if(wanted, [&](const NamedValue& earlier) { return earlier.name == value.name; });
    wanted.push_back(std::move(value));
    if (wanted.back().value.find('<') == std::string::npos)
      replace_value(description, wanted.back());
  }
  // What the packet rounds stays as it was: only values that differ by the change are taken over.
  const Settings unchanged = read_description(settings.method, old_description);
  const Settings changed = read_description(settings.method, description);
  for (std::size_t i = 0; i < settings.values.size(); ++i)
    if (changed.values[i] != unchanged.values[i]) settings.values[i] = changed.values[i];

  const std::vector<NamedValue> after = named_values(settings);
  for (const NamedValue& value : wanted) {
    const NamedValue* const kept = find_name(after, value.name);
    if (kept == nullptr || !same_value(value.value, kept->value))
      throw UsageError("\"" + value.value + "\" is no value for " + value.name + ", which is now " +
                       find_name(before, value.name)->value);
  }
}

std::string packet_in(const std::string& file) {
  if (const std::optional<ImageFormat> format = format_of(file))
    return xmp_of(read_photo(file, *format));
  return read_file(file) + '\0';
}

Settings settings_in(const std::string& file) {
  const std::string packet = packet_in(file);
  const int length = length_of(packet);
  int method = 0;
  if (length > 0)
    method = get_settings_from_xmp(CBTM_QUERY_METHOD, length, packet.data(), nullptr, nullptr);
  if (method <= 0) throw Failure(file, "carries no settings");
  Settings settings{method};
  const int result =
      get_settings_from_xmp(method, length, packet.data(), nullptr, settings.values.data());
  if (result <= 0) throw Failure(file, "carries no settings that can be read");
  return settings;
}

std::string packet_with(const Settings& settings, std::string packet, const std::string& file) {
  // The newest settings come first and have the highest number.
  const int present = cbsettings_occurences_in_xmp(length_of(packet) + 1, packet.c_str());
  const int sequence = std::min(present + 1, 99);
  const float* const values = settings.values.data();
  const int growth = insert_xmp(CBTM_MEASURE, settings.method, values, 0, 0, nullptr);
  const int length = length_of(packet);
  if (growth > kMostBytes - length) throw Failure(file, "is too long for more settings");
  packet.resize(packet.size() + static_cast<std::size_t>(growth));
  if (insert_xmp(sequence, settings.method, values, length, growth, packet.data()) != growth)
    throw Failure(file, "is no XMP packet that settings can be inserted into");
  return packet;
}

}  // namespace celumbrant_meta
