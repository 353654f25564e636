// SPDX-License-Identifier: MIT
//
// Saving a picture of 6000 x 4000 pixels: this library; as the floor, bare writes of 1 MiB from a
// buffer that is packed already; and libtiff, which is handed strips of 1 MiB converted by plain
// loops. The files go to CELUMBRANT_BENCH_DIR, else to /dev/shm, so that no disk is measured.

#include <CelumbrantMetaLib.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#ifdef CELUMBRANT_WITH_LIBTIFF
#include <tiffio.h>
#endif

namespace {

constexpr int kWidth = 6000;
constexpr int kHeight = 4000;
constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;
constexpr std::size_t kChunk = std::size_t{1} << 20;

struct Kind {
  const char* name;
  int samples;
  int depth;
  bool is16to8;

  std::size_t bytes_in() const { return is16to8 ? 2 : static_cast<std::size_t>(depth) / 8; }
  std::size_t bytes_out() const { return static_cast<std::size_t>(depth) / 8; }
  std::size_t row_in() const { return kWidth * static_cast<std::size_t>(samples) * bytes_in(); }
  std::size_t row_out() const { return kWidth * 3 * bytes_out(); }
};

constexpr Kind kKinds[] = {{"RGB 16-bit", 3, 16, false},
                           {"RGB float", 3, 32, false},
                           {"RGBA 16-bit, alpha dropped", 4, 16, false},
                           {"RGB, 16 to 8 bits", 3, 8, true},
                           {"RGBA, 16 to 8 bits", 4, 8, true}};

std::string file_name() {
  const char* const folder = std::getenv("CELUMBRANT_BENCH_DIR");
  return std::string(folder != nullptr ? folder : "/dev/shm") + "/celumbrant_bench.tif";
}

const unsigned char* pixels() {
  static const auto buffer = [] {
    std::vector<unsigned char> bytes(kPixels * 12);
    for (std::size_t i = 0; i < bytes.size(); ++i)
      bytes[i] = static_cast<unsigned char>(i * 31 >> 3);
    return bytes;
  }();
  return buffer.data();
}

void bare_writes(benchmark::State& state, const Kind& kind) {
  const std::string name = file_name();
  const std::size_t total = kind.row_out() * kHeight;
  for (auto _ : state) {
    const int file = open(name.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    for (std::size_t at = 0; at < total; at += kChunk) {
      if (write(file, pixels() + at, std::min(kChunk, total - at)) < 0)
        state.SkipWithError("write");
    }
    close(file);
  }
  unlink(name.c_str());
}

void this_library(benchmark::State& state, const Kind& kind) {
  const std::string name = file_name();
  const std::array<int, CELUMBRANT_DIM_ENTRIES> dim{
      kWidth, kHeight, kind.samples, kind.depth, 300, 0, 0, kind.is16to8 ? 1 : 0, 0, 0, 1};
  const std::array<int, CELUMBRANT_EXIF_SLOTS> exif{};
  const std::array<int, CELUMBRANT_GPS_SLOTS> gps{};
  const auto bpr = static_cast<int>(kind.is16to8 ? kind.row_in() / 2 : kind.row_in());
  for (auto _ : state) {
    if (buf2tif(pixels(), dim.data(), bpr, nullptr, exif.data(), gps.data(), 0, nullptr, 0, nullptr,
                0, nullptr, name.c_str()) < 0) {
      state.SkipWithError("buf2tif");
    }
  }
  unlink(name.c_str());
}

#ifdef CELUMBRANT_WITH_LIBTIFF
void convert_plainly(const Kind& kind, const unsigned char* in, std::size_t count,
                     unsigned char* out) {
  const std::size_t bytes = kind.bytes_in();
  for (std::size_t i = 0; i < count; ++i, in += static_cast<std::size_t>(kind.samples) * bytes) {
    for (std::size_t sample = 0; sample < 3; ++sample) {
      if (kind.is16to8) {
        *out++ = in[2 * sample + 1];
      } else {
        for (std::size_t k = 0; k < bytes; ++k) *out++ = in[bytes * sample + k];
      }
    }
  }
}

void with_libtiff(benchmark::State& state, const Kind& kind) {
  const std::string name = file_name();
  const auto rows = static_cast<std::uint32_t>(kChunk / kind.row_out());
  std::vector<unsigned char> strip(rows * kind.row_out());
  const bool converts = kind.is16to8 || kind.samples == 4;
  for (auto _ : state) {
    TIFF* const tif = TIFFOpen(name.c_str(), "wl");
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, kWidth);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, kHeight);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 3);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, kind.depth);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, rows);
    for (std::uint32_t row = 0; row < kHeight; row += rows) {
      const std::size_t count = std::min<std::uint32_t>(rows, kHeight - row);
      const unsigned char* const in = pixels() + row * kind.row_in();
      if (converts) convert_plainly(kind, in, count * kWidth, strip.data());
      const void* const data = converts ? strip.data() : in;
      TIFFWriteRawStrip(tif, row / rows, const_cast<void*>(data),
                        static_cast<tmsize_t>(count * kind.row_out()));
    }
    TIFFClose(tif);
  }
  unlink(name.c_str());
}
#endif

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (const Kind& kind : kKinds) {
    const auto add = [&](const std::string& who, void (*run)(benchmark::State&, const Kind&)) {
      benchmark::RegisterBenchmark((std::string(kind.name) + "/" + who).c_str(), run, kind)
          ->Unit(benchmark::kMillisecond);
    };
    add("this library", this_library);
#ifdef CELUMBRANT_WITH_LIBTIFF
    add("libtiff", with_libtiff);
#endif
    add("bare writes", bare_writes);
  }
  benchmark::RunSpecifiedBenchmarks();
}
