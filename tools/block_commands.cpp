// SPDX-License-Identifier: MIT
//
// The commands for single services: EXIF blocks, keywords, profiles, tags, HDR range, date and time.

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <iomanip>
#include <memory>
#include <sstream>

#include "blocks.h"
#include "command.h"
#include "files.h"
#include "jpeg_segments.h"
#include "photo.h"
#include "picture.h"
#include "text.h"

namespace celumbrant_meta {
namespace {

namespace fs = std::filesystem;

struct BlockOptions {
  std::string file;
  Destination destination;
  std::string jpeg;
  std::string profile;
  std::string keyword;
  std::vector<std::string> more_keywords;
  int tag = 0;
  std::string date_time;
  std::string reference;
};

int print_line(const std::string& line) {
  std::printf("%s\n", line.c_str());
  return kDone;
}

std::string exif_block_of(const Photo& photo) {
  const ExifSizes sizes = measure_exif(photo);
  std::string block(CELUMBRANT_EXIF_BLOCK_MAX, '\0');
  const int length = write_exif_buf(
      sizes.exif_count, sizes.exif_bytes, sizes.gps_count, sizes.gps_bytes, sizes.model, sizes.make,
      sizes.date_time, sizes.gps_date, photo.record.orientation, photo.exif.data(),
      photo.gps.data(), sizes.make_text.data(), reinterpret_cast<unsigned char*>(block.data()));
  if (length < 0) throw Failure(photo.file, "has no metadata for an EXIF block");
  block.resize(static_cast<std::size_t>(length));
  return block;
}

int write_exif_block(const BlockOptions& options) {
  const std::string block = exif_block_of(read_photo(options.file));
  if (options.jpeg.empty()) {
    write_file(options.destination, block);
    return kDone;
  }
  const std::optional<std::string> copy = with_exif_block(read_file(options.jpeg), block);
  if (!copy) throw Failure(options.jpeg, "is no whole JPEG file");
  write_file(options.destination, *copy);
  return kDone;
}

int write_keywords(const BlockOptions& options) {
  std::vector<std::string> keywords = {options.keyword};
  keywords.insert(keywords.end(), options.more_keywords.begin(), options.more_keywords.end());
  write_file(options.destination, with_keywords(read_photo(options.file), keywords));
  return kDone;
}

int find_tag(const BlockOptions& options) {
  const File file = open_file(options.file);
  int length = 0;
  int value = 0;
  const int position = get_tif_tag(file.get(), options.tag, &length, &value);
  if (position == -1) throw Failure(options.file, format("has no tag %d", options.tag));
  if (position == -2) throw Failure(options.file, "is no little-endian TIFF file");
  if (position < 0) throw Failure(options.file, "has damaged directories");
  return print_line(
      format("tag %d: entry at %d, count %d, value %d", options.tag, position, length, value));
}

// A profile's name needs no picture: the file may hold a profile for any colours.
int name_profile(const BlockOptions& options) {
  const std::string name = profile_name(read_file(options.file));
  if (name.empty()) throw Failure(options.file, "has no description of an ICC profile");
  return print_line(printable(name));
}

// The whole file is written anew: a failure leaves the old one as it was.
int replace_profile(const BlockOptions& options) {
  const std::string profile = read_profile(options.profile);
  const bool in_place = options.destination.file.empty();
  OutputFile output(in_place ? Destination{options.file, true} : options.destination);
  const std::string& copy = output.temporary();
  std::error_code error;
  fs::copy_file(options.file, copy, fs::copy_options::overwrite_existing, error);
  if (!error) fs::permissions(copy, fs::perms::owner_write, fs::perm_options::add, error);
  if (error) throw Failure(options.file, error.message());
  const int length = length_of(profile);
  const int result = update_tif_profile(length, bytes_of(profile), copy.c_str());
  if (result == 0) throw Failure(options.file, "is no little-endian TIFF file with a profile");
  if (result != length) throw Failure(output.name(), "cannot be written whole; is the disk full?");
  output.keep();
  return kDone;
}

int measure_range(const BlockOptions& options) {
  const SharedExponentPicture picture = read_shared_exponent(options.file);
  float range[3];
  if (hdrMinMax(picture.width, picture.height, picture.planes.data(), range) < 0)
    throw Failure(options.file, "no memory to measure it");
  if (range[1] <= 0.0f) throw Failure(options.file, "is all black");
  const auto number = [&](int i) { return plain_number(as_written(range[i])); };
  return print_line(
      "smallest " + number(0) + "\nlargest  " + number(1) + "\nmean     " + number(2) +
      format("\nrange    %.1f stops", std::log2(static_cast<double>(range[1] / range[0]))));
}

// The time now, seconds since the epoch, or local time in the form of EXIF.
std::time_t reference_time(const std::string& text) {
  if (text.empty()) return std::time(nullptr);
  std::tm fields{};
  std::istringstream stream(text);
  stream >> std::get_time(&fields, "%Y:%m:%d %H:%M:%S");
  fields.tm_isdst = -1;
  if (!stream.fail() && (stream >> std::ws).eof()) return std::mktime(&fields);
  char* end = nullptr;
  errno = 0;
  const long long seconds = std::strtoll(text.c_str(), &end, 10);
  if (end == text.c_str() || *end != '\0' || errno != 0)
    throw UsageError("\"" + text + "\" is neither YYYY:MM:DD HH:MM:SS nor seconds since the epoch");
  return static_cast<std::time_t>(seconds);
}

int count_seconds(const BlockOptions& options) {
  const std::time_t reference = reference_time(options.reference);
  float seconds = 0.0f;
  if (time_from_datetime(options.date_time.c_str(), reference, &seconds) != 1)
    throw UsageError("\"" + options.date_time +
                     "\" is no time after 1970 in the form YYYY:MM:DD HH:MM:SS");
  return print_line(format("%.0f", static_cast<double>(seconds)));
}

using Options = std::shared_ptr<BlockOptions>;

void add_exif_block(CLI::App& app, const Options& options, Command& command) {
  CLI::App* const block =
      add_command(app, "exif-block", "Write a photograph's metadata as a stand-alone EXIF block",
                  "exif-block photo.jpg -o copy.jpg --jpeg edited.jpg");
  block->add_option("PHOTO", options->file, "JPEG, TIFF or PSD")->required();
  add_destination(*block, options->destination, "The file to write; - for standard output")
      ->required();
  block->add_option("--jpeg", options->jpeg, "Write a copy of this JPEG file with the block in it")
      ->type_name("IN.jpg");
  call_with(*block, options, command, write_exif_block);
}

void add_keyword(CLI::App& app, const Options& options, Command& command) {
  CLI::App* const keyword =
      add_command(app, "keyword", "Write a photograph's IPTC block with more keywords",
                  "keyword photo.jpg harbour --keyword dusk -o photo.iptc");
  keyword->add_option("PHOTO", options->file, "JPEG, TIFF or PSD; it is not changed")->required();
  keyword->add_option("WORD", options->keyword, "A keyword of 1 to 64 bytes")->required();
  add_repeated(*keyword, "--keyword", options->more_keywords, "Add this one as well")
      ->type_name("WORD");
  add_destination(*keyword, options->destination, "The file to write; - for standard output")
      ->required();
  call_with(*keyword, options, command, write_keywords);
}

void add_profile(CLI::App& app, const Options& options, Command& command) {
  CLI::App* const profile = add_command(app, "profile", "Name or replace an ICC profile",
                                        "profile replace result.tif AdobeRGB.icc");
  profile->require_subcommand(1);
  CLI::App* const name = add_command(*profile, "name", "Show the short name of an ICC profile",
                                     "profile name AdobeRGB.icc");
  name->add_option("FILE", options->file, "The ICC profile")->required();
  call_with(*name, options, command, name_profile);

  CLI::App* const replace =
      add_command(*profile, "replace", "Give a little-endian TIFF file another ICC profile",
                  "profile replace result.tif AdobeRGB.icc");
  replace->add_option("FILE.tif", options->file, "The TIFF file, changed unless -o names another")
      ->required();
  replace->add_option("FILE.icc", options->profile, "The new ICC profile")->required();
  add_destination(*replace, options->destination, "Write a changed copy here instead");
  call_with(*replace, options, command, replace_profile);
}

void add_tag(CLI::App& app, const Options& options, Command& command) {
  CLI::App* const tag =
      add_command(app, "tag", "Find an entry of a little-endian TIFF file", "tag result.tif 34675");
  tag->add_option("FILE.tif", options->file, "The TIFF file")->required();
  tag->add_option("NUMBER", options->tag, "The tag, such as 34675 or 0x8773")
      ->required()
      ->check(CLI::Range(0, 65535).description(""));
  call_with(*tag, options, command, find_tag);
}

void add_range(CLI::App& app, const Options& options, Command& command) {
  CLI::App* const range = add_command(
      app, "range", "Measure the brightness range of an HDR picture", "range scene.hdr");
  range->add_option("FILE.hdr", options->file, "Radiance HDR picture")->required();
  call_with(*range, options, command, measure_range);
}

void add_seconds(CLI::App& app, const Options& options, Command& command) {
  CLI::App* const seconds =
      add_command(app, "seconds", "Count the seconds from a photograph's time to another",
                  "seconds \"2024:07:01 20:15:00\" --ref \"2024:07:01 20:15:30\"");
  seconds->add_option("TEXT", options->date_time, "YYYY:MM:DD HH:MM:SS, local time")->required();
  seconds
      ->add_option("--ref", options->reference,
                   "The other time, likewise or in seconds since the epoch; else now")
      ->type_name("TIME");
  call_with(*seconds, options, command, count_seconds);
}

}  // namespace

void add_blocks(CLI::App& app, Command& command) {
  const auto options = std::make_shared<BlockOptions>();
  add_exif_block(app, options, command);
  add_keyword(app, options, command);
  add_profile(app, options, command);
  add_tag(app, options, command);
  add_range(app, options, command);
  add_seconds(app, options, command);
}

}  // namespace celumbrant_meta
