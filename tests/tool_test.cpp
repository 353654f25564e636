// SPDX-License-Identifier: MIT
//
// The command-line program, run as a user runs it.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>
#include <string>

#include "support/files.h"
#include "support/programs.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const std::string kPhoto = CELUMBRANT_EXAMPLES "/harbour.jpg";

struct Outcome {
  int exit_code;
  std::string out;
  std::string err;
};

// Runs the program; `before` stands in front of it in the shell.
Outcome run(const std::string& arguments, const std::string& before = "") {
  const std::string out = temporary("out"), err = temporary("err");
  const std::string command = before + CELUMBRANT_TOOL " " + arguments;
  const int status = std::system(("(" + command + ") > " + out + " 2> " + err).c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, read_file(out), read_file(err)};
}

// A call that must succeed and say nothing on standard error.
std::string output(const std::string& arguments) {
  const Outcome result = run(arguments);
  EXPECT_EQ(result.exit_code, 0) << arguments;
  EXPECT_EQ(result.err, "") << arguments;
  return result.out;
}

json shown(const std::string& file) {
  return json::parse(output("show --json " + file)).at(0);
}

// A binary PPM of 2 x 2 pixels with 16-bit samples 1, 2, ... 12.
std::string picture_file() {
  std::string ppm = "P6\n# drawn here\n2 2\n65535\n";
  for (char i = 1; i <= 12; ++i) ppm += {'\0', i};
  write_file(temporary("picture.ppm"), ppm);
  return temporary("picture.ppm");
}

// An ICC profile that is a header and a description.
std::string profile_file(const std::string& colours, const std::string& name) {
  std::string profile(128, '\0');
  profile.replace(16, 4, colours).replace(36, 4, "acsp");
  profile += std::string("\0\0\0\1desc\0\0\0\x90\0\0\0\x60", 16) + "desc" + std::string(4, '\0');
  profile += std::string("\0\0\0", 3) + static_cast<char>(name.size() + 1) + name + std::string(80, '\0');
  const std::string file = temporary(name + ".icc");
  write_file(file, profile);
  return file;
}

std::string save_command(const std::string& more) {
  return "save " + picture_file() + " --from " + kPhoto + " " + more;
}

// An empty folder, in which a failure would leave something behind.
std::string empty_folder() {
  fs::remove_all(temporary("folder"));
  fs::create_directory(temporary("folder"));
  return temporary("folder");
}

std::ptrdiff_t files_in(const std::string& folder) {
  return std::distance(fs::directory_iterator(folder), {});
}

TEST(Tool, ExitCodesTellWhatHappened) {
  const std::string text = temporary("text.txt"), black = temporary("black.tif");
  write_file(text, "no photograph");
  const struct {
    std::string arguments;
    int exit_code;
    std::string err;  // a pattern
  } kCases[] = {
      {"show " + kPhoto, 0, "^$"},
      {"--help", 0, "^$"},
      {"--version", 0, "^$"},
      {"", 2, "no command"},
      {"shw " + kPhoto, 2, "celumbrant-meta: .*shw"},
      {"show", 2, "FILE is required"},
      {"show --json --jsonl " + kPhoto, 2, "excludes"},
      {"show -j 0 " + kPhoto, 2, "Value 0 not in range"},
      {"show /no/such.jpg", 1, "^celumbrant-meta: /no/such.jpg: No such file or directory\n$"},
      {"show " + text, 1, "text.txt: is neither a JPEG"},
      {"show " CELUMBRANT_EXAMPLES, 1, "is a folder; -r"},
      {"show " + kPhoto + " > /dev/full", 1, "standard output: No space left"},
      {"save " + text + " --from " + kPhoto + " -o " + black, 1, "text.txt: is no PNG"},
      {"save " + picture_file() + " -o " + black, 2, "--from is required"},
      {save_command("-o /no/such/folder.tif"), 1, "/no/such/folder.tif: No such file"},
      {save_command("-o " + black + " --depth 12"), 2, "--depth: 12 not in"},
      {save_command("-o " + black + " --set Strength=1"), 2, "--set needs --method"},
      {save_command("-o " + black + " --method Refinery"), 2, "3 Brilliance Refiner, 4 Light Leveler, 10"},
      {save_command("-o " + black + " --method 3 --set Strenth=1"), 2, "it has: Strength, ToneCompression"},
      {save_command("-o " + black + " --method 3 --set Strength=hi"), 2, "\"hi\" is no value for Strength"},
      {save_command("-o " + black + " --method 3 --set IsPano360=1"), 2, "\"1\" is no value for IsPano360"},
      {save_command("-o " + black + " --method 3 --set Strength=nan"), 2, "\"nan\" is no value"},
      {save_command("-o " + black + " --xmp " + text), 1, "is no XMP packet"},
      {save_command("-o " + black + " --profile " + profile_file("GRAY", "Grey")), 1, "not for RGB"},
      {"settings show " + kPhoto, 1, "harbour.jpg: carries no settings"},
      {"settings insert " + text + " 3", 1, "is no XMP packet"},
      {"keyword " + kPhoto + " '' -o " + black, 2, "1 to 64 bytes"},
      {"tag " + kPhoto + " 256", 1, "is no little-endian TIFF"},
      {"profile name " + text, 1, "has no description"},
      {"show --help > /dev/full", 1, "standard output"},
      {"range " + kPhoto, 1, "is no Radiance HDR"},
      {"seconds yesterday", 2, "\"yesterday\" is no time"},
      {"seconds '2024:07:01 20:15:00' --ref soon", 2, "\"soon\" is neither"},
  };
  for (const auto& c : kCases) {
    const Outcome result = run(c.arguments);
    EXPECT_EQ(result.exit_code, c.exit_code) << c.arguments << "\n" << result.err;
    EXPECT_TRUE(std::regex_search(result.err, std::regex(c.err))) << c.arguments << "\n" << result.err;
  }
  EXPECT_FALSE(fs::exists(black));
}

TEST(Tool, EachCommandHasHelpWithAnExample) {
  const std::string man = output("--man-page"), completion = output("--bash-completion");
  for (const std::string command : {"show", "save", "settings", "settings defaults", "settings show", "settings write",
                                    "settings insert", "settings count", "exif-block", "keyword", "profile",
                                    "profile name", "profile replace", "tag", "range", "seconds"}) {
    EXPECT_NE(output(command + " --help").find("Example:\n  celumbrant-meta " + command), std::string::npos) << command;
    EXPECT_NE(man.find(".SS celumbrant\\-meta " + std::regex_replace(command, std::regex("-"), "\\-")),
              std::string::npos)
        << command;
    EXPECT_NE(completion.find("celumbrant-meta " + command + "\") words="), std::string::npos) << command;
  }
}

TEST(Tool, ShowsAPhotographForPeopleAndForPrograms) {
  const std::string table = output("show " + kPhoto);
  for (const char* line : {"make +Canon\n", "taken +2015:06:01 12:30:45\n", "exposure +1/250 s\n", "aperture +f/8\n",
                           "orientation +upright\n", "position +47.608333, 7.587639\n", "keywords +harbour\n",
                           "altitude +251.5 m above sea level\n"})
    EXPECT_TRUE(std::regex_search(table, std::regex(line))) << line << table;
  EXPECT_EQ(table.find('\033'), std::string::npos);

  const json photo = shown(kPhoto);
  EXPECT_EQ(photo.at("exposure_s"), 0.004);
  EXPECT_EQ(photo.at("iso"), 100);
  EXPECT_NEAR(photo.at("gps").at("longitude").get<double>(), 7.587639, 1e-6);
  EXPECT_EQ(photo.at("iptc").at("keywords"), json::array({"harbour"}));
  EXPECT_FALSE(photo.contains("thumbnail"));
}

TEST(Tool, ShowsManyFilesInTheirOrderAndGoesOnBehindABadOne) {
  const std::string folder = empty_folder();
  fs::create_directories(folder + "/below");
  std::string files, expected;
  for (int i = 0; i < 40; ++i) {
    const std::string name = folder + (i % 2 == 0 ? "/below/" : "/") + std::to_string(100 - i) + ".jpg";
    if (i != 7) fs::copy_file(kPhoto, name, fs::copy_options::overwrite_existing);
    files += name + " ";
    expected += name + "\n";
  }
  write_file(folder + "/notes.txt", "passed over");
  fs::create_directory(folder + "/nothing");
  EXPECT_EQ(json::parse(output("show -r --json " + folder + "/nothing")), json::array());
  const Outcome result = run("show --jsonl -j 3 " + files);
  EXPECT_EQ(result.exit_code, 1);
  std::istringstream lines(result.out);
  std::string order;
  int errors = 0;
  for (std::string line; std::getline(lines, line);) {
    const json object = json::parse(line);
    order += object.at("file").get<std::string>() + "\n";
    errors += object.contains("error");
  }
  EXPECT_EQ(order, expected);
  EXPECT_EQ(errors, 1);
  const json all = json::parse(output("show -r --json " + folder));
  ASSERT_EQ(all.size(), 39u);
  write_file(folder + "/damaged.JPG", "not passed over");
  EXPECT_EQ(run("show -r " + folder).exit_code, 1);
  for (std::size_t i = 1; i < all.size(); ++i) EXPECT_LT(all[i - 1].at("file"), all[i].at("file"));
}

// Latin-1 keywords, and control characters that would reach a terminal.
TEST(Tool, PrintsOnlyTextThatIsText) {
  EXPECT_EQ(run("show '[harbour.jpg]'").err, "celumbrant-meta: ./[harbour.jpg]: No such file or directory\n");
  const std::string result = temporary("result.tif");
  output(save_command("-o " + result + " --force --keyword 'Z\xC3\xBCrich' --keyword 'a\033[2Jb'"));
  EXPECT_EQ(shown(result).at("iptc").at("keywords"), json::array({"harbour", "Z\u00FCrich", "a?[2Jb"}));
}

TEST(Tool, SavesAPictureWithAllThatIsAskedFor) {
  const std::string result = temporary("result.tif"), packet = temporary("packet.xmp"), settings = temporary("set.xmp");
  write_file(packet,
             "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\"><rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/"
             "22-rdf-syntax-ns#\"><own>kept</own></rdf:RDF></x:xmpmeta>");
  output("settings write 'light leveler' --force -o " + settings + " --set Strength=65 --set IsPano360=Yes");
  const std::string said =
      output(save_command("--force -o " + result + " --settings " + settings + " --set Boost=7.5 --xmp " + packet +
                          " --keyword dusk --orientation 6" + " --profile " + profile_file("RGB ", "HarbourRGB")));
  EXPECT_NE(said.find("2 x 2 pixels, 16-bit, RGB"), std::string::npos) << said;
  EXPECT_NE(said.find("HarbourRGB"), std::string::npos) << said;
  // The pixels follow the header of 8 bytes, low bytes first.
  const std::string bytes = read_file(result);
  EXPECT_EQ(bytes.substr(8, 6), std::string("\1\0\2\0\3\0", 6));
  EXPECT_NE(bytes.find("<own>kept</own>"), std::string::npos);
  json after = shown(result), before = shown(kPhoto);
  for (const char* key : {"make", "model", "date_time", "f_number", "iso", "focal_length_mm", "gps"})
    EXPECT_EQ(after[key], before[key]) << key;
  EXPECT_NEAR(after["exposure_s"].get<double>(), 0.004, 1e-6);
  EXPECT_EQ(after["orientation"], 6);
  EXPECT_EQ(after["iptc"]["keywords"], json::array({"harbour", "dusk"}));
  const json read = json::parse(output("settings show --json " + result));
  EXPECT_EQ(read["name"], "Light Leveler");
  EXPECT_EQ(read["settings"]["Strength"], 65.0);
  EXPECT_EQ(read["settings"]["Boost"], 7.5);
  EXPECT_EQ(read["settings"]["IsPano360"], true);
  EXPECT_EQ(read["settings"]["WhiteClip"], 4.0);
  EXPECT_EQ(read["settings"]["SaturationIndividualColors"].size(), 8u);
}

TEST(Tool, ReadsEachDepthOfPictures) {
  const std::string result = temporary("result.tif"), picture = temporary("picture");
  const std::string hdr =
      std::string("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 2\n") + "\x80\x80\x80\x82\x01\x80\x40\x7F";
  const struct {
    std::string bytes;
    const char* depth;
    std::string samples;  // the first in the file
  } kCases[] = {
      {std::string("P5 1 1 255\n\x80", 12), "8", "\x80"},
      {std::string("P5 1 1 255\n\x80", 12), "16", "\x80\x80"},
      {std::string("P5 1 1 100\n\x32", 12), "8", "\x80"},
      {std::string("P5 1 1 1000\n\3\xE8", 14), "8", "\xFF"},
      {std::string("P5 1 1 255\n\xFF", 12), "32", std::string("\0\0\x80\x3F", 4)},
      {std::string("P5 1 1 255\n\x80", 12), "half", "\x04\x38"},
      {hdr, "32", std::string("\0\0\0\x40", 4)},
      {hdr, "half", std::string("\0\x40", 2)},
  };
  for (const auto& c : kCases) {
    write_file(picture, c.bytes);
    output("save " + picture + " --from " + kPhoto + " --force -o " + result + " --depth " + c.depth);
    EXPECT_EQ(read_file(result).substr(8, c.samples.size()), c.samples) << c.bytes << c.depth;
  }
  write_file(picture, hdr);
  EXPECT_EQ(run("save " + picture + " --from " + kPhoto + " -o - --depth 16").exit_code, 2);
  // What another decoder makes of the same files: 16-bit PNG, alpha, JPEG.
  const std::string alpha = temporary("alpha.png");
  EXPECT_EQ(output_of("convert -size 3x1 xc:'rgba(200,100,50,0.5)' PNG32:" + alpha), "");
  for (const std::string& file : {std::string(CELUMBRANT_EXAMPLES "/merged.png"), alpha, kPhoto}) {
    output("save " + file + " --from " + kPhoto + " --force -o " + result);
    const std::string difference = output_of("compare -metric MAE -alpha off " + file + " " + result + " null:");
    EXPECT_LT(std::stod(difference), 100.0) << file << difference;  // of 65535: decoders of JPEG round differently
  }
}

TEST(Tool, RefusesPicturesThatAreCutOffOrPromiseTooMuch) {
  const std::string folder = empty_folder(), picture = temporary("picture");
  const std::string png = read_file(CELUMBRANT_EXAMPLES "/merged.png"), jpeg = read_file(kPhoto);
  const std::string hdr =
      std::string("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 2\n") + "\x80\x80\x80\x82\x01\x80\x40\x7F";
  std::vector<std::string> refused = {
      std::string("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\0\1\0\0\0\1\x08\0\0\0\0\0\0\0\0\xFF\xFF\xFF\xF0IDAT", 41),
      "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 17000 +X 10000\n", "P6 16000000 16000000 255\n", "P5 1 1 0\n1"};
  for (std::size_t length = 3; length < hdr.size(); ++length) refused.push_back(hdr.substr(0, length));
  for (const std::size_t length : {4u, 6u, 8u, 9u})
    refused.push_back(std::string("P5 1 1 999\n\1\1").substr(0, length + 3));
  for (std::size_t eighth = 1; eighth < 8; ++eighth) {
    refused.push_back(png.substr(0, png.size() * eighth / 8));
    refused.push_back(jpeg.substr(0, jpeg.size() * eighth / 8));
  }
  for (const std::string& bytes : refused) {
    write_file(picture, bytes);
    const Outcome outcome = run("save " + picture + " --from " + kPhoto + " -o " + folder + "/cut.tif", "timeout 10 ");
    EXPECT_EQ(outcome.exit_code, 1) << bytes.substr(0, 60) << outcome.err;
  }
  EXPECT_EQ(files_in(folder), 0);
}

TEST(Tool, AFailureLeavesWhatWasThere) {
  const std::string folder = empty_folder(), result = folder + "/result.tif";
  write_file(result, "precious");
  EXPECT_EQ(run(save_command("-o " + result)).exit_code, 1);
  // The disk is full at the metadata: there is room for 512 bytes.
  EXPECT_EQ(run(save_command("-o " + folder + "/new.tif"), "ulimit -f 1; ").exit_code, 1);
  EXPECT_EQ(run(save_command("-o " + result + " --force"), "ulimit -f 1; ").exit_code, 1);
  for (const std::string what : {"settings write 3 ", "exif-block " CELUMBRANT_EXAMPLES "/harbour.jpg "})
    EXPECT_EQ(run(what + "-o " + folder + "/new", "ulimit -f 0; ").exit_code, 1) << what;
  // Whoever reads standard output stops before the end.
  run("save " CELUMBRANT_EXAMPLES "/merged.png -o - --from " + kPhoto + " | head -c 1", "TMPDIR=" + folder + " ");
  EXPECT_EQ(read_file(result), "precious");
  EXPECT_EQ(files_in(folder), 1);
  EXPECT_EQ(run("exif-block " + kPhoto + " --force -o /dev/null").exit_code, 1);
  EXPECT_TRUE(fs::is_character_file("/dev/null"));

  output(save_command("--force -o " + result + " --profile " + profile_file("RGB ", "First")));
  const std::string before = read_file(result);
  EXPECT_EQ(run("profile replace " + result + " " + profile_file("RGB ", "Other"), "ulimit -f 1; ").exit_code, 1);
  EXPECT_TRUE(read_file(result) == before);
  EXPECT_EQ(files_in(folder), 1);
}

TEST(Tool, StandardOutputCarriesAFile) {
  const std::string result = temporary("result.tif");
  output(save_command("--force -o " + result));
  const Outcome piped = run(save_command("-o -"));
  EXPECT_EQ(piped.exit_code, 0);
  EXPECT_TRUE(piped.out == read_file(result));
  EXPECT_EQ(run(save_command("-o - > /dev/full")).exit_code, 1);
}

TEST(Tool, PutsAnExifBlockIntoACopyOfAJpeg) {
  const std::string copy = temporary("copy.jpg"), bare = temporary("bare.jpg");
  const std::string scan = std::string("\xFF\xDA\0\4\1\2", 6) + "scan\xFF\xD9";
  const std::string app0 = std::string("\xFF\xE0\0\6JFIF", 8), quant = std::string("\xFF\xDB\0\3Q", 5);
  write_file(bare, "\xFF\xD8" + app0 + quant + "\xFF" + std::string("\xFF\xE1\0\nExif\0\0XX", 12) + scan);
  output("exif-block " + kPhoto + " --force -o " + copy + " --jpeg " + bare);
  const std::string block = run("exif-block " + kPhoto + " -o -").out;
  const std::string head = std::string("\xFF\xE1", 2) + static_cast<char>((block.size() + 8) >> 8) +
                           static_cast<char>(block.size() + 8) + std::string("Exif\0\0", 6);
  EXPECT_TRUE(read_file(copy) == "\xFF\xD8" + app0 + head + block + quant + scan);
  EXPECT_EQ(shown(copy).at("model"), shown(kPhoto).at("model"));
  write_file(bare, read_file(bare).substr(0, 20));
  EXPECT_EQ(run("exif-block " + kPhoto + " --force -o " + copy + " --jpeg " + bare).exit_code, 1);
}

TEST(Tool, ChangesSettingsAndProfilesInPlace) {
  const std::string packet = temporary("packet.xmp"), result = temporary("result.tif");
  output("settings write 3 --force -o " + packet);
  const std::string before = read_file(packet);
  output("settings insert " + packet + " 11 --set Radius=7 --set Radius=30.04");
  EXPECT_EQ(output("settings count " + packet), "2\n");
  EXPECT_NE(read_file(packet).find("settings02"), std::string::npos);
  EXPECT_NE(read_file(packet).find(before.substr(before.find("<cbtm:Method>Brill"))), std::string::npos);
  EXPECT_EQ(json::parse(output("settings show --json " + packet)).at("settings").at("Radius"), 30.0);

  output(save_command("--force -o " + result + " --profile " + profile_file("RGB ", "First")));
  const std::string other = profile_file("RGB ", "Second");
  output("profile replace " + result + " " + other);
  EXPECT_EQ(output("profile name " + other), "Second\n");
  EXPECT_NE(output("tag " + result + " 0x8773").find("count " + std::to_string(read_file(other).size())),
            std::string::npos);
  EXPECT_TRUE(read_file(result).ends_with(read_file(other)));
}

TEST(Tool, MeasuresRangeAndTime) {
  EXPECT_EQ(output("seconds '2024:07:01 20:15:00' --ref '2024:07:01 20:15:30'"), "30\n");
  const std::string hdr = temporary("scene.hdr");
  write_file(hdr,
             std::string("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 2\n") + "\x80\x80\x80\x82\x80\x80\x80\x7F");
  EXPECT_EQ(output("range " + hdr), "smallest 64\nlargest  512\nmean     288\nrange    3.0 stops\n");
}

}  // namespace
