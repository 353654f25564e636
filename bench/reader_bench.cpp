// SPDX-License-Identifier: MIT
//
// Reading a photograph's metadata, beside other readers that do the same; as the floor, the file is
// opened and its first 4 KiB are read. The files are those named on the command line, else the samples
// of the tests and of the examples; they stay in the system's cache.

#include <CelumbrantMetaLib.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#ifdef CELUMBRANT_WITH_LIBEXIF
#include <libexif/exif-data.h>
#endif
#ifdef CELUMBRANT_WITH_EXIV2
#include <exiv2/exiv2.hpp>
#endif

namespace {

int image_type(const std::string& name) {
  const std::string extension = std::filesystem::path(name).extension();
  if (extension == ".jpg" || extension == ".jpeg") return CELUMBRANT_IMAGE_JPEG;
  return extension == ".psd" ? CELUMBRANT_IMAGE_PSD : CELUMBRANT_IMAGE_TIFF;
}

void read_the_beginning(benchmark::State& state, const std::string& name) {
  std::array<char, 4096> beginning;
  for (auto _ : state) {
    const int file = open(name.c_str(), O_RDONLY);
    if (read(file, beginning.data(), beginning.size()) < 0) state.SkipWithError("read");
    close(file);
  }
}

void read_with_this_library(benchmark::State& state, const std::string& name) {
  std::array<int, CELUMBRANT_EXIF_SLOTS> exif{};
  std::array<int, CELUMBRANT_GPS_SLOTS> gps{};
  const int type = image_type(name);
  for (auto _ : state) {
    benchmark::DoNotOptimize(get_exif_data(name.c_str(), type, exif.data(), gps.data()));
  }
}

#ifdef CELUMBRANT_WITH_LIBEXIF
// Knows JPEG files only.
void read_with_libexif(benchmark::State& state, const std::string& name) {
  for (auto _ : state) {
    ExifData* const data = exif_data_new_from_file(name.c_str());
    benchmark::DoNotOptimize(data);
    exif_data_unref(data);
  }
}
#endif

#ifdef CELUMBRANT_WITH_EXIV2
void read_with_exiv2(benchmark::State& state, const std::string& name) {
  for (auto _ : state) {
    const auto image = Exiv2::ImageFactory::open(name);
    image->readMetadata();
    benchmark::DoNotOptimize(image->exifData().count());
  }
}
#endif

std::vector<std::string> samples() {
  std::vector<std::string> names{CELUMBRANT_EXAMPLES "/harbour.jpg"};
  for (const auto& entry : std::filesystem::directory_iterator(CELUMBRANT_SAMPLES)) {
    if (entry.path().extension() != ".md") names.push_back(entry.path());
  }
  return names;
}

void register_file(const std::string& name) {
  const auto add = [&](const std::string& who, void (*run)(benchmark::State&, const std::string&)) {
    const std::string title = std::filesystem::path(name).filename();
    benchmark::RegisterBenchmark((title + "/" + who).c_str(), run, name);
  };
  add("this library", read_with_this_library);
#ifdef CELUMBRANT_WITH_LIBEXIF
  if (image_type(name) == CELUMBRANT_IMAGE_JPEG) add("libexif", read_with_libexif);
#endif
#ifdef CELUMBRANT_WITH_EXIV2
  add("exiv2", read_with_exiv2);
#endif
  add("open and read 4 KiB", read_the_beginning);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const std::vector<std::string> named(argv + 1, argv + argc);
  for (const std::string& name : named.empty() ? samples() : named) register_file(name);
#ifdef CELUMBRANT_WITH_EXIV2
  Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
#endif
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
