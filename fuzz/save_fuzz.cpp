// SPDX-License-Identifier: MIT
//
// Pictures of any size and form with any flat arrays, saved as TIFF files and as EXIF blocks: what
// is read from them is what went in.

#include <string>

#include "support.h"

namespace {

using namespace fuzz;

constexpr int kTagXmp = 700;
constexpr int kTagIptc = 33723;
constexpr int kTagProfile = 34675;

struct Arrays {
  std::array<int, CELUMBRANT_EXIF_SLOTS> exif;
  std::array<int, CELUMBRANT_GPS_SLOTS> gps;

  std::string_view exif_text(int slot, std::size_t range) const {
    return text(exif.data() + slot, range);
  }
  std::string_view gps_text(int slot, std::size_t range) const {
    return text(gps.data() + slot, range);
  }

 private:
  static std::string_view text(const int* slots, std::size_t range) {
    const std::string_view bytes(reinterpret_cast<const char*>(slots), range);
    return bytes.substr(0, bytes.find('\0'));
  }
};

// ---- The record of what was written ------------------------------------------------------------

// Readers take a text up to its first line feed.
std::string up_to_line_feed(std::string_view text) {
  return std::string(text.substr(0, text.substr(0, text.find('\n')).size() + 1));
}

// A model of 2 or 3 letters is read with blanks behind it, to 4; of one that fills its range, 62.
std::string model_read(std::string_view model) {
  if (model.size() == 2 || model.size() == 3) return (std::string(model) + "  ").substr(0, 4);
  if (model.size() < 2) return std::string(model);
  return up_to_line_feed(model.substr(0, model.size() == CELUMBRANT_MODEL_BYTES ? 62 : 63));
}

bool is_fraction(const int* pair) {
  return pair[0] > 0 && pair[1] > 0;
}

float fraction_read(const int* pair) {
  return is_fraction(pair) ? static_cast<float>(pair[0]) / static_cast<float>(pair[1]) : 0.0F;
}

// As many slots as are written when the first fraction of them is one, else zeros.
void expect_fractions(const int* read, const int* slots, int count) {
  for (int i = 0; i < count; ++i) EXPECT(read[i] == (is_fraction(slots) ? slots[i] : 0));
}

char letter_read(const Arrays& arrays, int byte) {
  const char letter = reinterpret_cast<const char*>(arrays.gps.data())[byte];
  return static_cast<signed char>(letter) > 0 ? letter : '\0';
}

void expect_exif(const ExifInfo2& record, const Arrays& arrays) {
  EXPECT(record.exposure == fraction_read(&arrays.exif[CELUMBRANT_EXIF_EXPOSURE]));
  EXPECT(record.aperture == fraction_read(&arrays.exif[CELUMBRANT_EXIF_APERTURE]));
  EXPECT(record.focalLength == fraction_read(&arrays.exif[CELUMBRANT_EXIF_FOCAL_LENGTH]));
  const int iso = arrays.exif[CELUMBRANT_EXIF_ISO];
  EXPECT(record.iso == (iso > 0 ? iso & 0xFFFF : 0));
  EXPECT(record.model == model_read(arrays.exif_text(CELUMBRANT_EXIF_MODEL, 64)));
  const auto date = arrays.exif_text(CELUMBRANT_EXIF_DATE_TIME, CELUMBRANT_DATE_TIME_BYTES);
  // A date of up to three letters stands in its entry, where no reader of dates looks.
  const bool is_looked_for = date.empty() || date.size() > 3;
  EXPECT(!is_looked_for || record.date_time == up_to_line_feed(date.substr(0, 19)));
}

void expect_gps(const ExifInfo2& record, const Arrays& arrays) {
  const int* const gps = arrays.gps.data();
  expect_fractions(record.lat_val, gps + CELUMBRANT_GPS_LATITUDE, 6);
  expect_fractions(record.long_val, gps + CELUMBRANT_GPS_LONGITUDE, 6);
  expect_fractions(record.alt_val, gps + CELUMBRANT_GPS_ALTITUDE, 2);
  expect_fractions(record.gps_timestamp, gps + CELUMBRANT_GPS_TIMESTAMP, 6);
  EXPECT(record.lat_ref == letter_read(arrays, CELUMBRANT_GPS_BYTE_LAT_REF));
  EXPECT(record.long_ref == letter_read(arrays, CELUMBRANT_GPS_BYTE_LONG_REF));
  EXPECT(record.alt_ref == letter_read(arrays, CELUMBRANT_GPS_BYTE_ALT_REF));
  const auto date = arrays.gps_text(CELUMBRANT_GPS_DATESTAMP, CELUMBRANT_DATESTAMP_BYTES - 1);
  EXPECT(record.gps_datestamp == up_to_line_feed(date));
}

void expect_record(const ExifInfo2& record, const Arrays& arrays, int orientation) {
  expect_texts(record);
  expect_exif(record, arrays);
  expect_gps(record, arrays);
  EXPECT(record.orientation == (orientation >= 1 && orientation <= 8 ? orientation : 1));
  EXPECT(record.thumb_offset == 0 && record.focal35 == 0 && record.fpxRes == 0.0F);
}

// ---- EXIF blocks -------------------------------------------------------------------------------

std::string as_jpeg(std::string_view block) {
  const std::size_t length = block.size() + 8;
  std::string jpeg("\xFF\xD8\xFF\xE1");
  jpeg += static_cast<char>(length >> 8);
  jpeg += static_cast<char>(length);
  return jpeg.append(std::string_view("Exif\0\0", 6)).append(block).append("\xFF\xD9");
}

struct Sizes {
  int exif_count, exif_bytes, gps_count, gps_bytes, model, make, date_time, datestamp, lens;
  std::vector<char> make_text = std::vector<char>(CELUMBRANT_MAKE_BYTES);

  explicit Sizes(const Arrays& arrays) {
    const int entries =
        get_exif_count(arrays.exif.data(), &exif_count, &exif_bytes, arrays.gps.data(), &gps_count,
                       &gps_bytes, &model, &make, &date_time, &datestamp, &lens, make_text.data());
    EXPECT(entries == exif_count + gps_count);
  }

  int write(const Arrays& arrays, int orientation, Bytes& block) const {
    return write_exif_buf(exif_count, exif_bytes, gps_count, gps_bytes, model, make, date_time,
                          datestamp, orientation, arrays.exif.data(), arrays.gps.data(),
                          make_text.data(), block.data());
  }
};

void write_block(MemoryFile& file, const Arrays& arrays, int orientation) {
  const Sizes sizes(arrays);
  Bytes roomy(CELUMBRANT_EXIF_BLOCK_MAX);
  const int length = sizes.write(arrays, orientation, roomy);
  const bool is_empty = sizes.model + sizes.make + sizes.exif_count + sizes.gps_count == 0;
  EXPECT((length == -1) == is_empty && length <= CELUMBRANT_EXIF_BLOCK_MAX);
  if (is_empty) return;
  Bytes block(static_cast<std::size_t>(length));
  EXPECT(sizes.write(arrays, orientation, block) == length);
  EXPECT(view(roomy).starts_with(view(block)));
  file.hold(as_jpeg(view(block)));
  const auto record = cleared_record();
  EXPECT(getExifData(file.name(), CELUMBRANT_IMAGE_JPEG, record.get()) == 1);
  expect_record(*record, arrays, orientation);
}

// Sizes that no arrays gave are refused, or kept to.
void write_block_of_any_sizes(const Arrays& arrays, const std::array<std::int8_t, 8>& sizes) {
  const auto& [exif_count, exif_bytes, gps_count, gps_bytes, model, make, date, datestamp] = sizes;
  const auto directory = [](int entries, int bytes) {
    return entries > 0 ? 12 * entries + 6 + bytes : 0;
  };
  const int entries = 1 + (make > 0) + (model > 0) + (exif_count > 0) + (gps_count > 0);
  const int total = 8 + directory(entries, make + model) + directory(exif_count, exif_bytes) +
                    directory(gps_count, gps_bytes);
  Bytes block(static_cast<std::size_t>(std::max(total, 0)));
  const Text make_text(static_cast<std::size_t>(std::max<int>(make, 1)), 'm');
  const int result =
      write_exif_buf(exif_count, exif_bytes, gps_count, gps_bytes, model, make, date, datestamp, 1,
                     arrays.exif.data(), arrays.gps.data(), make_text.data(), block.data());
  EXPECT(result == -1 || (result == total && result <= CELUMBRANT_EXIF_BLOCK_MAX));
}

// ---- Pictures ----------------------------------------------------------------------------------

struct Request {
  std::vector<int> dim = std::vector<int>(CELUMBRANT_DIM_ENTRIES);
  int bpr = 0;
  Bytes pixels{};
  Bytes profile{};
  Bytes iptc{};
  int method = 0;
  std::vector<float> settings{};
  Text packet{};

  std::size_t width() const { return static_cast<std::size_t>(dim[CELUMBRANT_DIM_WIDTH]); }
  std::size_t height() const { return static_cast<std::size_t>(dim[CELUMBRANT_DIM_HEIGHT]); }
  std::size_t samples() const { return static_cast<std::size_t>(dim[CELUMBRANT_DIM_SAMPLES]); }
  std::size_t samples_written() const { return samples() > 2 ? 3 : 1; }
  bool narrows() const { return dim[CELUMBRANT_DIM_16_TO_8] == 1; }
  bool is_valid() const {
    const int depth = dim[CELUMBRANT_DIM_DEPTH];
    const bool has_depth = depth == 8 || depth == 16 || depth == 32 || depth == 3216;
    return has_depth && dim[CELUMBRANT_DIM_WIDTH] > 0 && samples() >= 1 && samples() <= 4 &&
           (!narrows() || depth == 8);
  }
  // Bytes of a sample in the file.
  std::size_t sample_bytes() const {
    const int depth = dim[CELUMBRANT_DIM_DEPTH];
    return depth == 3216 ? 2 : static_cast<std::size_t>(depth) / 8;
  }
  // From row to row in the buffer.
  std::size_t pitch() const { return static_cast<std::size_t>(bpr) * (narrows() ? 2 : 1); }
};

// Pixels of the input, over and over.
Bytes fill(std::string_view source, std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size && !source.empty(); ++i)
    bytes[i] = static_cast<unsigned char>(source[i % source.size()]);
  return bytes;
}

Request take_request(Input& input) {
  constexpr std::array kDepths = {8, 16, static_cast<int>(CELUMBRANT_DEPTH_FLOAT),
                                  static_cast<int>(CELUMBRANT_DEPTH_HALF), 24};
  Request request;
  std::vector<int>& dim = request.dim;
  dim[CELUMBRANT_DIM_WIDTH] = input.take_within(0, 64);
  dim[CELUMBRANT_DIM_HEIGHT] = input.take_within(0, 12);
  // Rarely rows of up to a MiB, and widths that no 16 bits hold.
  if (input.take_within(0, 31) == 31) {
    dim[CELUMBRANT_DIM_WIDTH] *= 1031;
    dim[CELUMBRANT_DIM_HEIGHT] %= 4;
  }
  dim[CELUMBRANT_DIM_SAMPLES] = input.take_within(0, 5);
  dim[CELUMBRANT_DIM_DEPTH] = kDepths[static_cast<std::size_t>(input.take_within(0, 4))];
  dim[CELUMBRANT_DIM_16_TO_8] = input.take_within(0, 1);
  dim[CELUMBRANT_DIM_DPI] = input.take<std::uint16_t>();
  dim[CELUMBRANT_DIM_ORIENTATION] = input.take_within(-1, 10);
  const int padding = input.take_within(0, 3);
  request.method = input.take_within(-1, 16);
  request.settings.assign(CBTM_SETTINGS_COUNT, 1.5F);
  request.profile = bytes_of(input.take_bytes(input.take<std::uint8_t>()));
  dim[CELUMBRANT_DIM_PROFILE_LEN] = static_cast<int>(request.profile.size());
  request.iptc = bytes_of(input.take_bytes(input.take<std::uint8_t>()));
  const auto packet = input.take_bytes(input.take<std::uint16_t>() & 0xFFF);
  request.packet.assign(packet.begin(), packet.end());
  // What the padding counts, samples of 16 bits or bytes, is what a row counts.
  const std::size_t unit = request.narrows() ? 1 : request.sample_bytes();
  const std::size_t row = request.width() * request.samples() * unit;
  request.bpr = static_cast<int>(row) + padding;
  if (!request.is_valid() || request.height() == 0) return request;
  const std::size_t last_row = row * (request.narrows() ? 2 : 1);
  request.pixels = fill(input.rest(), request.pitch() * (request.height() - 1) + last_row);
  return request;
}

// Values of up to four bytes stand in the entry itself.
std::string_view value_of(const Text& bytes, const Found& found, std::size_t length) {
  const std::size_t field = static_cast<std::size_t>(found.position) + 8;
  const std::size_t offset = length > 4 ? static_cast<std::uint32_t>(found.value) : field;
  EXPECT(offset + length <= bytes.size());
  return view(bytes).substr(offset, length);
}

// A row as it must stand in the file: without alpha, of 16 bits their high byte where that is asked.
Bytes row_written(const Request& request, std::size_t row) {
  const std::size_t in = request.samples();
  const std::size_t out = request.samples_written();
  const std::size_t bytes = request.narrows() ? 1 : request.sample_bytes();
  const std::size_t step = request.narrows() ? 2 : bytes;
  std::size_t from = row * request.pitch() + step - bytes;
  Bytes written(request.width() * out * bytes);
  for (auto to = written.begin(); to != written.end(); from += (in - out) * step) {
    for (std::size_t sample = 0; sample < out; ++sample, from += step)
      to = std::copy_n(request.pixels.data() + from, bytes, to);
  }
  return written;
}

void expect_pixels(const Text& bytes, const Request& request, const Found& strip, int strip_bytes) {
  std::size_t at = 8;
  EXPECT(strip.value == static_cast<int>(at));
  for (std::size_t row = 0; row < request.height(); ++row) {
    const Bytes expected = row_written(request, row);
    EXPECT(view(bytes).substr(at, expected.size()) == view(expected));
    at += expected.size();
  }
  EXPECT(static_cast<std::size_t>(strip_bytes) == at - 8);
}

std::string lens_written(const Arrays& arrays) {
  return std::string(arrays.exif_text(CELUMBRANT_EXIF_LENS, CELUMBRANT_LENS_BYTES)
                         .substr(0, CELUMBRANT_LENS_BYTES - 1));
}

// The packet that goes into the file: the caller's, or one of its own with a blank behind it.
std::string packet_written(const Request& request, const Arrays& arrays) {
  const std::string_view given = view(request.packet);
  const bool is_terminated = given.ends_with('\0');
  if (!given.empty()) {
    const int held =
        get_settings_from_xmp(CBTM_QUERY_METHOD, size_of(given), given.data(), nullptr, nullptr);
    constexpr std::array kKept = {1, 2, 3, 10, 11, 15};
    if (request.method <= 0 || std::ranges::find(kKept, held) != kKept.end()) {
      const bool keeps_last = request.method == 0 && !is_terminated;
      return std::string(given.substr(0, given.size() - (keeps_last ? 0 : 1)));
    }
  }
  const std::string lens = lens_written(arrays);
  if (request.method <= 0 && lens.empty()) return {};
  const auto embed = [&](int type, char* out) {
    return embed_xmp(type, request.method, request.settings.data(), size_of(lens), lens.c_str(),
                     out);
  };
  std::string packet(static_cast<std::size_t>(embed(CBTM_MEASURE, nullptr)), '\0');
  embed(1, packet.data());
  return packet + ' ';
}

void expect_block(Text& bytes, int tag, std::string_view block, int values) {
  const Found found = find_tag(bytes, tag);
  EXPECT((found.position > 0) == !block.empty());
  if (block.empty()) return;
  EXPECT(found.count == values);
  EXPECT(value_of(bytes, found, block.size()) == block);
}

std::string_view profile_written(const Request& request) {
  const std::string_view profile = view(request.profile);
  return profile.size() > 20 && profile.substr(16, 3) != "RGB" ? std::string_view() : profile;
}

void expect_blocks(const MemoryFile& file, Text& bytes, const Request& request,
                   const Arrays& arrays, const ExifInfo2& record) {
  const std::string_view profile = profile_written(request);
  expect_block(bytes, kTagProfile, profile, size_of(profile));
  const std::string packet = packet_written(request, arrays);
  expect_block(bytes, kTagXmp, packet, size_of(packet));
  EXPECT(record.embeddedXmp_len == size_of(packet));
  std::string iptc(view(request.iptc));
  iptc.resize((iptc.size() + 3) / 4 * 4);
  expect_block(bytes, kTagIptc, iptc, size_of(iptc) / 4);
  EXPECT(record.iptc_len == size_of(iptc));

  Text loaded(packet.size() + 1);
  if (packet.size() > 4) {
    extract_xmp(file.name(), record.embeddedXmp_len, record.embeddedXmp_offset, loaded.data());
    EXPECT(view(loaded).starts_with(packet));
  }
  Bytes loaded_iptc(iptc.size());
  if (iptc.size() > 4) {
    read_iptc(file.name(), record.iptc_len, record.iptc_offset, loaded_iptc.data());
    EXPECT(view(loaded_iptc) == iptc);
  }
}

// The rows of the last chunk; a chunk is 1 MiB of rows as they are in the buffer, or one row.
int last_rows(const Request& request) {
  const std::size_t row = request.width() * request.samples() * request.sample_bytes();
  const std::size_t chunk = std::max<std::size_t>((std::size_t{1} << 20) / row, 1);
  return request.height() > 0 ? static_cast<int>((request.height() - 1) % chunk + 1) : 0;
}

void expect_tags(Text& bytes, const Request& request) {
  const auto value = [&](int tag) { return find_tag(bytes, tag).value; };
  EXPECT(value(256) == request.dim[CELUMBRANT_DIM_WIDTH]);
  EXPECT(value(257) == request.dim[CELUMBRANT_DIM_HEIGHT]);
  EXPECT(value(277) == static_cast<int>(request.samples_written()));
  for (const int tag : {282, 283}) {
    const std::string_view resolution = value_of(bytes, find_tag(bytes, tag), 8);
    const auto dpi = static_cast<std::uint32_t>(request.dim[CELUMBRANT_DIM_DPI]);
    EXPECT(le32(resolution, 4) == 1000 && le32(resolution, 0) == 1000 * dpi);
  }
  expect_pixels(bytes, request, find_tag(bytes, 273), value(279));
}

void save(MemoryFile& file, const Request& request, const Arrays& arrays) {
  file.hold("what was there");
  const int result =
      buf2tif(request.pixels.data(), request.dim.data(), request.bpr, request.profile.data(),
              arrays.exif.data(), arrays.gps.data(), static_cast<int>(request.iptc.size()),
              request.iptc.data(), request.method, request.settings.data(),
              static_cast<int>(request.packet.size()), request.packet.data(), file.name());
  Text bytes = file.content();
  if (!request.is_valid()) {
    EXPECT(result == -5 && view(bytes) == "what was there");
    return;
  }
  EXPECT(result == last_rows(request));
  expect_tags(bytes, request);
  const auto record = cleared_record();
  EXPECT(getExifData(file.name(), CELUMBRANT_IMAGE_TIFF, record.get()) == 1);
  expect_record(*record, arrays, request.dim[CELUMBRANT_DIM_ORIENTATION]);
  expect_blocks(file, bytes, request, arrays, *record);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static MemoryFile file;
  Input input(data, size);
  const auto arrays = std::make_unique<Arrays>(input.take<Arrays>());
  const Request request = take_request(input);
  write_block(file, *arrays, request.dim[CELUMBRANT_DIM_ORIENTATION]);
  write_block_of_any_sizes(*arrays, input.take<std::array<std::int8_t, 8>>());
  save(file, request, *arrays);
  return 0;
}
