// SPDX-License-Identifier: MIT

#include "photo.h"

#include <filesystem>
#include <string_view>

#include "errors.h"
#include "files.h"

namespace celumbrant_meta {
namespace {

using std::string_view_literals::operator""sv;

struct Signature {
  std::string_view bytes;
  ImageFormat format;
};

constexpr Signature kSignatures[] = {
    {"\xFF\xD8"sv, {"JPEG", CELUMBRANT_IMAGE_JPEG}},
    {"II*\0"sv, {"TIFF", CELUMBRANT_IMAGE_TIFF}},
    {"MM\0*"sv, {"TIFF", CELUMBRANT_IMAGE_TIFF}},
    {"8BPS"sv, {"PSD", CELUMBRANT_IMAGE_PSD}},
};

// Results of getExifData that tell of a damaged file; the others leave a record to show.
struct ReadError {
  int image_type;
  int result;
  const char* reason;
};

constexpr ReadError kReadErrors[] = {
    {CELUMBRANT_IMAGE_JPEG, -1, "its JPEG segments are damaged"},
    {CELUMBRANT_IMAGE_JPEG, -3, "its Exif segment is damaged"},
    {CELUMBRANT_IMAGE_PSD, -3, "is not an RGB picture"},
};

// Whether a block that the record tells of can lie in the file: memory is taken for it.
bool fits(const Photo& photo, int length, int offset) {
  std::error_code error;
  const auto size = std::filesystem::file_size(photo.file, error);
  return !error && length > 0 && offset >= 0 && static_cast<std::uintmax_t>(length) < size;
}

// In a result picture the lens stands in the packet with the settings.
void take_lens_of_packet(Photo& photo) {
  auto* const lens = reinterpret_cast<char*>(photo.record.lens);
  const std::string packet = *lens == '\0' ? xmp_of(photo) : std::string();
  if (packet.empty()) return;
  get_settings_from_xmp(CBTM_QUERY_LENS, length_of(packet), packet.data(), lens, nullptr);
}

}  // namespace

std::optional<ImageFormat> format_of(const std::string& file) {
  // The file is opened again for each thing that is read of it: a pipe cannot be.
  std::error_code error;
  const auto status = std::filesystem::status(file, error);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
    throw Failure(file, "is not a regular file");
  const std::string beginning = read_beginning(file, 4);
  for (const Signature& signature : kSignatures)
    if (beginning.starts_with(signature.bytes)) return signature.format;
  return std::nullopt;
}

Photo read_photo(const std::string& file) {
  const std::optional<ImageFormat> format = format_of(file);
  if (!format) throw Failure(file, "is neither a JPEG, nor a TIFF, nor a PSD file");
  return read_photo(file, *format);
}

Photo read_photo(const std::string& file, const ImageFormat& format) {
  Photo photo{file, format, {}};
  const int result = getExifData(file.c_str(), format.image_type, &photo.record);
  for (const ReadError& error : kReadErrors)
    if (error.image_type == format.image_type && error.result == result)
      throw Failure(file, error.reason);
  take_lens_of_packet(photo);
  metadataBufFromExifInfo(&photo.record, photo.exif.data(), photo.gps.data());
  return photo;
}

ExifSizes measure_exif(const Photo& photo) {
  ExifSizes sizes;
  get_exif_count(photo.exif.data(), &sizes.exif_count, &sizes.exif_bytes, photo.gps.data(),
                 &sizes.gps_count, &sizes.gps_bytes, &sizes.model, &sizes.make, &sizes.date_time,
                 &sizes.gps_date, &sizes.lens, sizes.make_text.data());
  return sizes;
}

std::optional<std::string> iptc_of(const Photo& photo) {
  const int length = photo.record.iptc_len;
  const int offset = photo.record.iptc_offset;
  if (length == 0) return std::string();
  if (!fits(photo, length, offset)) return std::nullopt;
  std::string block(static_cast<std::size_t>(length), '\0');
  auto* const bytes = reinterpret_cast<unsigned char*>(block.data());
  if (read_iptc(photo.file.c_str(), length, offset, bytes) != length) return std::nullopt;
  return block;
}

std::string xmp_of(const Photo& photo) {
  const int length = photo.record.embeddedXmp_len;
  const int offset = photo.record.embeddedXmp_offset;
  if (!fits(photo, length, offset)) return {};
  std::string packet(static_cast<std::size_t>(length) + 1, '\0');
  extract_xmp(photo.file.c_str(), length, offset, packet.data());
  return packet;
}

std::vector<std::string> keywords_of(const std::string& iptc) {
  // A data set: the mark 0x1C, record, number, two bytes of length, content.
  constexpr std::string_view kKeyword = "\x1C\x02\x19"sv;
  constexpr std::size_t kHead = 5;
  std::vector<std::string> keywords;
  std::string_view rest = iptc;
  while (rest.size() >= kHead && rest[0] == '\x1C') {
    const std::size_t length = static_cast<std::size_t>(static_cast<unsigned char>(rest[3])) << 8 |
                               static_cast<unsigned char>(rest[4]);
    if (length > rest.size() - kHead) break;
    if (rest.starts_with(kKeyword)) keywords.emplace_back(rest.substr(kHead, length));
    rest.remove_prefix(kHead + length);
  }
  return keywords;
}

}  // namespace celumbrant_meta
