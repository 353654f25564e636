// SPDX-License-Identifier: MIT
//
// Settings of any values, written and read back: as a packet, from a file, and after further sets
// were inserted before them. What is read is what was written, to the written precision.

#include <cmath>
#include <string>

#include "support.h"

namespace {

using namespace fuzz;
using Settings = std::vector<float>;

// How the positions of a method stand in a packet: tenths, millionths, clips on another scale,
// yes or no; for smoothing its mode and, by this mode, a word or tenths. A blank: not at all.
struct Method {
  int number;
  std::string_view forms;
};

constexpr std::array kForms = {
    Method{1, "tttmmwtttttttttysn"}, Method{2, "tttmm       tt"},  Method{3, "tttcc   tt  tt y"},
    Method{4, "tttcct  t   tt y"},   Method{10, "ttttmmtyt   t"},  Method{11, "ttt   t     t"},
    Method{13, "      t     tt"},    Method{14, "      t     tt"}, Method{15, "tttt  tyt   t"}};
static_assert(kForms.size() == kMethods.size());

char form_of(const Method& method, std::size_t position) {
  if (position < method.forms.size()) return method.forms[position];
  const bool in_list = position > 20 && position < 49 && position % 10 >= 1 && position % 10 <= 8;
  return in_list || position == CBTM_BLENDING_OPACITY || position == CBTM_BLEND_WITH_EV ? 't' : ' ';
}

float cut(int decimals, float value) {
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%.*f", decimals, static_cast<double>(value));
  return std::strtof(text.data(), nullptr);
}

bool same(float a, float b) {
  return a == b || (std::isnan(a) && std::isnan(b));
}

// Whether two clips are the same thousandths on the scale on which they are written.
bool same_clip(float read, float written) {
  if (std::isnan(written) || written < 0.0F) return std::isnan(read);
  if (std::isinf(written)) return read == written;
  const auto scaled = [](float clip) {
    return 10.0 * std::pow(static_cast<double>(clip) / 10.0, 0.32637900460077);
  };
  return std::abs(scaled(read) - scaled(written)) <= 0.00051 + 1e-6 * scaled(written);
}

bool is_slider(const Settings& written) {
  const float mode = written[CBTM_SCULPTOR_SMOOTHING_MODE];
  return mode >= 1.0F && mode < 2.0F;
}

bool is_read(char form, std::size_t position, const Settings& written, float read,
             float default_value) {
  const float value = written[position];
  switch (form) {
    case 't':
      return same(read, cut(1, value));
    case 'm':
      return same(read, cut(6, value));
    case 'c':
      return same_clip(read, value);
    case 'y':
      return read == (value > 0.0F ? 1.0F : 0.0F);
    case 's':
      return read == (is_slider(written) ? 1.0F : 0.0F);
    case 'n':
      return is_slider(written) ? same(read, cut(1, value)) : read == default_value;
    case 'w': {
      const bool is_word = !is_slider(written) && value > -1.0F && value < 5.0F;
      return read == (is_word ? std::trunc(value) : default_value);
    }
    default:
      return read == default_value;
  }
}

void expect_same(const Method& method, const Settings& written, const Settings& read) {
  Settings defaults(CBTM_SETTINGS_COUNT);
  def_param(method.number, defaults.data());
  for (std::size_t i = 0; i < read.size(); ++i) {
    EXPECT(is_read(form_of(method, i), i, written, read[i], defaults[i]));
  }
}

void expect_held(const Text& packet, const Method& method, const Settings& written) {
  const auto length = static_cast<int>(packet.size());
  Settings read(CBTM_SETTINGS_COUNT);
  EXPECT(get_settings_from_xmp(method.number, length, packet.data(), nullptr, read.data()) > 0);
  expect_same(method, written, read);
  EXPECT(get_settings_from_xmp(CBTM_QUERY_METHOD, length, packet.data(), nullptr, nullptr) ==
         method.number);
}

void expect_lens(const Text& packet, std::string_view lens) {
  Text read(CBTM_LENS_NAME_MAX + 1);
  get_settings_from_xmp(CBTM_QUERY_LENS, static_cast<int>(packet.size()), packet.data(),
                        read.data(), nullptr);
  const std::string_view name = view(read).substr(0, view(read).find('\0'));
  EXPECT(name == (lens.size() <= CBTM_LENS_NAME_MAX ? lens : std::string_view()));
}

int digits_beyond_two(int sequence) {
  return sequence > 99 ? static_cast<int>(std::to_string(sequence).size()) - 2 : 0;
}

Text write(int sequence, int method, const Settings& settings, std::string_view lens) {
  const Text name = terminated(lens);
  const int measured =
      embed_xmp(CBTM_MEASURE, method, settings.data(), size_of(lens), name.data(), nullptr);
  const int length = measured + digits_beyond_two(sequence);
  Text packet(static_cast<std::size_t>(length), '\1');
  EXPECT(embed_xmp(sequence, method, settings.data(), size_of(lens), name.data(), packet.data()) ==
         length);
  EXPECT(std::ranges::find(packet, '\1') == packet.end());
  return terminated(view(packet));
}

Text insert(const Text& before, int sequence, int method, const Settings& settings) {
  const int growth = insert_xmp(CBTM_MEASURE, method, settings.data(), 0, 0, nullptr);
  Text after(before.size() + static_cast<std::size_t>(growth), '#');
  std::ranges::copy(before, after.begin());
  EXPECT(insert_xmp(sequence, method, settings.data(), static_cast<int>(before.size()), growth,
                    after.data()) == growth);
  const auto place = std::ranges::mismatch(before, after).in1 - before.begin();
  EXPECT(std::equal(before.begin() + place, before.end(), after.begin() + place + growth));
  return after;
}

// From as many bytes: any floats at all, or those that settings have.
Settings take_settings(Input& input, bool any) {
  Settings settings(CBTM_SETTINGS_COUNT);
  for (float& value : settings) {
    value = any ? input.take<float>() : static_cast<float>(input.take<std::int16_t>()) / 64.0F;
  }
  return settings;
}

// A name of letters that mean nothing in a packet.
std::string take_lens(Input& input) {
  std::string lens(input.take_bytes(static_cast<std::size_t>(input.take_within(0, 80))));
  for (char& letter : lens)
    letter = static_cast<char>('a' + static_cast<unsigned char>(letter) % 26);
  return lens;
}

void expect_file(const Method& method, const Settings& settings) {
  static const MemoryFile file;
  Settings read(CBTM_SETTINGS_COUNT);
  EXPECT(write_xmp(file.name(), method.number, settings.data()) == 1);
  EXPECT(terminated(view(file.content())) == write(1, method.number, settings, {}));
  EXPECT(read_xmp(file.name(), method.number, read.data()) > 0);
  expect_same(method, settings, read);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input(data, size);
  const auto first = input.take<std::uint8_t>();
  const int sequence = input.take_within(1, 255);
  const bool any_floats = input.take_within(0, 1) == 1;
  const int insertions = input.take_within(0, 5);
  const std::string lens = take_lens(input);
  const auto method_at = [&](int i) {
    return kForms[static_cast<std::size_t>(first + i) % kForms.size()];
  };

  const Method method = method_at(0);
  const Settings settings = take_settings(input, any_floats);
  Text packet = write(sequence, method.number, settings, lens);
  expect_held(packet, method, settings);
  expect_held(write(sequence, method.number + CBTM_WITHOUT_FRAME, settings, {}), method, settings);
  expect_file(method, settings);
  for (int i = 1; i <= insertions; ++i) {
    const Settings newer = take_settings(input, any_floats);
    packet = insert(packet, std::max(sequence % 100, 1), method_at(i).number, newer);
    const auto length = static_cast<int>(packet.size());
    EXPECT(cbsettings_occurences_in_xmp(length, packet.data()) == i + 1);
    expect_held(packet, method_at(i), newer);
  }
  expect_lens(packet, lens);
  return 0;
}
