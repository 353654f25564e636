// SPDX-License-Identifier: MIT

#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "blocks.h"
#include "command.h"
#include "files.h"
#include "photo.h"
#include "picture.h"
#include "settings_text.h"
#include "text.h"

namespace celumbrant_meta {
namespace {

struct SaveOptions {
  std::string picture;
  std::string photo;
  Destination destination;
  std::string depth;
  std::string method;
  std::string settings_file;
  std::vector<std::string> assignments;
  std::string xmp_file;
  std::string profile_file;
  std::vector<std::string> keywords;
  int dpi = 300;
  int orientation = 0;  // the photograph's
};

// Everything that goes into the file.
struct Result {
  Photo photo;
  Picture picture;
  PixelBuffer pixels;
  std::string profile;
  std::string iptc;
  std::optional<Settings> settings;
  std::string xmp;  // the caller's packet, with the settings in it
};

std::optional<Settings> chosen_settings(const SaveOptions& options) {
  std::optional<Settings> settings;
  if (!options.method.empty()) settings = default_settings(method_of(options.method));
  if (!options.settings_file.empty()) settings = settings_in(options.settings_file);
  if (settings) change_settings(*settings, options.assignments);
  return settings;
}

std::string read_packet(const std::string& file) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  std::string packet = read_file(file);
  if (packet.starts_with(kByteOrderMark)) packet.erase(0, kByteOrderMark.size());
  packet.erase(packet.find_last_not_of('\0') + 1);
  if (packet.find("<rdf:RDF") == std::string::npos) throw Failure(file, "is no XMP packet");
  return packet;
}

std::string chosen_packet(const SaveOptions& options, const std::optional<Settings>& settings) {
  if (options.xmp_file.empty()) return {};
  std::string packet = read_packet(options.xmp_file);
  if (!settings) return packet;
  return packet_with(*settings, std::move(packet), options.xmp_file);
}

Result gather(const SaveOptions& options) {
  // What is wrong with the command line is told before large files are read.
  std::optional<Settings> settings = chosen_settings(options);
  std::string packet = chosen_packet(options, settings);
  std::string profile;
  if (!options.profile_file.empty()) profile = read_profile(options.profile_file);
  Photo photo = read_photo(options.photo);
  std::string iptc = with_keywords(photo, options.keywords);
  Picture picture = read_picture(options.picture);
  PixelBuffer pixels = pixels_of(picture, options.depth);
  return {std::move(photo), std::move(picture),  std::move(pixels), std::move(profile),
          std::move(iptc),  std::move(settings), std::move(packet)};
}

const char* reason_of(int result) {
  switch (result) {
    case -5:
      return "the picture is too large for a TIFF file";
    case -4:
      return "no memory for the rows";
    default:
      return "cannot be written whole; is the disk full?";
  }
}

// Of the two ways to the packet one is taken: settings alone are written by the library, which adds
// the lens; a packet of the caller's has them in it already.
void write_result(const SaveOptions& options, const Result& result, const std::string& file) {
  int dim[CELUMBRANT_DIM_ENTRIES] = {};
  dim[CELUMBRANT_DIM_WIDTH] = result.picture.width;
  dim[CELUMBRANT_DIM_HEIGHT] = result.picture.height;
  dim[CELUMBRANT_DIM_SAMPLES] = result.picture.samples_per_pixel;
  dim[CELUMBRANT_DIM_DEPTH] = result.pixels.depth;
  dim[CELUMBRANT_DIM_DPI] = options.dpi;
  dim[CELUMBRANT_DIM_PROFILE_LEN] = length_of(result.profile);
  dim[CELUMBRANT_DIM_16_TO_8] = result.pixels.from_16_to_8;
  dim[CELUMBRANT_DIM_ORIENTATION] =
      options.orientation != 0 ? options.orientation : result.photo.record.orientation;
  const bool own_packet = result.settings && result.xmp.empty();
  const int written =
      buf2tif(result.pixels.bytes.data(), dim, result.pixels.row, bytes_of(result.profile),
              result.photo.exif.data(), result.photo.gps.data(), length_of(result.iptc),
              bytes_of(result.iptc), own_packet ? result.settings->method : CBTM_NO_METHOD,
              own_packet ? result.settings->values.data() : nullptr, length_of(result.xmp),
              result.xmp.data(), file.c_str());
  if (written < 0) throw Failure(options.destination.file, reason_of(written));
}

std::string describe_pixels(const Result& result) {
  constexpr const char* kSamples[] = {"", "grey", "grey, alpha left out", "RGB",
                                      "RGB, alpha left out"};
  const int depth = result.pixels.depth;
  std::string bits = depth == CELUMBRANT_DEPTH_HALF ? "half" : std::to_string(depth) + "-bit";
  if (depth > 16) bits += " floating point";
  return format("%d x %d pixels, %s, %s", result.picture.width, result.picture.height, bits.c_str(),
                kSamples[result.picture.samples_per_pixel]);
}

std::string describe(const SaveOptions& options, const Result& result) {
  std::vector<std::string> lines = {describe_pixels(result)};
  const std::string model = text_of(result.photo.record.model, CELUMBRANT_MODEL_BYTES);
  lines.push_back("metadata of " + printable(options.photo) +
                  (model.empty() ? "" : " (" + printable(model) + ")"));
  if (!result.profile.empty()) {
    const std::string name = printable(profile_name(result.profile));
    lines.push_back(name.empty() ? "a profile without a name" : "profile \"" + name + "\"");
  }
  const std::vector<std::string> keywords = keywords_of(result.iptc);
  if (!keywords.empty()) lines.push_back("keywords " + printable(joined(keywords, ", ")));
  if (result.settings) lines.push_back("settings of " + method_name(result.settings->method));
  if (!result.xmp.empty()) lines.push_back("the packet of " + printable(options.xmp_file));
  const ExifInfo2& record = result.photo.record;
  if (record.iptc_len != 0 && result.iptc.empty())
    lines.push_back("left out: the photograph's IPTC block, which is damaged");
  if (record.embeddedXmp_len > 0)
    lines.push_back("left out: the photograph's XMP packet (--xmp adds one)");
  const std::string lens = text_of(reinterpret_cast<const char*>(record.lens), CBTM_LENS_NAME_MAX);
  if (!result.xmp.empty() && result.xmp.find(lens) == std::string::npos)
    lines.push_back("left out: the name of the lens, which stands in packets of the program's own");
  return printable(options.destination.file) + ": " + joined(lines, "\n  ") + "\n";
}

int save(const SaveOptions& options) {
  const Result result = gather(options);
  OutputFile output(options.destination);
  write_result(options, result, output.temporary());
  output.keep();
  // A picture that goes to standard output must stay alone there.
  std::FILE* const report = options.destination.file == "-" ? stderr : stdout;
  std::fputs(describe(options, result).c_str(), report);
  return kDone;
}

}  // namespace

void add_save(CLI::App& app, Command& command) {
  auto options = std::make_shared<SaveOptions>();
  CLI::App* const save_command =
      add_command(app, "save", "Save a picture as a TIFF file with the metadata of a photograph",
                  "save merged.png -o result.tif --from photo.jpg --method \"Brilliance Refiner\"");
  save_command->add_option("PICTURE", options->picture, "PNG, JPEG, binary PNM or Radiance HDR")
      ->required();
  add_destination(*save_command, options->destination, "The TIFF file; - for standard output")
      ->required();
  save_command->add_option("--from", options->photo, "The photograph: JPEG, TIFF or PSD")
      ->required()
      ->type_name("PHOTO");
  save_command
      ->add_option("--depth", options->depth,
                   "Bits of a sample: 8, 16, half or 32 (floating point); else the picture's own")
      ->check(CLI::IsMember({"8", "16", "half", "32"}).description(""))
      ->type_name("BITS");
  CLI::Option* const method =
      save_command
          ->add_option("--method", options->method, "Add the settings of a method, by its defaults")
          ->type_name("NAME|NUMBER");
  CLI::Option* const settings =
      save_command
          ->add_option("--settings", options->settings_file,
                       "Add the settings of a settings file or of a photograph that carries some")
          ->excludes(method)
          ->type_name("FILE");
  CLI::Option* const set = add_repeated(*save_command, "--set", options->assignments,
                                        "Change one of the settings, by its name in the packet");
  set->type_name("NAME=VALUE");
  save_command
      ->add_option("--xmp", options->xmp_file, "Add this XMP packet, with the settings in it")
      ->type_name("FILE");
  save_command->add_option("--profile", options->profile_file, "Add this ICC profile")
      ->type_name("FILE.icc");
  add_repeated(*save_command, "--keyword", options->keywords,
               "Add a keyword to the photograph's IPTC block")
      ->type_name("WORD");
  save_command->add_option("--dpi", options->dpi, "Pixels per inch [300]")
      ->check(CLI::Range(1, 4294967).description(""))
      ->type_name("N");
  save_command->add_option("--orientation", options->orientation, "1 to 8; else the photograph's")
      ->check(CLI::Range(1, 8).description(""))
      ->type_name("N");
  save_command->callback([options, set, method, settings, &command] {
    if (set->count() > 0 && method->count() + settings->count() == 0)
      throw UsageError("--set needs --method or --settings");
    command = [options] { return save(*options); };
  });
}

}  // namespace celumbrant_meta
