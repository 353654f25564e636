// SPDX-License-Identifier: MIT
//
// Settings: defaults, the packet as it is written, the packets that are read, insertion, files.

#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cmath>
#include <filesystem>
#include <regex>
#include <string_view>
#include <tuple>
#include <vector>

#include "support/files.h"

namespace {

using Settings = std::array<float, CBTM_SETTINGS_COUNT>;

constexpr float kUntouched = -777.0F;

Settings defaults(int method) {
  Settings values;
  values.fill(kUntouched);
  EXPECT_EQ(def_param(method, values.data()), 0);
  return values;
}

// Measures, writes between guard bytes, and checks that both agree.
std::string packet_of(int method, const Settings& values, const char* lens = nullptr, int embed_type = 1) {
  const int lens_length = lens != nullptr ? 1 : 0;
  const int length = embed_xmp(CBTM_MEASURE, method, values.data(), lens_length, lens, nullptr);
  std::string buffer(static_cast<std::size_t>(length) + 2, '#');
  EXPECT_EQ(embed_xmp(embed_type, method, values.data(), lens_length, lens, buffer.data() + 1), length);
  EXPECT_TRUE(buffer.starts_with('#') && buffer.ends_with('#'));
  return buffer.substr(1, static_cast<std::size_t>(length));
}

// Reads from memory that ends where the packet ends, so that a sanitizer sees any byte beyond it.
int read_settings(std::string_view packet, int type, float* values, char* lens = nullptr) {
  std::vector<char> bytes(packet.size() + 1);
  std::ranges::copy(packet, bytes.begin());
  return get_settings_from_xmp(type, static_cast<int>(bytes.size()), bytes.data(), lens, values);
}

std::string replaced(const std::string& text, const char* what, const char* with) {
  return std::regex_replace(text, std::regex(what), with);
}

const std::string kDeclaration = "xmlns:cbtm='http://ns.celumbrant.com/celumbrant_settings01'>";

// "Name>value|Name>value|" as elements behind the declaration and the version.
std::string elements(const std::string& settings) {
  return kDeclaration + "\n" + replaced("Version>6.0|" + settings, "([^>|]+)>([^|]*)[|]", "<cbtm:$1>$2</cbtm:$1>\n");
}

// What other programs may make of elements.
std::string as_attributes(const std::string& packet) {
  return replaced(replaced(packet, "'", "\""), "<cbtm:([^>]+)>([^<]*)</[^>]+>", " cbtm:$1=\"$2\"");
}

TEST(SettingsDefaults, EveryMethodHasItsOwnAndZeroElsewhere) {
  const std::tuple<int, std::size_t, float> rows[] = {
      {1, 1, 70.0F},  {1, 3, 0.25F}, {1, 5, 1.0F},  {1, 7, 2.0F},  {1, 16, 1.0F},       {3, 0, 50.0F},
      {3, 2, 20.0F},  {3, 3, 0.6F},  {3, 4, 0.25F}, {4, 0, 50.0F}, {4, 3, 0.60359085F}, {10, 8, 2.0F},
      {11, 2, 70.0F}, {12, 8, 2.0F}, {12, 9, 1.0F}, {15, 8, 2.0F}, {15, 9, 1.0F}};
  for (int number = -2; number < 210; ++number) {
    Settings expected{};
    for (const auto& [method, index, value] : rows) expected[index] += method == number ? value : 0;
    EXPECT_EQ(defaults(number), expected) << number;
  }
}

// In a vector whose value at i is i + 1, but for the mode of smoothing.
TEST(SettingsPacket, WritesTheElementsOfEachMethodInOrder) {
  // clang-format off
  const std::pair<int, const char*> rows[] = {
      {1, "Method>Texture Sculptor|Strength>2.0|ToneCompression>1.0|DetailContrast>7.0|WhiteClip>4.000000|"
          "BlackClip>5.000000|SmoothingMode>Slider|Smoothing>18.0|Microsmoothing>8.0|HighlightsSmoothing>10.0|"
          "ShadowsSmoothing>11.0|ShadowsClipping>12.0|SaturationHighlights>14.0|SaturationShadows>15.0|"
          "IsPano360>Yes|Saturation>3.0|ColorTemperature>13.0|Brightness>9.0|"},
      {2, "Method>Range Flattener|Compression>2.0|Contrast>3.0|WhiteClip>4.000000|BlackClip>5.000000|"
          "Saturation>14.0|ColorTemperature>13.0|Brightness>1.0|"},
      {3, "Method>Brilliance Refiner|Strength>1.0|ToneCompression>2.0|LightingEffect>3.0|WhiteClip>7.415|"
          "BlackClip>7.975|Luminance>10.0|IsPano360>Yes|Saturation>14.0|ColorTemperature>13.0|Brightness>9.0|"},
      {4, "Method>Light Leveler|Strength>1.0|Lighting>2.0|Boost>3.0|Microcontrast>6.0|WhiteClip>7.415|"
          "BlackClip>7.975|IsPano360>Yes|Saturation>14.0|ColorTemperature>13.0|Brightness>9.0|"},
      {10, "Method>Blend/Lifelike|Strength>1.0|ExposureBalance>2.0|ShadowsContrast>3.0|WhiteClip>5.000000|"
           "BlackClip>6.000000|IsPano360>Yes|Sharpness>9.0|Saturation>4.0|ColorTemperature>13.0|Brightness>7.0|"},
      {11, "Method>Blend/Expressive|Strength>1.0|Radius>3.0|Saturation>2.0|ColorTemperature>13.0|Brightness>7.0|"},
      {12, ""}, {7, ""}, {200, ""},  // 200 is not above 200: the frame stays, and the number has no method
      {13, "Method>Blend/Two Shots|Saturation>14.0|ColorTemperature>13.0|Brightness>7.0|"},
      {14, "Method>Uniform|Saturation>14.0|ColorTemperature>13.0|Brightness>7.0|"},
      {15, "Method>Blend/Roomscape|Highlights>2.0|Shadows>3.0|LocalContrast>9.0|DepthHighlights>1.0|IsPano360>Yes|"
           "Saturation>4.0|ColorTemperature>13.0|Brightness>7.0|"},
  };
  // clang-format on
  const std::string frame =
      "<x:xmpmeta xmlns:x='adobe:ns:meta/'>\n<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>\n\n";
  const std::string common =
      "SaturationIndividualColors>22.0,23.0,24.0,25.0,26.0,27.0,28.0,29.0|"
      "TemperatureIndividualColors>32.0,33.0,34.0,35.0,36.0,37.0,38.0,39.0|"
      "BrightnessIndividualColors>42.0,43.0,44.0,45.0,46.0,47.0,48.0,49.0|BlendingOpacity>52.0|BlendWithEV>53.0|";
  Settings values;
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<float>(i + 1);
  values[16] = 1.0F;
  for (const auto& [method, of_method] : rows) {
    const std::string expected =
        "<rdf:Description rdf:about=''\n" + elements(of_method + common) + "</rdf:Description>\n\n";
    EXPECT_EQ(packet_of(method, values), frame + expected + "</rdf:RDF>\n</x:xmpmeta>\n");
    EXPECT_EQ(packet_of(method + CBTM_WITHOUT_FRAME, values), expected);
  }
}

TEST(SettingsPacket, WritesSmoothingAsAWordWhateverItsNumber) {
  // clang-format off
  const std::tuple<float, float, const char*> rows[] = {
      {0.9F, 0, "Very High"}, {0.9F, 1.9F, "High    "}, {0.9F, 2, "Medium  "}, {0.9F, 3, "Low     "},
      {0.9F, 4, "Very Low"}, {-1, 5, "Light"}, {7, -1, "Light"}, {NAN, NAN, "Light"}, {INFINITY, INFINITY, "Light"},
      {-INFINITY, -INFINITY, "Light"}, {3e9F, 3e9F, "Light"},
  };
  // clang-format on
  Settings values = defaults(1);
  for (const auto& [mode, number, word] : rows) {
    values[16] = mode;
    values[5] = number;
    const std::string line =
        std::string("Mode>Light</cbtm:SmoothingMode>\n<cbtm:Smoothing>") + word + "</cbtm:Smoothing>\n";
    EXPECT_NE(packet_of(1, values).find(line + "<cbtm:Microsmoothing>"), std::string::npos) << mode << " " << number;
  }
  EXPECT_NE(packet_of(1, values).find("<cbtm:IsPano360>No </cbtm:IsPano360>"), std::string::npos);
  values[3] = 3e38F;
  EXPECT_NE(packet_of(3, values).find("<cbtm:WhiteClip>17050830372864.000<"), std::string::npos);
  values.fill(-0x1.fffffep127F);  // the longest number
  EXPECT_NE(packet_of(1, values).find(">-340282346638528859811704183484516925440.0,"), std::string::npos);
}

TEST(SettingsPacket, WritesFrameLensAndSequenceNumberAsAsked) {
  const Settings values = defaults(11);
  const std::string frame = packet_of(0, values);
  EXPECT_EQ(packet_of(-3, values), frame);
  const std::string name = "50mm f/1.8 " + std::string(300, 'L');
  const std::string lens = "<rdf:Description rdf:about=''\nxmlns:aux='http://ns.adobe.com/exif/1.0/aux/'>\n<aux:Lens>" +
                           name + "</aux:Lens>\n</rdf:Description>\n\n";
  EXPECT_EQ(packet_of(0, values, name.c_str()), frame.substr(0, 104) + lens + frame.substr(104));
  for (const auto& [type, expected] : {std::pair(-5, "settings01"), {2, "settings02"}, {10, "settings10"}}) {
    EXPECT_EQ(packet_of(11, values, nullptr, type), replaced(packet_of(11, values), "settings01", expected));
  }
}

TEST(SettingsReader, ReadsBackWhatWasWritten) {
  for (const int method : {1, 2, 3, 4, 10, 11, 13, 14, 15}) {
    for (const float mode : {0.0F, 1.0F}) {
      Settings written;
      for (std::size_t i = 0; i < written.size(); ++i) written[i] = 0.5F + static_cast<float>(i % 5);
      written[16] = mode;
      const std::string packet = packet_of(method, written, "a lens");
      for (const std::string& text : {packet, as_attributes(packet)}) {
        Settings read{};
        EXPECT_EQ(read_settings(text, method == 1 ? 2 : 1, read.data()), -5);
        EXPECT_EQ(read, Settings{});
        EXPECT_EQ(read_settings(text, method, read.data()), static_cast<int>(text.find("cbtm:Method")));
        EXPECT_EQ(packet_of(method, read, "a lens"), packet);
        EXPECT_EQ(read_settings(text, CBTM_QUERY_METHOD, nullptr), method);
        EXPECT_EQ(read_settings(text, CBTM_QUERY_LENS, nullptr), static_cast<int>(text.find("</aux:Lens>")));
      }
    }
  }
}

TEST(SettingsReader, TakesNamesInOrderOfPriorityAndConverts) {
  const std::string sculptor = "Method>Texture Sculptor|", light = sculptor + "SmoothingMode>Light|";
  const std::string refiner = "Method>Brilliance Refiner|", lifelike = "Method>Blend/Lifelike|";
  const std::string colors = "Method>Uniform|BrightnessIndividualColors>1,2,3, 4,5,6,7";
  const std::tuple<std::string, std::size_t, float> rows[] = {
      // clang-format off
      {"Method>Vivid Accentuator|ToneCompression>2|Luminosity>1|", 0, 1}, {sculptor + "IsPano360>yes|", 15, 0},
      {sculptor + "Saturation>2|ColorSaturation>75|", 2, 5}, {sculptor + "ColorSaturation>none|", 2, -10},
      {sculptor + "Brightness>4|Gamma>2.0|", 8, -10}, {sculptor + "Gamma>0.5|", 8, 20.0F / 3.0F},
      {sculptor + "Microsmoothing>3|NoiseSmoothing>1|", 7, 1}, {sculptor + "DetailContrast>2|Microcontrast>1|", 6, 1},
      // The mode of smoothing decides how the smoothing element is read; one that is not known is 1.
      {sculptor + "Smoothing>Very Low|SmoothingMode>Light|", 5, 4}, {light + "Smoothing>Low     |", 5, 3},
      {light + "Smoothing>Light|", 5, 1}, {light + "Smoothing>4.5|", 17, 0},
      {sculptor + "SmoothingMode>Other|Smoothing>4.5|", 17, 4.5},
      {sculptor + "SmoothingModes>Light|SmoothingMode>Light|", 16, 1},  // whatever this name goes on with
      // The first element of a name counts, behind the method, and a name is not found in a longer one.
      {sculptor + "Strength>3|Strength>4|", 1, 3}, {"Strength>3|" + sculptor, 1, 70},
      {sculptor + "Strengths>3|Strength >3|", 1, 70}, {"Method>Gentle Relighting|Compression>3|", 1, 3},
      // A number that is none leaves the default, which then goes through the conversion.
      {refiner + "WhiteClip>none|", 3, 0.00180447F}, {lifelike + "Strength>3|Accentuation>none|", 0, 0},
      {refiner + "BlackClip>3.000|", 4, 0.25F}, {refiner + "Brightness>3|Midtone>2|", 8, 2},
      {lifelike + "ExposureBalance>3|BlendingPoint>2|", 1, 2}, {lifelike + "Shadows>3|ShadowsContrast>2|", 2, 2},
      {lifelike + "Shadows>3|", 2, 3}, {lifelike + "Brightness>3|MidtonesAdjustment>2|", 6, 2},
      {"Method>Blend/Control|Strength>3|Accentuation>2|", 0, 2}, {colors + " ,8|", 41, 0},  // a list is all or nothing
      {"Method>Blend/Believable|Highlights>3|", 1, 3}, {"Method>Blend/Architecture and more|LocalContrast>3|", 8, 3},
      {colors + ",8.5|", 48, 8.5}, {colors + "|", 41, 0}, {colors + ";8|", 41, 0},
      {colors + ",x|", 41, 0}, {"Method>Uniform|BrightnessIndividualColors>Infinity,2,3,4,5,6,7,8|", 42, 2},
      {refiner + "WhiteClip>1e12|", 3, 5.0483368e34F},
      // clang-format on
  };
  for (const auto& [settings, index, expected] : rows) {
    for (const std::string& packet : {elements(settings), as_attributes(elements(settings))}) {
      Settings values{};
      EXPECT_GT(read_settings(packet, read_settings(packet, CBTM_QUERY_METHOD, nullptr), values.data()), 0);
      EXPECT_NEAR(values[index], expected, 1e-6F * std::max(1.0F, std::fabs(expected))) << packet;
    }
  }
}

TEST(SettingsReader, ReadsNumbersAsScanfDoes) {
  // clang-format off
  const std::pair<const char*, float> rows[] = {
      {"42.5", 42.5F}, {"+1", 1}, {"-.5", -0.5F}, {"5.", 5}, {" \t\n7", 7}, {"1e3", 1000}, {"1e", 1}, {"1E-2x", 0.01F},
      {"0x1.8p1", 3}, {"NaN", NAN}, {"inf", INFINITY}, {"-Infinity", -INFINITY}, {"1e39", INFINITY}, {"1e99", INFINITY},
      {"-1e-99", 0}, {"1e-45", 1e-45F}, {"1e-99999999999999999999", 0}, {"'3", 3}, {"x3", 3},
      {"0.000000000000000000000000000000000000000000000001e60", 1e12F},
      {"xx3", 50}, {"", 50}, {"-", 50}, {".", 50}, {"infix", 50}, {"0x", 50},  // no number: the default stays
  };
  // clang-format on
  for (const auto& [text, expected] : rows) {
    Settings values;
    EXPECT_GT(read_settings(elements(std::string("Method>Light Leveler|Strength>") + text + "|"), 4, values.data()), 0);
    EXPECT_TRUE(std::isnan(expected) ? std::isnan(values[0]) : values[0] == expected) << text << values[0];
  }
}

TEST(SettingsReader, TagScannerHasStrictBounds) {
  constexpr std::string_view kText = "..cbtm:Boost=\"7\" cbtm:Boost>8";
  // Position, kind, form, length, found before; the result, found, the value.
  const std::tuple<int, int, int, int, int, std::tuple<int, int, float>> rows[] = {
      // clang-format off
      {2, 0, 2, 29, 0, {2, 1, 7}}, {2, 0, 2, 15, 0, {2, 1, 7}},
      {2, 0, 2, 14, 0, {2, 1, kUntouched}},  // the value lies outside
      {2, 0, 2, 13, 0, {2, 0, kUntouched}},  // no byte behind the "="
      {2, 0, 1, 29, 0, {17, 1, 8}}, {2, 0, 1, 28, 0, {17, 0, kUntouched}}, {2, 0, 1, 20, 0, {9, 0, kUntouched}},
      {2, 0, 1, 11, 0, {0, 0, kUntouched}}, {2, 0, 1, -4, 0, {0, 0, kUntouched}}, {2, 0, 1, 29, 1, {0, 1, kUntouched}},
      {2, 1, 1, 29, 0, {17, 1, 0}}, {2, 5, 1, 29, 0, {18, 0, kUntouched}},  // no kind 5: passed over
      {2, 0, 3, 29, 0, {0, 0, kUntouched}},  // no form 3
      {20, 20, 1, 29, 0, {0, 0, kUntouched}}, {21, 20, 1, 29, 0, {17, 1, kUntouched}},
      {49, 20, 1, 29, 0, {17, 1, kUntouched}}, {50, 20, 1, 29, 0, {0, 0, kUntouched}},
      {60, 0, 1, 29, 0, {0, 0, kUntouched}}, {-1, 0, 1, 29, 0, {0, 0, kUntouched}},
      // clang-format on
  };
  for (const auto& [index, type, form, length, before, expected] : rows) {
    const std::string_view text = kText.substr(0, static_cast<std::size_t>(std::max(length, 0)));
    const std::vector<char> bytes(text.begin(), text.end());
    std::vector<float> values(62, kUntouched);  // one more on either side
    std::vector<int> found(62, before);
    const int result = searchForTag(index, "cbtm:Boost", type, bytes.data(), form, length, &found[1], &values[1]);
    const auto at = static_cast<std::size_t>(index + 1);
    EXPECT_EQ(std::tuple(result, found[at], values[at]), expected) << index << " " << text;
  }
}

// What a packet gives for a request: -1 asks for the method, 100 for the lens.
TEST(SettingsReader, FindsOneThingBehindTheOther) {
  const std::string bare = kDeclaration.substr(0, kDeclaration.find("celumbrant_"));
  const std::string version = kDeclaration + "<cbtm:Version>6.0</cbtm:Version>", method = "<cbtm:Method>Uniform";
  const std::string aux = "xmlns:aux='http://ns.adobe.com/exif/1.0/aux/'>", l63(63, 'L');
  const int declared = static_cast<int>(kDeclaration.size()), after = static_cast<int>(aux.size());
  const struct {
    std::string packet;
    int type, result;
    std::string lens = "";
  } rows[] = {
      // clang-format off
      {"", -1, 0}, {"xmlns:cbtm='http://ns.celumbrant.co", -1, 0}, {bare, -1, -5},  // the NUL follows: declared
      {replaced(bare, "'", "\""), 3, -5}, {version + method, -1, 14}, {version + method, 14, declared + 33},
      {version + "<cbtm:Method>Unknown", -1, 0}, {version + "<cbtm:Method>Unknown", 0, declared + 33},
      {version + "cbtm:Method", -1, 0}, {version + "cbtm:Metho", -1, -5}, {version, 12, -5},
      {kDeclaration + "<cbtm:Version>6</cbtm:Version><cbtm:Version>6. +1" + method, -1, 14},
      {kDeclaration + "<cbtm:Version>6.x</cbtm:Version>" + method, -1, -5}, {kDeclaration + method, -1, -5},
      {kDeclaration + method + "<cbtm:Version>6.0", -1, -5}, {"<cbtm:Version>6.0" + method + kDeclaration, -1, -5},
      // The shared settings of no method: where the search for the method element ended.
      {version, 0, declared + 32 + 1 - 11}, {kDeclaration + "padding behind it", 0, declared + 17 + 1},
      {bare, 0, static_cast<int>(bare.size()) + 12},
      // A lens name that fits.
      {aux + "<aux:Lens>50 mm</aux:Lens>", 100, after + 15, "50 mm"}, {aux + " aux:Lens=", 100, after + 11},
      {aux + "<aux:Lens>" + l63 + "</aux:Lens>", 100, after + 73, l63}, {aux + "<aux:Lens>5</aux:Len", 100, after + 11},
      {aux + "<aux:Lens>" + l63 + "L</aux:Lens>", 100, after + 74}, {aux + " aux:Lens=''", 100, after + 11},
      {aux + " aux:LensID='7' aux:Lens=\"50 'mm\"", 100, after + 32, "50 'mm"}, {aux + " aux:Lens='5", 100, after + 13},
      {aux + " aux:Lens='" + l63 + "'", 100, after + 74, l63}, {aux + " aux:Lens='" + l63 + "L'", 100, after + 75},
      {aux + "<aux:Lens></aux:Lens>", 100, after + 10}, {aux + " aux:Lense>", 100, after + 12 - 8},
      {"<aux:Lens>5</aux:Lens>", 100, 0}, {std::string(60, ' '), 100, 61 - 44},
      {replaced(aux, "'", "\"") + "<aux:Lens>5</aux:Lens>", 100, after + 11, "5"},
      // clang-format on
  };
  for (const auto& row : rows) {
    Settings values;
    char lens[65] = {};
    EXPECT_EQ(read_settings(row.packet, row.type, values.data(), lens), row.result) << row.packet << row.type;
    EXPECT_EQ(lens, row.lens);
  }
  EXPECT_EQ(get_settings_from_xmp(-1, 3, "abc", nullptr, nullptr), -3);
  EXPECT_EQ(get_settings_from_xmp(100, 0, "", nullptr, nullptr), -3);
}

TEST(SettingsReader, StaysInsidePacketsCutAnywhere) {
  const std::string whole = packet_of(1, defaults(1), "a lens");
  for (const std::string& packet : {whole, as_attributes(whole)}) {
    const std::size_t readable_from = packet.find("Texture Sculptor") + 16;
    for (std::size_t length = 0; length <= packet.size(); ++length) {
      Settings values;
      char lens[64];
      EXPECT_EQ(read_settings(packet.substr(0, length), 1, values.data()) > 0, length >= readable_from) << length;
      read_settings(packet.substr(0, length), CBTM_QUERY_LENS, nullptr, lens);
    }
  }
}

// Inserts defaults into a buffer with just the room needed. Gives the result and the packet afterwards.
std::pair<int, std::string> insert(std::string packet, int method, int sequence = 1) {
  const Settings values = defaults(method);
  const int existing = static_cast<int>(packet.size());
  const int growth = insert_xmp(CBTM_MEASURE, method, values.data(), 0, 0, nullptr);
  packet.resize(static_cast<std::size_t>(existing + growth), '~');
  const int result = insert_xmp(sequence, method, values.data(), existing, growth, packet.data());
  return {result, packet.substr(0, static_cast<std::size_t>(existing + std::max(result, 0)))};
}

TEST(SettingsInsertion, ComesFirstAndIsWhatALaterReadReads) {
  std::string packet = packet_of(11, defaults(11)) + '\0';
  int count = 1;
  for (const int method : {4, 1, 12, 15}) {
    packet = insert(packet, method, ++count).second;
    EXPECT_EQ(cbsettings_occurences_in_xmp(static_cast<int>(packet.size()), packet.data()), count);
    EXPECT_LT(packet.find("celumbrant_settings0" + std::to_string(count)), packet.find("settings01"));
  }
  Settings read;
  EXPECT_GT(read_settings(packet, 15, read.data()), 0);
  EXPECT_EQ(read, defaults(15));
  EXPECT_EQ(cbsettings_occurences_in_xmp(static_cast<int>(packet.size()) - 1, packet.data()), -3);
  EXPECT_EQ(cbsettings_occurences_in_xmp(5, "<a/>"), 0);
}

TEST(SettingsInsertion, FindsItsPlaceOrLeavesThePacketAlone) {
  const std::string head = "<x:xmpmeta xmlns:x='adobe:ns:meta/' x:xmptk='any'>\n";
  const std::string both = head + "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>";
  const std::string quoted = replaced(both, "'", "\"");
  const std::string description = packet_of(13 + CBTM_WITHOUT_FRAME, defaults(13));
  const int length = static_cast<int>(both.size()), inserted = static_cast<int>(description.size());
  const std::tuple<std::string, std::string, int> rows[] = {
      // clang-format off
      {both, "xyz", inserted}, {both, "\nxyz", inserted}, {both + "\n", "\nxyz", inserted}, {quoted, "xyz", inserted},
      {both + "\n\n", "\nxyz", inserted}, {both + "\n\n", "\n\nxyz", inserted},
      {both + "x", "\n</", inserted},  // a line feed is passed over by the byte behind it
      {both, "xy", -1}, {both, "x", -1}, {both, "\n\n\n", -1}, {both, "", -length}, {"", "", -34},
      {head, "", -(34 + 65)}, {head, std::string(100, 'x'), -static_cast<int>(head.size() + 100)},
      {replaced(quoted, "rdf=\"", "rdf='"), "xyz", -(length + 3)}, {replaced(both, "x:x", "y:x"), "xyz", -(length + 3)},
      // clang-format on
  };
  for (const auto& [before, after, result] : rows) {
    EXPECT_EQ(insert(before + after, 13), std::pair(result, before + (result > 0 ? description : "") + after));
  }
}

TEST(SettingsFile, KeepsSettingsOrSaysWhyNot) {
  const std::string name = temporary("settings.xmp"), empty = temporary("empty.xmp"), none = temporary("no/such/file");
  const Settings values = defaults(15);
  for (const int method : {1, 15}) ASSERT_EQ(write_xmp(name.c_str(), method, values.data()), 1);
  Settings read;
  EXPECT_GT(read_xmp(name.c_str(), 15, read.data()), 0);
  EXPECT_EQ(read, values);
  EXPECT_EQ(write_xmp(name.c_str(), 0, values.data()), -2);
  EXPECT_EQ(write_xmp(name.c_str(), 16, values.data()), -2);
  EXPECT_EQ(read_file(name), packet_of(15, values));
  EXPECT_EQ(write_xmp(none.c_str(), 1, values.data()), -1);
  EXPECT_EQ(read_xmp(none.c_str(), 1, nullptr), -1);
  write_file(empty, "");
  EXPECT_EQ(read_xmp(empty.c_str(), 1, nullptr), 0);
  std::filesystem::resize_file(name, 1U << 31);
  EXPECT_EQ(read_xmp(name.c_str(), 1, nullptr), -4);
  std::filesystem::remove(name);
}

TEST(SettingsLocale, ADecimalCommaChangesNothing) {
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) GTEST_SKIP() << "no locale with a decimal comma";
  ASSERT_EQ(*std::localeconv()->decimal_point, ',');
  const std::string packet = packet_of(3, defaults(3));
  Settings read;
  EXPECT_GT(read_settings(replaced(packet, "3.000", "3.992"), 3, read.data()), 0);
  EXPECT_NEAR(read[4], 0.6F, 1e-3F);
  std::setlocale(LC_ALL, "C");
}

}  // namespace
