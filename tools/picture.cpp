// SPDX-License-Identifier: MIT

#include "picture.h"

#include <CelumbrantMetaLib.h>
#include <stb_image.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

#include "errors.h"
#include "files.h"

namespace celumbrant_meta {
namespace {

struct FreePixels {
  void operator()(void* pixels) const { stbi_image_free(pixels); }
};
template <class Sample>
using Decoded = std::unique_ptr<Sample, FreePixels>;

// A file in memory as the decoder reads it. The decoder takes what lies behind the end for zeros, on
// which it may run for ever or hand out a picture that is only half there: so it gets line feeds,
// with which its loops get on to an end, and that it asked for them is remembered.
struct Reading {
  std::string_view bytes;
  std::size_t at = 0;
  bool past_end = false;
};

int read_some(void* user, char* data, int size) {
  auto& reading = *static_cast<Reading*>(user);
  const auto wanted = static_cast<std::size_t>(size);
  const std::size_t got = std::min(wanted, reading.bytes.size() - reading.at);
  std::memcpy(data, reading.bytes.data() + reading.at, got);
  reading.at += got;
  if (got > 0) return static_cast<int>(got);
  reading.past_end = true;
  std::memset(data, '\n', wanted);
  return size;
}

void skip_some(void* user, int count) {
  auto& reading = *static_cast<Reading*>(user);
  if (count < 0) {
    reading.at -= std::min(static_cast<std::size_t>(-count), reading.at);
    return;
  }
  const std::size_t left = reading.bytes.size() - reading.at;
  reading.past_end |= static_cast<std::size_t>(count) > left;
  reading.at += std::min(static_cast<std::size_t>(count), left);
}

int at_end(void* user) {
  const auto& reading = *static_cast<Reading*>(user);
  return reading.at == reading.bytes.size() ? 1 : 0;
}

constexpr stbi_io_callbacks kReadFromMemory = {read_some, skip_some, at_end};

std::string reason_of_failure() {
  const char* const reason = stbi_failure_reason();
  return reason == nullptr ? "it is damaged" : reason;
}

// Memory is taken by what the header says: a few bytes cannot promise a huge picture. What packs most
// is a PNG of one bit a pixel, whose 8 pixels a byte are packed by 1032 at most.
void check_promise(const std::string& file, const std::string& bytes) {
  constexpr double kMostPixelsInByte = 8 * 1032;
  int width = 0;
  int height = 0;
  int samples = 0;
  const auto* const data = reinterpret_cast<const stbi_uc*>(bytes.data());
  if (stbi_info_from_memory(data, length_of(bytes), &width, &height, &samples) == 0)
    throw Failure(file, "cannot be decoded: " + reason_of_failure());
  if (static_cast<double>(width) * height > kMostPixelsInByte * static_cast<double>(bytes.size()))
    throw Failure(file, "cannot be decoded: it is too short for its size in pixels");
}

// Decodes with one of the decoder's functions, such as stbi_load_from_callbacks.
template <class Sample, class Load>
std::vector<Sample> decode(const std::string& file, const std::string& bytes, Load load,
                           Picture& picture) {
  check_promise(file, bytes);
  Reading reading{bytes};
  const Decoded<Sample> pixels(load(&kReadFromMemory, &reading, &picture.width, &picture.height,
                                    &picture.samples_per_pixel, 0));
  if (reading.past_end) throw Failure(file, "ends before the picture does");
  if (pixels == nullptr) throw Failure(file, "cannot be decoded: " + reason_of_failure());
  const std::size_t count = static_cast<std::size_t>(picture.width) *
                            static_cast<std::size_t>(picture.height) *
                            static_cast<std::size_t>(picture.samples_per_pixel);
  return {pixels.get(), pixels.get() + count};
}

// Binary PNM is read here: the decoder neither swaps its 16-bit samples, nor scales to its largest
// value, nor sees that a file is cut off.
class PnmHeader {
 public:
  explicit PnmHeader(std::string_view bytes) : bytes_(bytes) {}

  // A number behind white space and comments.
  std::optional<int> number() {
    while (at_ < bytes_.size() && (is_space(bytes_[at_]) || bytes_[at_] == '#')) {
      if (bytes_[at_] == '#') at_ = std::min(bytes_.find('\n', at_), bytes_.size() - 1);
      ++at_;
    }
    int value = 0;
    const std::size_t begin = at_;
    for (; at_ < bytes_.size() && bytes_[at_] >= '0' && bytes_[at_] <= '9'; ++at_) {
      value = 10 * value + (bytes_[at_] - '0');
      if (value > kMostPixels) return std::nullopt;
    }
    return at_ == begin ? std::nullopt : std::optional(value);
  }

  // The samples begin behind one byte of white space.
  std::string_view samples() const { return bytes_.substr(std::min(at_ + 1, bytes_.size())); }

  static constexpr int kMostPixels = 1 << 24;  // in width and height, as the decoder has it

 private:
  static bool is_space(char c) {
    return std::string_view(" \t\r\n\v\f").find(c) != std::string_view::npos;
  }

  std::string_view bytes_;
  std::size_t at_ = 2;
};

Picture read_pnm(const std::string& file, std::string_view bytes) {
  PnmHeader header(bytes);
  const int width = header.number().value_or(0);
  const int height = header.number().value_or(0);
  const int largest = header.number().value_or(0);
  if (width < 1 || height < 1 || largest < 1 || largest > 65535)
    throw Failure(file, "cannot be decoded: its PNM header is damaged");
  Picture picture{width, height, bytes[1] == '6' ? 3 : 1, {}};
  const std::uint64_t count = static_cast<std::uint64_t>(width) *
                              static_cast<std::uint64_t>(height) *
                              static_cast<unsigned>(picture.samples_per_pixel);
  const std::string_view samples = header.samples();
  const std::uint64_t wanted = largest > 255 ? 2 * count : count;
  if (samples.size() < wanted) throw Failure(file, "ends before the picture does");
  const auto scaled = [largest](int value, int full) {
    return (std::min(value, largest) * static_cast<std::int64_t>(full) + largest / 2) / largest;
  };
  const auto byte = [&](std::uint64_t i) { return static_cast<unsigned char>(samples[i]); };
  if (largest <= 255) {
    Samples8 out(count);
    for (std::uint64_t i = 0; i < count; ++i)
      out[i] = static_cast<std::uint8_t>(scaled(byte(i), 255));
    picture.samples = std::move(out);
  } else {
    Samples16 out(count);
    for (std::uint64_t i = 0; i < count; ++i)
      out[i] = static_cast<std::uint16_t>(scaled(byte(2 * i) << 8 | byte(2 * i + 1), 65535));
    picture.samples = std::move(out);
  }
  return picture;
}

Picture read_hdr(const std::string& file, const std::string& bytes) {
  Picture picture;
  picture.samples = decode<float>(file, bytes, stbi_loadf_from_callbacks, picture);
  return picture;
}

Picture read_integers(const std::string& file, const std::string& bytes) {
  Picture picture;
  const auto* const data = reinterpret_cast<const stbi_uc*>(bytes.data());
  if (stbi_is_16_bit_from_memory(data, length_of(bytes)) != 0)
    picture.samples = decode<std::uint16_t>(file, bytes, stbi_load_16_from_callbacks, picture);
  else
    picture.samples = decode<std::uint8_t>(file, bytes, stbi_load_from_callbacks, picture);
  return picture;
}

struct PictureFormat {
  std::string_view signature;
  Picture (*read)(const std::string& file, const std::string& bytes);
};

Picture read_binary_pnm(const std::string& file, const std::string& bytes) {
  return read_pnm(file, bytes);
}

constexpr PictureFormat kPictureFormats[] = {
    {"\x89PNG", read_integers}, {"\xFF\xD8", read_integers}, {"P5", read_binary_pnm},
    {"P6", read_binary_pnm},    {"#?RADIANCE", read_hdr},    {"#?RGBE", read_hdr},
};

// A float as a 16-bit one, to the nearest; ties to even. What is too large becomes infinite.
std::uint16_t half_of(float value) {
  const auto bits = std::bit_cast<std::uint32_t>(value);
  const std::uint32_t sign = bits >> 16 & 0x8000;
  const std::uint32_t size = bits & 0x7FFFFFFF;
  if (size > 0x7F800000) return static_cast<std::uint16_t>(sign | 0x7E00);
  if (size >= 0x477FF000) return static_cast<std::uint16_t>(sign | 0x7C00);
  if (size < 0x38800000) {
    // Below the smallest normal half the step is 2^-24 all the way down.
    const float steps = std::bit_cast<float>(size) * 16777216.0f;
    return static_cast<std::uint16_t>(sign | static_cast<std::uint32_t>(std::nearbyint(steps)));
  }
  const std::uint32_t rounded = size + 0xFFF + (size >> 13 & 1);
  return static_cast<std::uint16_t>(sign | ((rounded - 0x38000000) >> 13));
}

// Writes each sample, converted, with its low byte first.
template <class To, class Samples, class Convert>
std::vector<unsigned char> bytes_of(const Samples& samples, Convert convert) {
  std::vector<unsigned char> bytes(samples.size() * sizeof(To));
  unsigned char* at = bytes.data();
  for (const auto sample : samples) {
    const To value = convert(sample);
    for (std::size_t i = 0; i < sizeof(To); ++i) *at++ = static_cast<unsigned char>(value >> 8 * i);
  }
  return bytes;
}

constexpr float kFull8 = 255.0f;
constexpr float kFull16 = 65535.0f;

float unit(std::uint8_t sample) {
  return static_cast<float>(sample) / kFull8;
}
float unit(std::uint16_t sample) {
  return static_cast<float>(sample) / kFull16;
}
float unit(float sample) {
  return sample;
}

struct DepthName {
  const char* name;
  int depth;
};

constexpr DepthName kDepthNames[] = {
    {"8", 8}, {"16", 16}, {"half", CELUMBRANT_DEPTH_HALF}, {"32", CELUMBRANT_DEPTH_FLOAT}};

int depth_of(const Picture& picture, const std::string& name) {
  constexpr int kOwnDepths[] = {8, 16, CELUMBRANT_DEPTH_FLOAT};
  if (name.empty()) return kOwnDepths[picture.samples.index()];
  for (const DepthName& known : kDepthNames)
    if (name == known.name) return known.depth;
  throw UsageError("there is no depth \"" + name + "\"; the depths are: 8, 16, half, 32");
}

std::vector<unsigned char> integer_pixels(const Picture& picture, int depth) {
  if (const auto* const samples = std::get_if<Samples16>(&picture.samples))
    return bytes_of<std::uint16_t>(*samples, [](std::uint16_t sample) { return sample; });
  const auto* const samples = std::get_if<Samples8>(&picture.samples);
  if (samples == nullptr)
    throw UsageError("integers cannot hold the range of an HDR picture; --depth half or 32 does");
  if (depth == 8) return *samples;
  return bytes_of<std::uint16_t>(
      *samples, [](std::uint8_t sample) { return static_cast<std::uint16_t>(257 * sample); });
}

std::vector<unsigned char> floating_pixels(const Picture& picture, int depth) {
  return std::visit(
      [depth](const auto& samples) {
        if (depth == CELUMBRANT_DEPTH_HALF)
          return bytes_of<std::uint16_t>(samples,
                                         [](auto sample) { return half_of(unit(sample)); });
        return bytes_of<std::uint32_t>(
            samples, [](auto sample) { return std::bit_cast<std::uint32_t>(unit(sample)); });
      },
      picture.samples);
}

}  // namespace

Picture read_picture(const std::string& file) {
  const std::string bytes = read_file(file);
  for (const PictureFormat& format : kPictureFormats)
    if (std::string_view(bytes).starts_with(format.signature)) return format.read(file, bytes);
  throw Failure(file, "is no PNG, JPEG, binary PNM or Radiance HDR picture");
}

SharedExponentPicture read_shared_exponent(const std::string& file) {
  const Picture picture = read_picture(file);
  const auto* const samples = std::get_if<SamplesFloat>(&picture.samples);
  if (samples == nullptr) throw Failure(file, "is no Radiance HDR picture");
  const auto width = static_cast<std::size_t>(picture.width);
  const auto height = static_cast<std::size_t>(picture.height);
  const auto in_pixel = static_cast<std::size_t>(picture.samples_per_pixel);
  SharedExponentPicture rgbe{picture.width, picture.height,
                             std::vector<unsigned char>(4 * width * height)};
  for (std::size_t pixel = 0; pixel < width * height; ++pixel) {
    const float* const rgb = samples->data() + pixel * in_pixel;
    // The decoder gave mantissa * 2^(exponent - 136). The largest mantissa has its high bit set
    // again, unless the exponent is the smallest that there is.
    const float largest = std::max({rgb[0], rgb[1], rgb[2]});
    if (largest <= 0.0f) continue;
    int power = 0;
    std::frexp(largest, &power);
    const int exponent = std::max(power + 128, 1);
    unsigned char* const at = rgbe.planes.data() + pixel / width * 4 * width + pixel % width;
    for (std::size_t i = 0; i < 3; ++i)
      at[i * width] = static_cast<unsigned char>(std::ldexp(rgb[i], 136 - exponent));
    at[3 * width] = static_cast<unsigned char>(exponent);
  }
  return rgbe;
}

PixelBuffer pixels_of(const Picture& picture, const std::string& depth) {
  PixelBuffer pixels;
  pixels.depth = depth_of(picture, depth);
  const bool integers = pixels.depth == 8 || pixels.depth == 16;
  pixels.from_16_to_8 = pixels.depth == 8 && std::holds_alternative<Samples16>(picture.samples);
  pixels.bytes =
      integers ? integer_pixels(picture, pixels.depth) : floating_pixels(picture, pixels.depth);
  const int bytes_in_row =
      static_cast<int>(pixels.bytes.size() / static_cast<std::size_t>(picture.height));
  pixels.row = pixels.from_16_to_8 == 1 ? bytes_in_row / 2 : bytes_in_row;
  return pixels;
}

}  // namespace celumbrant_meta
