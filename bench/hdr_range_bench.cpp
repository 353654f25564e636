// SPDX-License-Identifier: MIT
//
// The range of an HDR picture of 6000 x 4000 pixels: the library as it is called, its variant for
// processors without AVX2, the straightforward loop, and as the floor one plain read of the same
// bytes. Pictures of 14, 17 and 20 stops and of the whole range, without and with luminances that
// overflow a float.

#include <CelumbrantMetaLib.h>
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "hdr_range.h"
#include "hdr_range_scalar.h"

namespace {

constexpr int kWidth = 6000;
constexpr int kHeight = 4000;
constexpr std::size_t kRowBytes = std::size_t{4} * kWidth;

std::vector<unsigned char> make_picture(int lowest, int highest) {
  std::vector<unsigned char> rgbe(kRowBytes * kHeight);
  std::mt19937 random(1);
  const auto span = static_cast<unsigned>(highest - lowest + 1);
  for (std::size_t i = 0; i < rgbe.size(); ++i) {
    const bool mantissa = i % kRowBytes < std::size_t{3} * kWidth;
    const auto byte = random();
    rgbe[i] = static_cast<unsigned char>(mantissa ? byte >> 24
                                                  : static_cast<unsigned>(lowest) + byte % span);
  }
  return rgbe;
}

struct Range {
  const char* name;
  int lowest;
  int highest;
};

constexpr Range kRanges[] = {{"14 stops", 121, 135},
                             {"17 stops", 118, 135},
                             {"20 stops", 115, 135},
                             {"the whole range", 1, 247},
                             {"luminances that overflow", 1, 255}};

const std::vector<unsigned char>& picture(const Range& range) {
  static std::map<std::string, std::vector<unsigned char>> pictures;
  auto& rgbe = pictures[range.name];
  if (rgbe.empty()) rgbe = make_picture(range.lowest, range.highest);
  return rgbe;
}

const float* powers() {
  static const auto lutE = [] {
    std::array<float, 256> table{};
    for (int e = 1; e < 256; ++e) {
      table[static_cast<std::size_t>(e)] = static_cast<float>(std::ldexp(1.0, e - 128));
    }
    return table;
  }();
  return lutE.data();
}

template <typename Run>
void measure(benchmark::State& state, const Range& range, Run run) {
  const auto& rgbe = picture(range);
  for (auto _ : state) benchmark::DoNotOptimize(run(rgbe.data()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(rgbe.size()));
}

void plain_read(benchmark::State& state, const Range& range) {
  measure(state, range, [](const unsigned char* rgbe) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < kRowBytes * kHeight; i += sizeof sum) {
      std::uint64_t word;
      std::memcpy(&word, rgbe + i, sizeof word);
      sum += word;
    }
    return sum;
  });
}

void scalar_loop(benchmark::State& state, const Range& range) {
  measure(state, range, [](const unsigned char* rgbe) {
    std::array<float, 3> pixDim;
    scalar_hdr_range(kWidth, kHeight, rgbe, powers(), pixDim.data());
    return pixDim;
  });
}

void library(benchmark::State& state, const Range& range) {
  measure(state, range, [](const unsigned char* rgbe) {
    std::array<float, 3> pixDim;
    hdrMinMax(kWidth, kHeight, rgbe, pixDim.data());
    return pixDim;
  });
}

void library_without_avx2(benchmark::State& state, const Range& range) {
  measure(state, range, [](const unsigned char* rgbe) {
    return celumbrant::hdr::measure_portable(kWidth, kHeight, rgbe, powers());
  });
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (const Range& range : kRanges) {
    const auto add = [&](const std::string& who, void (*run)(benchmark::State&, const Range&)) {
      benchmark::RegisterBenchmark((std::string(range.name) + "/" + who).c_str(), run, range)
          ->Unit(benchmark::kMillisecond);
    };
    add("this library", library);
    add("without AVX2", library_without_avx2);
    add("scalar loop, -O2", scalar_loop);
    add("one plain read", plain_read);
  }
  benchmark::RunSpecifiedBenchmarks();
}
