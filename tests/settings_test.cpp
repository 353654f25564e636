// SPDX-License-Identifier: MIT
//
// Settings: defaults, the packet as it is written, the packets that are read, insertion, files.

#include <CelumbrantMetaLib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <memory>
#include <numeric>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "support/failing_memory.h"

namespace {

using Settings = std::array<float, CBTM_SETTINGS_COUNT>;

constexpr int kMethodsRead[] = {1, 2, 3, 4, 10, 11, 13, 14, 15};
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
  EXPECT_EQ(buffer.front(), '#');
  EXPECT_EQ(buffer.back(), '#');
  return buffer.substr(1, static_cast<std::size_t>(length));
}

// Reads from memory that ends where the packet ends, so that a sanitizer sees any byte beyond it.
int read_settings(std::string_view packet, int type, float* values, char* lens = nullptr) {
  const auto bytes = std::make_unique<char[]>(packet.size() + 1);
  std::ranges::copy(packet, bytes.get());
  return get_settings_from_xmp(type, static_cast<int>(packet.size()) + 1, bytes.get(), lens, values);
}

std::string replaced(std::string text, std::string_view what, std::string_view with) {
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
  return text;
}

constexpr std::string_view kDeclaration = "xmlns:cbtm='http://ns.celumbrant.com/celumbrant_settings01'>";

// A packet in element form, just what the reader needs; `elements` are "Name>value".
std::string element_packet(std::string_view label, const std::vector<std::string>& elements) {
  std::string packet = std::string(kDeclaration) + "<cbtm:Version>6.0</cbtm:Version><cbtm:Method>";
  packet += std::string(label) + "</cbtm:Method>";
  for (const std::string& element : elements) packet += "<cbtm:" + element + "</cbtm:x>";
  return packet;
}

// The same as attributes between double quotes.
std::string attribute_packet(std::string_view label, const std::vector<std::string>& elements) {
  std::string packet = replaced(std::string(kDeclaration), "'", "\"") + " cbtm:Version=\"6.0\" cbtm:Method=\"";
  packet += std::string(label) + "\"";
  for (const std::string& element : elements) packet += " cbtm:" + replaced(element, ">", "=\"") + "\"";
  return packet + "/>";
}

std::string file_bytes(const std::string& name) {
  std::ostringstream bytes;
  bytes << std::ifstream(name, std::ios::binary).rdbuf();
  return bytes.str();
}

std::string temporary_file(const std::string& name) {
  return testing::TempDir() + "celumbrant_" + name;
}

TEST(SettingsDefaults, EveryMethodHasItsOwnAndZeroElsewhere) {
  const std::map<int, std::map<int, float>> expected = {{1, {{1, 70.0F}, {3, 0.25F}, {5, 1.0F}, {7, 2.0F}, {16, 1.0F}}},
                                                        {3, {{0, 50.0F}, {2, 20.0F}, {3, 0.6F}, {4, 0.25F}}},
                                                        {4, {{0, 50.0F}, {3, 0.60359085F}}},
                                                        {10, {{8, 2.0F}}},
                                                        {11, {{2, 70.0F}}},
                                                        {12, {{8, 2.0F}, {9, 1.0F}}},
                                                        {15, {{8, 2.0F}, {9, 1.0F}}}};
  for (int method = -2; method < 210; ++method) {
    SCOPED_TRACE(method);
    Settings wanted{};
    if (const auto row = expected.find(method); row != expected.end()) {
      for (const auto& [index, value] : row->second) wanted[static_cast<std::size_t>(index)] = value;
    }
    EXPECT_EQ(defaults(method), wanted);
  }
}

// The label and the value lines of each method, in order, for a vector whose value at i is i + 1
// (smoothing mode and word apart, which are given).
struct WrittenLines {
  int method;
  float mode;
  float word;
  const char* lines;
};

TEST(SettingsPacket, WritesTheElementsOfEachMethodInOrder) {
  // clang-format off
  const WrittenLines rows[] = {
      {1, 1, 0, "Method>Texture " "Sculptor|Strength>2.0|ToneCompression>1.0|DetailContrast>7.0|WhiteClip>4.000000|" "BlackClip>5.000000|SmoothingMode>Slider|Smoothing>18.0|Microsmoothing>8.0|" "HighlightsSmoothing>10.0|ShadowsSmoothing>11.0|ShadowsClipping>12.0|SaturationHighlights>" "14.0|" "SaturationShadows>15.0|IsPano360>Yes|Saturation>3.0|ColorTemperature>13.0|Brightness>9.0|"},
      {2, 0, 0, "Method>Range Flattener|Compression>2.0|Contrast>3.0|WhiteClip>4.000000|BlackClip>5.000000|" "Saturation>14.0|ColorTemperature>13.0|Brightness>1.0|"},
      {3, 0, 0, "Method>Brilliance " "Refiner|Strength>1.0|ToneCompression>2.0|LightingEffect>3.0|WhiteClip>7.415|" "BlackClip>7.975|Luminance>10.0|IsPano360>Yes|Saturation>14.0|ColorTemperature>13.0|" "Brightness>9.0|"},
      {4, 0, 4.0F, "Method>Light Leveler|Strength>1.0|Lighting>2.0|Boost>3.0|Microcontrast>4.0|WhiteClip>7.415|" "BlackClip>7.975|IsPano360>Yes|Saturation>14.0|ColorTemperature>13.0|Brightness>9.0|"},
      {10, 0, 0.25F, "Method>Blend/" "Lifelike|Strength>1.0|ExposureBalance>2.0|ShadowsContrast>3.0|WhiteClip>5.000000|" "BlackClip>0.250000|IsPano360>Yes|Sharpness>9.0|Saturation>4.0|ColorTemperature>13.0|" "Brightness>7.0|"},
      {11, 0, 0, "Method>Blend/" "Expressive|Strength>1.0|Radius>3.0|Saturation>2.0|ColorTemperature>13.0|Brightness>7.0|"},
      {12, 0, 0, ""}, {7, 0, 0, ""},
      {13, 0, 0, "Method>Blend/Two Shots|Saturation>14.0|ColorTemperature>13.0|Brightness>7.0|"},
      {14, 0, 0, "Method>Uniform|Saturation>14.0|ColorTemperature>13.0|Brightness>7.0|"},
      {15, 0, 0, "Method>Blend/Roomscape|Highlights>2.0|Shadows>3.0|LocalContrast>9.0|DepthHighlights>1.0|" "IsPano360>Yes|Saturation>4.0|ColorTemperature>13.0|Brightness>7.0|"},
  };
  // clang-format on
  constexpr std::string_view kFrame =
      "<x:xmpmeta xmlns:x='adobe:ns:meta/'>\n"
      "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>\n\n";
  constexpr std::string_view kCommonLines =
      "SaturationIndividualColors>22.0,23.0,24.0,25.0,26.0,27.0,28.0,29.0|"
      "TemperatureIndividualColors>32.0,33.0,34.0,35.0,36.0,37.0,38.0,39.0|"
      "BrightnessIndividualColors>42.0,43.0,44.0,45.0,46.0,47.0,48.0,49.0|"
      "BlendingOpacity>52.0|BlendWithEV>53.0|";
  for (const WrittenLines& row : rows) {
    SCOPED_TRACE(row.method);
    Settings values;
    std::iota(values.begin(), values.end(), 1.0F);
    values[16] = row.mode;
    values[5] = row.word;
    std::string expected = std::string(kFrame) +
                           "<rdf:Description rdf:about=''\n"
                           "xmlns:cbtm='http://ns.celumbrant.com/celumbrant_settings01'>\n"
                           "<cbtm:Version>6.0</cbtm:Version>\n";
    std::istringstream lines(row.lines + std::string(kCommonLines));
    for (std::string line; std::getline(lines, line, '|');) {
      expected += "<cbtm:" + line + "</cbtm:" + line.substr(0, line.find('>')) + ">\n";
    }
    expected += "</rdf:Description>\n\n</rdf:RDF>\n</x:xmpmeta>\n";
    EXPECT_EQ(packet_of(row.method, values), expected);
    // Without the frame it is the middle of the same text.
    EXPECT_EQ(packet_of(row.method + CBTM_WITHOUT_FRAME, values),
              expected.substr(kFrame.size(), expected.size() - 128));
  }
}

TEST(SettingsPacket, WritesSmoothingAsWordOrNumber) {
  const std::pair<float, const char*> words[] = {{0, "Very High"}, {1.9F, "High    "}, {2, "Medium  "},
                                                 {3, "Low     "},  {4, "Very Low"},    {7, "Light"}};
  Settings values = defaults(1);
  values[16] = 0.9F;
  for (const auto& [number, word] : words) {
    values[5] = number;
    EXPECT_NE(
        packet_of(1, values).find(std::string("<cbtm:SmoothingMode>Light</cbtm:SmoothingMode>\n<cbtm:Smoothing>") +
                                  word + "</cbtm:Smoothing>\n<cbtm:Microsmoothing>"),
        std::string::npos)
        << number;
  }
}

TEST(SettingsPacket, WritesFrameLensAndSequenceNumberAsAsked) {
  const Settings values = defaults(11);
  EXPECT_EQ(packet_of(0, values).size(), 128U);
  EXPECT_EQ(packet_of(-3, values).size(), 128U);
  const std::string lens = packet_of(0, values, "50mm f/1.8 X");
  EXPECT_EQ(lens.size(), 128U + 131U);
  EXPECT_EQ(lens.substr(104, 131),
            "<rdf:Description rdf:about=''\nxmlns:aux='http://ns.adobe.com/exif/1.0/aux/'>\n"
            "<aux:Lens>50mm f/1.8 X</aux:Lens>\n</rdf:Description>\n\n");
  const std::string long_name(300, 'L');
  EXPECT_NE(packet_of(0, values, long_name.c_str()).find("<aux:Lens>" + long_name + "</aux:Lens>\n"),
            std::string::npos);
  for (const auto& [embed_type, digits] : std::map<int, std::string>{{-5, "01"}, {1, "01"}, {2, "02"}, {99, "99"}}) {
    EXPECT_NE(packet_of(11, values, nullptr, embed_type).find("celumbrant_settings" + digits + "'>\n"),
              std::string::npos)
        << embed_type;
  }
  // 200 is not above 200: the frame stays, and the number has no method.
  EXPECT_EQ(packet_of(200, values), packet_of(12, values));
}

TEST(SettingsPacket, WritesAnyValueWithoutHarm) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  Settings values{};
  values.fill(std::numeric_limits<float>::lowest());
  EXPECT_NE(packet_of(1, values).find(">-340282346638528859811704183484516925440.0,"), std::string::npos);
  // Smoothing modes and words that are none, and the word line that goes with a mode of none.
  for (const float odd : {std::nanf(""), kInfinity, -kInfinity, 3e9F, -1.0F, 7.0F}) {
    values[16] = odd;
    values[5] = odd;
    const std::string packet = packet_of(1, values);
    EXPECT_NE(packet.find("Mode>Light<"), std::string::npos) << odd;
    EXPECT_NE(packet.find("<cbtm:Smoothing>Light</cbtm:Smoothing>"), std::string::npos) << odd;
  }
  values[15] = 0.0F;
  EXPECT_NE(packet_of(1, values).find("<cbtm:IsPano360>No </cbtm:IsPano360>"), std::string::npos);
}

TEST(SettingsReader, ReadsBackWhatWasWritten) {
  for (const int method : kMethodsRead) {
    for (const float mode : {0.0F, 1.0F}) {
      SCOPED_TRACE(method);
      Settings written;
      for (std::size_t i = 0; i < written.size(); ++i) written[i] = 0.5F + static_cast<float>(i % 5);
      if (method == 1) written[16] = mode;
      const std::string packet = packet_of(method, written, "a lens");
      Settings read;
      read.fill(kUntouched);
      EXPECT_EQ(read_settings(packet, method, read.data()), static_cast<int>(packet.find("cbtm:Method")));
      EXPECT_EQ(packet_of(method, read, "a lens"), packet);
      EXPECT_EQ(read_settings(packet, CBTM_QUERY_METHOD, nullptr), method);

      read.fill(kUntouched);
      EXPECT_EQ(read_settings(packet, method == 1 ? 2 : 1, read.data()), -5);
      EXPECT_EQ(std::ranges::count(read, kUntouched), CBTM_SETTINGS_COUNT);
    }
  }
  const std::string unlabelled = packet_of(12, defaults(12));
  EXPECT_EQ(read_settings(unlabelled, 12, nullptr), -5);
  EXPECT_EQ(read_settings(unlabelled, CBTM_QUERY_METHOD, nullptr), -5);
}

// What one packet gives at one position of the vector.
struct ReadRow {
  const char* label;
  std::vector<std::string> elements;
  std::size_t index;
  float expected;
};

TEST(SettingsReader, TakesNamesInOrderOfPriorityAndConverts) {
  // clang-format off
  const ReadRow rows[] = {
      {"Vivid Accentuator", {"ToneCompression>2", "Luminosity>1"}, 0, 1},
      {"Texture Sculptor", {"ToneCompression>2"}, 0, 2},
      {"Texture Sculptor", {"DetailContrast>2", "Microcontrast>1"}, 6, 1},
      {"Texture Sculptor", {"Microsmoothing>3", "NoiseSmoothing>1"}, 7, 1},
      {"Texture Sculptor", {"Saturation>2", "ColorSaturation>75"}, 2, 5},
      {"Texture Sculptor", {"Saturation>2", "ColorSaturation>none"}, 2, -10},
      {"Texture Sculptor", {"Saturation>2"}, 2, 2}, {"Texture Sculptor", {"Brightness>4", "Gamma>2.0"}, 8, -10},
      {"Texture Sculptor", {"Gamma>0.5"}, 8, 20.0F / 3.0F}, {"Texture Sculptor", {"Brightness>4"}, 8, 4},
      // The mode of smoothing decides how the smoothing element is read; one that is not known
      // is 1.
      {"Texture Sculptor", {"SmoothingMode>Light", "Smoothing>Low     "}, 5, 3},
      {"Texture Sculptor", {"SmoothingMode>Light", "Smoothing>Low"}, 16, 0},
      {"Texture Sculptor", {"Smoothing>Very Low", "SmoothingMode>Light"}, 5, 4},
      {"Texture Sculptor", {"SmoothingMode>Light", "Smoothing>Very High"}, 5, 0},
      {"Texture Sculptor", {"SmoothingMode>Light", "Smoothing>Light"}, 5, 1},
      {"Texture Sculptor", {"SmoothingMode>Light", "Smoothing>4.5"}, 17, 0},
      {"Texture Sculptor", {"SmoothingMode>Slider", "Smoothing>4.5"}, 17, 4.5},
      {"Texture Sculptor", {"SmoothingMode>Other", "Smoothing>4.5"}, 17, 4.5},
      {"Texture Sculptor", {"IsPano360>Yes"}, 15, 1}, {"Texture Sculptor", {"IsPano360>yes"}, 15, 0},
      // The first element of a name counts, and a name is not found in a longer one.
      {"Texture Sculptor", {"Strength>3", "Strength>4"}, 1, 3}, {"Texture Sculptor", {"Strengths>3"}, 1, 70},
      {"Texture Sculptor", {"Strength >3"}, 1, 70}, {"Gentle Relighting", {"Compression>3"}, 1, 3},
      {"Range Flattener", {"WhiteClip>3"}, 3, 3}, {"Brilliance Refiner", {"Brightness>3", "Midtone>2"}, 8, 2},
      {"Brilliance Refiner", {"WhiteClip>4.000"}, 3, 0.60359085F},
      {"Brilliance Refiner", {"BlackClip>3.000"}, 4, 0.25F},
      // Found but no number: the default itself goes through the conversion.
      {"Brilliance Refiner", {"WhiteClip>none"}, 3, 0.00180447F}, {"Light Leveler", {"WhiteClip>3.000"}, 3, 0.25F},
      {"Blend/Control", {"Strength>3", "Accentuation>2"}, 0, 2},
      {"Blend/Lifelike", {"Strength>3", "Accentuation>none"}, 0, 0},
      {"Blend/Lifelike", {"ExposureBalance>3", "BlendingPoint>2"}, 1, 2},
      {"Blend/Lifelike", {"Shadows>3", "ShadowsContrast>2"}, 2, 2}, {"Blend/Lifelike", {"Shadows>3"}, 2, 3},
      {"Blend/Lifelike", {"Brightness>3", "MidtonesAdjustment>2"}, 6, 2}, {"Blend/Expressive", {"Radius>3"}, 2, 3},
      {"Blend/Believable", {"Highlights>3"}, 1, 3}, {"Blend/Architecture and more", {"LocalContrast>3"}, 8, 3},
      {"Blend/Two Shots", {"Saturation>3"}, 13, 3}, {"Uniform", {"Saturation>3"}, 13, 3},
      {"Uniform", {"BlendWithEV>3"}, 52, 3}, {"Uniform", {"BrightnessIndividualColors>1,2,3, 4,5,6,7,8.5"}, 48, 8.5},
      {"Uniform", {"BrightnessIndividualColors>1,2,3,4,5,6,7"}, 41, 0},
      {"Uniform", {"BrightnessIndividualColors>1,2,3,4,5,6,7 ,8"}, 41, 0},
      {"Uniform", {"BrightnessIndividualColors>1,2,3,4,5,6,7;8"}, 41, 0},
  };
  // clang-format on
  for (const ReadRow& row : rows) {
    for (const std::string& packet :
         {element_packet(row.label, row.elements), attribute_packet(row.label, row.elements)}) {
      SCOPED_TRACE(packet.substr(packet.find("cbtm:Method")));
      const int method = read_settings(packet, CBTM_QUERY_METHOD, nullptr);
      Settings values;
      EXPECT_GT(read_settings(packet, method, values.data()), 0);
      EXPECT_NEAR(values[row.index], row.expected, 1e-6F * std::max(1.0F, std::fabs(row.expected)));
    }
  }
}

TEST(SettingsReader, ReadsNumbersAsScanfDoes) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  // clang-format off
  const std::pair<const char*, float> rows[] = {
      {"42.5", 42.5F}, {"+1", 1}, {"-.5", -0.5F}, {"5.", 5}, {" \t\n7", 7}, {"1e3", 1000}, {"1e", 1},
      {"1E-2x", 0.01F}, {"0x1.8p1", 3}, {"inf", kInfinity}, {"-Infinity", -kInfinity},
      {"1e39", kInfinity}, {"1e99", kInfinity}, {"-1e-99", 0}, {"1e-45", 1e-45F}, {"1e-99999999999999999999", 0},
      {"0.000000000000000000000000000000000000000000000001e60", 1e12F}, {"'3", 3}, {"x3", 3},
      {"xx3", kUntouched}, {"", kUntouched}, {"-", kUntouched}, {".", kUntouched},
      {"infix", kUntouched}, {"0x", kUntouched},
  };
  // clang-format on
  for (const auto& [text, expected] : rows) {
    SCOPED_TRACE(text);
    const std::string element = std::string("cbtm:Boost>") + text + "<";
    Settings values;
    values.fill(kUntouched);
    std::array<int, CBTM_SETTINGS_COUNT> found{};
    EXPECT_EQ(searchForTag(2, "cbtm:Boost", CBTM_TAG_NUMBER, element.data(), 1, static_cast<int>(element.size()),
                           found.data(), values.data()),
              0);
    EXPECT_EQ(found[2], 1);
    EXPECT_EQ(values[2], expected);
    EXPECT_EQ(std::ranges::count(values, kUntouched), expected == kUntouched ? 60 : 59);
  }
}

TEST(SettingsReader, TagScannerHasStrictBounds) {
  constexpr std::string_view kText = "..cbtm:Boost=\"7\" cbtm:Boost>8";
  struct Row {
    int index, type, form, length, found_before;
    int result, found;
    float value;
  };
  // clang-format off
  const Row rows[] = {
      {2, 0, 2, 29, 0, 2, 1, 7}, {2, 0, 2, 15, 0, 2, 1, 7},
      {2, 0, 2, 14, 0, 2, 1, kUntouched},  // the value lies outside
      {2, 0, 2, 13, 0, 2, 0, kUntouched},  // no byte behind the "="
      {2, 0, 1, 29, 0, 17, 1, 8}, {2, 0, 1, 28, 0, 17, 0, kUntouched}, {2, 0, 1, 20, 0, 9, 0, kUntouched},
      {2, 0, 1, 11, 0, 0, 0, kUntouched}, {2, 0, 1, -4, 0, 0, 0, kUntouched}, {2, 0, 1, 29, 1, 0, 1, kUntouched},
      {2, 1, 1, 29, 0, 17, 1, 0},
      {2, 5, 1, 29, 0, 18, 0, kUntouched},  // no such kind: passed over
      {21, 20, 1, 29, 0, 17, 1, kUntouched}, {50, 20, 1, 29, 0, 0, 0, kUntouched},
      {60, 0, 1, 29, 0, 0, 0, kUntouched}, {-1, 0, 1, 29, 0, 0, 0, kUntouched},
  };
  // clang-format on
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.index << " " << row.type << " " << row.form << " " << row.length);
    const auto length = static_cast<std::size_t>(std::max(row.length, 0));
    const auto bytes = std::make_unique<char[]>(length);
    std::ranges::copy(kText.substr(0, length), bytes.get());
    Settings values;
    values.fill(kUntouched);
    std::array<int, CBTM_SETTINGS_COUNT> found;
    found.fill(row.found_before);
    EXPECT_EQ(
        searchForTag(row.index, "cbtm:Boost", row.type, bytes.get(), row.form, row.length, found.data(), values.data()),
        row.result);
    const auto changed = std::ranges::find_if(values, [](float v) { return v != kUntouched; });
    EXPECT_EQ(changed != values.end() ? *changed : kUntouched, row.value);
    EXPECT_EQ(std::ranges::count(found, 1), row.found_before == 1 ? 60 : row.found);
  }
}

// What a packet gives for a request, by its result alone.
TEST(SettingsReader, FindsNamespaceVersionAndMethodInOrder) {
  const std::string space(kDeclaration);
  const std::string version = "<cbtm:Version>6.0</cbtm:Version>";
  struct Row {
    std::string packet;
    int type;
    int result;
  };
  const int declared = static_cast<int>(space.find("celumbrant_"));
  const int length = static_cast<int>(space.size());
  // clang-format off
  const Row rows[] = {
      {"", -1, 0}, {"xmlns:cbtm='http://ns.celumbrant.co", -1, 0},
      {"xmlns:cbtm='http://ns.celumbrant.com/", -1, -5},  // the NUL follows: declared
      {"xmlns:cbtm=\"http://ns.celumbrant.com/", 3, -5}, {space + version + "<cbtm:Method>Uniform", -1, 14},
      {space + version + "<cbtm:Method>Uniform", 14, length + 33}, {space + version + "<cbtm:Method>Unknown", -1, 0},
      {space + version + "<cbtm:Method>Unknown", 0, length + 33}, {space + version + "cbtm:Method", -1, 0},
      {space + version + "cbtm:Metho", -1, -5},
      {space + "<cbtm:Version>6</cbtm:Version><cbtm:Version>6. +1<cbtm:Method>Uniform", -1, 14},
      {space + "<cbtm:Version>six</cbtm:Version><cbtm:Method>Uniform", -1, -5},
      {space + "<cbtm:Method>Uniform", -1, -5}, {space + "<cbtm:Method>Uniform" + version, -1, -5},
      {version + "<cbtm:Method>Uniform" + space, -1, -5},
      // The shared settings of no method: where the search for the method element ended.
      {space + version, 0, length + 32 + 1 - 11}, {space + "padding behind it", 0, length + 17 + 1},
      {space.substr(0, static_cast<std::size_t>(declared)), 0, declared + 12},
  };
  // clang-format on
  for (const Row& row : rows) {
    SCOPED_TRACE(row.packet + " for " + std::to_string(row.type));
    Settings values;
    EXPECT_EQ(read_settings(row.packet, row.type, values.data()), row.result);
  }
  EXPECT_EQ(get_settings_from_xmp(-1, 3, "abc", nullptr, nullptr), -3);
  EXPECT_EQ(get_settings_from_xmp(CBTM_QUERY_LENS, 3, "abc", nullptr, nullptr), -3);
  EXPECT_EQ(get_settings_from_xmp(-1, 0, "", nullptr, nullptr), -3);
}

TEST(SettingsReader, StaysInsidePacketsCutAnywhere) {
  const std::string whole = packet_of(1, defaults(1), "a lens");
  const std::string attributes =
      attribute_packet("Texture Sculptor", {"Strength>3", "SmoothingMode>Light", "Smoothing>Low"});
  for (const std::string& packet : {whole, attributes}) {
    int readable = 0;
    for (std::size_t length = 0; length <= packet.size(); ++length) {
      Settings values;
      char lens[64] = {};
      readable += read_settings(packet.substr(0, length), 1, values.data()) > 0 ? 1 : 0;
      read_settings(packet.substr(0, length), CBTM_QUERY_LENS, nullptr, lens);
    }
    const std::size_t label_end = packet.find("Texture Sculptor") + std::string_view("Texture Sculptor").size();
    EXPECT_EQ(readable, static_cast<int>(packet.size() - label_end + 1));
  }
}

TEST(SettingsReader, CopiesALensNameThatFits) {
  const std::string space = "xmlns:aux='http://ns.adobe.com/exif/1.0/aux/'>";
  const int after = static_cast<int>(space.size());
  const std::string l63(63, 'L');
  struct Row {
    std::string packet;
    std::string name;
    int result;
  };
  // clang-format off
  const Row rows[] = {
      {space + "<aux:Lens>50 mm</aux:Lens>", "50 mm", after + 15},
      {space + "<aux:Lens>" + l63 + "</aux:Lens>", l63, after + 73},
      {space + "<aux:Lens>" + l63 + "L</aux:Lens>", "", after + 74},
      {space + "<aux:Lens></aux:Lens>", "", after + 10}, {space + "<aux:Lens>5</aux:Len", "", after + 11},
      {space + " aux:LensID='7' aux:Lens=\"50 'mm\"", "50 'mm", after + 32},
      {space + " aux:Lens='" + l63 + "'", l63, after + 74}, {space + " aux:Lens='" + l63 + "L'", "", after + 75},
      {space + " aux:Lens=''", "", after + 11}, {space + " aux:Lens='5", "", after + 13},
      {space + " aux:Lens=", "", after + 11}, {space + " aux:Lense>", "", after + 12 - 8},
      {"<aux:Lens>5</aux:Lens>", "", 0}, {std::string(60, ' '), "", 61 - 44},
      {replaced(space, "'", "\"") + "<aux:Lens>5</aux:Lens>", "5", after + 11},
  };
  // clang-format on
  for (const Row& row : rows) {
    SCOPED_TRACE(row.packet);
    char lens[65] = {};
    EXPECT_EQ(read_settings(row.packet, CBTM_QUERY_LENS, nullptr, lens), row.result);
    EXPECT_EQ(std::string(lens), row.name);
  }
}

// Inserts into a buffer with just the room needed. Gives the result and the packet afterwards.
std::pair<int, std::string> insert(std::string packet, int method, const Settings& values, int sequence = 1) {
  const int growth = insert_xmp(CBTM_MEASURE, method, values.data(), 0, 0, nullptr);
  const std::size_t existing = packet.size();
  packet.resize(existing + static_cast<std::size_t>(growth), '~');
  const int result = insert_xmp(sequence, method, values.data(), static_cast<int>(existing), growth, packet.data());
  EXPECT_TRUE(result < 0 || result == growth);
  return {result, result > 0 ? packet : packet.substr(0, existing)};
}

TEST(SettingsInsertion, ComesFirstAndIsWhatALaterReadReads) {
  std::string packet = packet_of(11, defaults(11)) + '\0';
  const int methods[] = {4, 1, 12, 15};
  for (int i = 0; i < 4; ++i) {
    const auto [result, grown] = insert(packet, methods[i], defaults(methods[i]), i + 2);
    ASSERT_GT(result, 0);
    packet = grown;
    EXPECT_EQ(cbsettings_occurences_in_xmp(static_cast<int>(packet.size()), packet.data()), i + 2);
    EXPECT_EQ(packet.find("celumbrant_settings0" + std::to_string(i + 2)) < packet.find("settings01"), true);
  }
  Settings read;
  EXPECT_GT(get_settings_from_xmp(15, static_cast<int>(packet.size()), packet.data(), nullptr, read.data()), 0);
  EXPECT_EQ(read, defaults(15));
  EXPECT_EQ(cbsettings_occurences_in_xmp(static_cast<int>(packet.size()) - 1, packet.data()), -3);
  EXPECT_EQ(cbsettings_occurences_in_xmp(0, packet.data()), -3);
  EXPECT_EQ(cbsettings_occurences_in_xmp(5, "<a/>"), 0);
}

TEST(SettingsInsertion, FindsItsPlaceOrLeavesThePacketAlone) {
  const std::string head = "<x:xmpmeta xmlns:x='adobe:ns:meta/' x:xmptk='any'>\n";
  const std::string rdf = "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>";
  const std::string quoted = replaced(head + rdf, "'", "\"");
  const Settings values = defaults(13);
  const std::string description = packet_of(13 + CBTM_WITHOUT_FRAME, values);
  struct Row {
    std::string before, after;
    int result;  // 0: inserted between the two
  };
  const int both = static_cast<int>(head.size() + rdf.size());
  // clang-format off
  const Row rows[] = {
      {head + rdf, "xyz", 0}, {head + rdf, "\nxyz", 0}, {head + rdf + "\n", "\nxyz", 0},
      {head + rdf + "\n\n", "\nxyz", 0}, {head + rdf + "\n\n", "\n\nxyz", 0},
      {head + rdf + "x", "\n</", 0},  // a line feed is passed over by the byte behind it
      {quoted, "xyz", 0}, {head + rdf, "xy", -1}, {head + rdf, "x", -1}, {head + rdf, "\n\n\n", -1},
      {head + rdf, "", -both}, {replaced(quoted, "rdf=\"", "rdf='"), "xyz", -(both + 3)},
      {head, std::string(100, 'x'), -static_cast<int>(head.size() + 100)}, {head, "", -(34 + 65)},
      {replaced(head, "x:x", "y:x") + rdf, "xyz", -(both + 3)}, {"", "", -34},
  };
  // clang-format on
  for (const Row& row : rows) {
    SCOPED_TRACE(row.before + "|" + row.after);
    const auto [result, packet] = insert(row.before + row.after, 13, values);
    EXPECT_EQ(result, row.result == 0 ? static_cast<int>(description.size()) : row.result);
    EXPECT_EQ(packet, row.before + (row.result == 0 ? description : "") + row.after);
  }
#ifdef CELUMBRANT_CAN_FAIL_MEMORY
  const FailingMemory failing(0);
  EXPECT_EQ(insert(head + rdf + "xyz", 13, values), std::pair(-4, head + rdf + "xyz"));
#endif
}

TEST(SettingsFile, KeepsSettingsOrSaysWhyNot) {
  const std::string name = temporary_file("settings.xmp");
  for (const int method : kMethodsRead) {
    const Settings values = defaults(method);
    ASSERT_EQ(write_xmp(name.c_str(), method, values.data()), 1);
    EXPECT_EQ(file_bytes(name), packet_of(method, values));
    Settings read;
    EXPECT_GT(read_xmp(name.c_str(), method, read.data()), 0);
    EXPECT_EQ(packet_of(method, read), packet_of(method, values));
    EXPECT_EQ(read_xmp(name.c_str(), CBTM_QUERY_METHOD, nullptr), method);
    EXPECT_GE(read_xmp(name.c_str(), CBTM_QUERY_LENS, nullptr), 0);
  }
  const Settings values = defaults(1);
  const std::string before = file_bytes(name);
  EXPECT_EQ(write_xmp(name.c_str(), 0, values.data()), -2);
  EXPECT_EQ(write_xmp(name.c_str(), 16, values.data()), -2);
  EXPECT_EQ(file_bytes(name), before);
  EXPECT_EQ(write_xmp(temporary_file("no/such/folder").c_str(), 1, values.data()), -1);
  EXPECT_EQ(read_xmp(temporary_file("no/such/file").c_str(), 1, nullptr), -1);
  EXPECT_EQ(write_xmp("/dev/full", 1, values.data()), -3);  // a disk without room
#ifdef CELUMBRANT_CAN_FAIL_MEMORY
  {
    const std::string before_packet = packet_of(1, values);
    const FailingMemory failing(0);
    EXPECT_EQ(write_xmp(temporary_file("empty.xmp").c_str(), 1, values.data()), -4);
    EXPECT_EQ(read_xmp(name.c_str(), 1, nullptr), -4);
    EXPECT_EQ(packet_of(1, values), before_packet);
    EXPECT_EQ(failing.calls(), 2);  // none for the packet itself
  }
#endif
  EXPECT_EQ(read_xmp(temporary_file("empty.xmp").c_str(), 1, nullptr), 0);
  std::filesystem::resize_file(name, std::uintmax_t{1} << 31);
  EXPECT_EQ(read_xmp(name.c_str(), 1, nullptr), -4);
  std::filesystem::remove(name);
}

TEST(SettingsLocale, ADecimalCommaChangesNothing) {
  Settings values = defaults(3);
  values[0] = 12.5F;
  const std::string packet = packet_of(3, values);
  if (std::setlocale(LC_ALL, "de_DE.UTF-8") == nullptr) GTEST_SKIP() << "no locale with a decimal comma";
  ASSERT_EQ(std::string(std::localeconv()->decimal_point), ",");
  EXPECT_EQ(packet_of(3, values), packet);
  Settings read;
  EXPECT_GT(read_settings(packet, 3, read.data()), 0);
  EXPECT_EQ(read[0], 12.5F);
  std::setlocale(LC_ALL, "C");
}

}  // namespace
