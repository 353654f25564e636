// SPDX-License-Identifier: MIT
//
// The vocabulary of the settings packet: which element carries which position of the settings
// vector, how its value is written, under which names it is read, and its default. def_param, the
// reader and the packet writer all work from these tables.

#ifndef CELUMBRANT_SETTINGS_VOCABULARY_H_
#define CELUMBRANT_SETTINGS_VOCABULARY_H_

#include <CelumbrantMetaLib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <span>
#include <string_view>

namespace celumbrant {

// How a value stands in the packet.
enum class ValueForm {
  kTenths,           // a number with one decimal
  kMillionths,       // a number with six decimals
  kClip,             // a clip converted to the written scale, with three decimals
  kYesNo,            // "Yes" or "No "
  kListOfEight,      // eight numbers with one decimal from this position on, commas between them
  kSmoothingMode,    // "Light" (0) or "Slider" (1)
  kSmoothingWord,    // one of kSmoothingWords; there in mode 0 only
  kSmoothingNumber,  // a number with one decimal; there in mode 1 only
};

// Clips of some methods are kept as a power of what is shown to the user and written: the text
// 3.000 is 0.25 in the vector. The two exponents are reciprocal (ln 0.025 / ln 0.3 and back).
inline float clip_to_text(float clip) {
  return static_cast<float>(10.0 * std::pow(static_cast<double>(clip) / 10.0, 0.3263790046007694));
}

inline float clip_from_text(float text) {
  return static_cast<float>(10.0 * std::pow(static_cast<double>(text) / 10.0, 3.063922574380088));
}

// The former element: 0 to 100, where 50 is a saturation of 0.
inline float saturation_from_color_saturation(float value) {
  return static_cast<float>(static_cast<double>(value) / 5.0 - 10.0);
}

// The former element: a gamma of 1 is a brightness of 0, 2 one of -10, 1/8 one of 20.
inline float brightness_from_gamma(float gamma) {
  constexpr double kLn2 = 0.6931471805599453;
  constexpr double kLn8 = 2.0794415416798357;
  const auto g = static_cast<double>(gamma);
  return static_cast<float>(g > 1.0 ? -10.0 * std::log(g) / kLn2 : -20.0 * std::log(g) / kLn8);
}

// A name under which a value is read, and how what stands there becomes the value of today.
struct ReadName {
  std::string_view element;
  float (*convert)(float) = nullptr;
};

// The first that the packet holds decides.
using ReadNames = std::array<ReadName, 2>;

constexpr ReadNames either(ReadName first, ReadName second) {
  return {first, second};
}

struct Setting {
  int index;
  std::string_view element;  // the name written
  ValueForm form;
  float default_value = 0;
  ReadNames read_from{};  // empty: only the name written is read
};

constexpr ReadNames names_read(const Setting& row) {
  return row.read_from[0].element.empty() ? either({row.element}, {}) : row.read_from;
}

namespace vocabulary {

using enum ValueForm;

// Rows stand in the order in which they are written.
// clang-format off
inline constexpr Setting kTextureSculptor[] = {
    {CBTM_SCULPTOR_STRENGTH, "Strength", kTenths, 70.0F},
    {CBTM_SCULPTOR_TONE_COMPRESSION, "ToneCompression", kTenths, 0, either({"Luminosity"}, {"ToneCompression"})},
    {CBTM_SCULPTOR_DETAIL_CONTRAST, "DetailContrast", kTenths, 0, either({"Microcontrast"}, {"DetailContrast"})},
    {CBTM_SCULPTOR_WHITE_CLIP, "WhiteClip", kMillionths, 0.25F},
    {CBTM_SCULPTOR_BLACK_CLIP, "BlackClip", kMillionths},
    // The mode comes first: it decides which of the two smoothing rows below is there.
    {CBTM_SCULPTOR_SMOOTHING_MODE, "SmoothingMode", kSmoothingMode, 1.0F},
    {CBTM_SCULPTOR_SMOOTHING_WORD, "Smoothing", kSmoothingWord, 1.0F},
    {CBTM_SCULPTOR_SMOOTHING_NUMBER, "Smoothing", kSmoothingNumber},
    {CBTM_SCULPTOR_MICROSMOOTHING, "Microsmoothing", kTenths, 2.0F, either({"NoiseSmoothing"}, {"Microsmoothing"})},
    {CBTM_SCULPTOR_HIGHLIGHTS_SMOOTHING, "HighlightsSmoothing", kTenths},
    {CBTM_SCULPTOR_SHADOWS_SMOOTHING, "ShadowsSmoothing", kTenths},
    {CBTM_SCULPTOR_SHADOWS_CLIPPING, "ShadowsClipping", kTenths},
    {CBTM_SCULPTOR_SATURATION_HIGHLIGHTS, "SaturationHighlights", kTenths},
    {CBTM_SCULPTOR_SATURATION_SHADOWS, "SaturationShadows", kTenths},
    {CBTM_SCULPTOR_IS_PANO_360, "IsPano360", kYesNo},
    {CBTM_SCULPTOR_SATURATION, "Saturation", kTenths, 0, either({"ColorSaturation", saturation_from_color_saturation}, {"Saturation"})},
    {CBTM_SCULPTOR_COLOR_TEMPERATURE, "ColorTemperature", kTenths},
    {CBTM_SCULPTOR_BRIGHTNESS, "Brightness", kTenths, 0, either({"Gamma", brightness_from_gamma}, {"Brightness"})},
};

inline constexpr Setting kRangeFlattener[] = {
    {CBTM_FLATTENER_COMPRESSION, "Compression", kTenths},
    {CBTM_FLATTENER_CONTRAST, "Contrast", kTenths},
    {CBTM_FLATTENER_WHITE_CLIP, "WhiteClip", kMillionths},
    {CBTM_FLATTENER_BLACK_CLIP, "BlackClip", kMillionths},
    {CBTM_FLATTENER_SATURATION, "Saturation", kTenths},
    {CBTM_FLATTENER_COLOR_TEMPERATURE, "ColorTemperature", kTenths},
    {CBTM_FLATTENER_BRIGHTNESS, "Brightness", kTenths},
};

inline constexpr Setting kBrillianceRefiner[] = {
    {CBTM_REFINER_STRENGTH, "Strength", kTenths, 50.0F},
    {CBTM_REFINER_TONE_COMPRESSION, "ToneCompression", kTenths},
    {CBTM_REFINER_LIGHTING_EFFECT, "LightingEffect", kTenths, 20.0F},
    {CBTM_REFINER_WHITE_CLIP, "WhiteClip", kClip, 0.6F},
    {CBTM_REFINER_BLACK_CLIP, "BlackClip", kClip, 0.25F},
    {CBTM_REFINER_LUMINANCE, "Luminance", kTenths},
    {CBTM_REFINER_IS_PANO_360, "IsPano360", kYesNo},
    {CBTM_REFINER_SATURATION, "Saturation", kTenths},
    {CBTM_REFINER_COLOR_TEMPERATURE, "ColorTemperature", kTenths},
    {CBTM_REFINER_BRIGHTNESS, "Brightness", kTenths, 0, either({"Midtone"}, {"Brightness"})},
};

inline constexpr Setting kLightLeveler[] = {
    {CBTM_LEVELER_STRENGTH, "Strength", kTenths, 50.0F},
    {CBTM_LEVELER_LIGHTING, "Lighting", kTenths},
    {CBTM_LEVELER_BOOST, "Boost", kTenths},
    {CBTM_LEVELER_MICROCONTRAST, "Microcontrast", kTenths},
    {CBTM_LEVELER_WHITE_CLIP, "WhiteClip", kClip, 0.60359085F},
    {CBTM_LEVELER_BLACK_CLIP, "BlackClip", kClip},
    {CBTM_LEVELER_IS_PANO_360, "IsPano360", kYesNo},
    {CBTM_LEVELER_SATURATION, "Saturation", kTenths},
    {CBTM_LEVELER_COLOR_TEMPERATURE, "ColorTemperature", kTenths},
    {CBTM_LEVELER_BRIGHTNESS, "Brightness", kTenths},
};

inline constexpr Setting kBlendLifelike[] = {
    {CBTM_LIFELIKE_STRENGTH, "Strength", kTenths, 0, either({"Accentuation"}, {"Strength"})},
    {CBTM_LIFELIKE_EXPOSURE_BALANCE, "ExposureBalance", kTenths, 0, either({"BlendingPoint"}, {"ExposureBalance"})},
    {CBTM_LIFELIKE_SHADOWS_CONTRAST, "ShadowsContrast", kTenths, 0, either({"ShadowsContrast"}, {"Shadows"})},
    {CBTM_LIFELIKE_WHITE_CLIP, "WhiteClip", kMillionths},
    {CBTM_LIFELIKE_BLACK_CLIP, "BlackClip", kMillionths},
    {CBTM_LIFELIKE_IS_PANO_360, "IsPano360", kYesNo},
    {CBTM_LIFELIKE_SHARPNESS, "Sharpness", kTenths, 2.0F},
    {CBTM_LIFELIKE_SATURATION, "Saturation", kTenths},
    {CBTM_LIFELIKE_COLOR_TEMPERATURE, "ColorTemperature", kTenths},
    {CBTM_LIFELIKE_BRIGHTNESS, "Brightness", kTenths, 0, either({"MidtonesAdjustment"}, {"Brightness"})},
};

inline constexpr Setting kBlendExpressive[] = {
    {CBTM_EXPRESSIVE_STRENGTH, "Strength", kTenths},
    {CBTM_EXPRESSIVE_RADIUS, "Radius", kTenths, 70.0F},
    {CBTM_EXPRESSIVE_SATURATION, "Saturation", kTenths},
    {CBTM_EXPRESSIVE_COLOR_TEMPERATURE, "ColorTemperature", kTenths},
    {CBTM_EXPRESSIVE_BRIGHTNESS, "Brightness", kTenths},
};

// Two shots and uniform averaging.
inline constexpr Setting kPlain[] = {
    {CBTM_PLAIN_SATURATION, "Saturation", kTenths},
    {CBTM_PLAIN_COLOR_TEMPERATURE, "ColorTemperature", kTenths},
    {CBTM_PLAIN_BRIGHTNESS, "Brightness", kTenths},
};

inline constexpr Setting kBlendRoomscape[] = {
    {CBTM_ROOMSCAPE_HIGHLIGHTS, "Highlights", kTenths},
    {CBTM_ROOMSCAPE_SHADOWS, "Shadows", kTenths},
    {CBTM_ROOMSCAPE_LOCAL_CONTRAST, "LocalContrast", kTenths, 2.0F},
    {CBTM_ROOMSCAPE_DEPTH_HIGHLIGHTS, "DepthHighlights", kTenths},
    {CBTM_ROOMSCAPE_IS_PANO_360, "IsPano360", kYesNo},
    {CBTM_ROOMSCAPE_SATURATION, "Saturation", kTenths},
    {CBTM_ROOMSCAPE_COLOR_TEMPERATURE, "ColorTemperature", kTenths},
    {CBTM_ROOMSCAPE_BRIGHTNESS, "Brightness", kTenths},
};

// After the rows of any method.
inline constexpr Setting kCommon[] = {
    {CBTM_SATURATION_COLORS, "SaturationIndividualColors", kListOfEight},
    {CBTM_TEMPERATURE_COLORS, "TemperatureIndividualColors", kListOfEight},
    {CBTM_BRIGHTNESS_COLORS, "BrightnessIndividualColors", kListOfEight},
    {CBTM_BLENDING_OPACITY, "BlendingOpacity", kTenths},
    {CBTM_BLEND_WITH_EV, "BlendWithEV", kTenths},
};

// clang-format on

}  // namespace vocabulary

// The default of a position that is in no packet.
struct UnwrittenDefault {
  int index;
  float value;
};

inline constexpr UnwrittenDefault kUnlabelledDefaults[] = {{CBTM_UNLABELLED_LOCAL_CONTRAST, 2.0F},
                                                           {CBTM_UNLABELLED_UNWRITTEN, 1.0F}};
inline constexpr UnwrittenDefault kRoomscapeDefaults[] = {{CBTM_ROOMSCAPE_UNWRITTEN, 1.0F}};

struct Method {
  int number;
  std::string_view label;  // the one written; empty: no method element is written
  std::span<const Setting> settings;
  std::span<const UnwrittenDefault> unwritten{};
};

inline constexpr Method kMethods[] = {
    {CBTM_TEXTURE_SCULPTOR, "Texture Sculptor", vocabulary::kTextureSculptor},
    {CBTM_RANGE_FLATTENER, "Range Flattener", vocabulary::kRangeFlattener},
    {CBTM_BRILLIANCE_REFINER, "Brilliance Refiner", vocabulary::kBrillianceRefiner},
    {CBTM_LIGHT_LEVELER, "Light Leveler", vocabulary::kLightLeveler},
    {CBTM_BLEND_LIFELIKE, "Blend/Lifelike", vocabulary::kBlendLifelike},
    {CBTM_BLEND_EXPRESSIVE, "Blend/Expressive", vocabulary::kBlendExpressive},
    {CBTM_BLEND_UNLABELLED, "", {}, kUnlabelledDefaults},
    {CBTM_BLEND_TWO_SHOTS, "Blend/Two Shots", vocabulary::kPlain},
    {CBTM_UNIFORM, "Uniform", vocabulary::kPlain},
    {CBTM_BLEND_ROOMSCAPE, "Blend/Roomscape", vocabulary::kBlendRoomscape, kRoomscapeDefaults},
};

// A number without a method has neither label nor settings of its own.
constexpr Method method_of(int number) {
  const auto row = std::ranges::find(kMethods, number, &Method::number);
  return row != std::end(kMethods) ? *row : Method{number, {}, {}, {}};
}

// Labels as they are read, the former ones included, in the order in which they are tried; a label
// is recognised by its beginning.
struct MethodLabel {
  std::string_view label;
  int method;
};

inline constexpr MethodLabel kLabelsRead[] = {
    {"Vivid Accentuator", CBTM_TEXTURE_SCULPTOR},
    {"Gentle Relighting", CBTM_RANGE_FLATTENER},
    {"Texture Sculptor", CBTM_TEXTURE_SCULPTOR},
    {"Range Flattener", CBTM_RANGE_FLATTENER},
    {"Brilliance Refiner", CBTM_BRILLIANCE_REFINER},
    {"Light Leveler", CBTM_LIGHT_LEVELER},
    {"Blend/Control", CBTM_BLEND_LIFELIKE},
    {"Blend/Lifelike", CBTM_BLEND_LIFELIKE},
    {"Blend/Expressive", CBTM_BLEND_EXPRESSIVE},
    {"Blend/Believable", CBTM_BLEND_ROOMSCAPE},
    {"Blend/Architecture", CBTM_BLEND_ROOMSCAPE},
    {"Blend/Roomscape", CBTM_BLEND_ROOMSCAPE},
    {"Uniform", CBTM_UNIFORM},
    {"Blend/Two Shots", CBTM_BLEND_TWO_SHOTS},
};

// Words of values, by the number that they stand for. Readers compare only as many characters as a
// word has, so what the writer pads is read back.
inline constexpr std::string_view kSmoothingModes[] = {"Light", "Slider"};
inline constexpr std::string_view kSmoothingWords[] = {"Very High", "High", "Medium", "Low",
                                                       "Very Low"};
inline constexpr std::string_view kSmoothingPadding = "        ";  // to eight characters
inline constexpr std::string_view kUnknownSmoothingWord = "Light";
inline constexpr std::string_view kYes = "Yes";
inline constexpr std::string_view kNo = "No ";

}  // namespace celumbrant

#endif  // CELUMBRANT_SETTINGS_VOCABULARY_H_
