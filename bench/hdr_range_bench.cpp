// SPDX-License-Identifier: MIT
//
// The range of an HDR picture of 6000 x 4000 pixels: the library as it is called, its variant for
// processors without AVX2, the straightforward loop, and as the floor one plain read of the same
// bytes. Arguments are the lowest and highest exponent; pictures of 14, 17 and 20 stops and of the
// whole range, without and with luminances that overflow a float.

#include <CelumbrantMetaLib.h>
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <utility>
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

const std::vector<unsigned char>& picture(const benchmark::State& state) {
  static std::map<std::pair<int, int>, std::vector<unsigned char>> pictures;
  const std::pair exponents(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  auto& rgbe = pictures[exponents];
  if (rgbe.empty()) rgbe = make_picture(exponents.first, exponents.second);
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
void measure(benchmark::State& state, Run run) {
  const auto& rgbe = picture(state);
  for (auto _ : state) benchmark::DoNotOptimize(run(rgbe.data()));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(rgbe.size()));
}

void plain_read(benchmark::State& state) {
  measure(state, [](const unsigned char* rgbe) {
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < kRowBytes * kHeight; i += sizeof sum) {
      std::uint64_t word;
      std::memcpy(&word, rgbe + i, sizeof word);
      sum += word;
    }
    return sum;
  });
}

void scalar_loop(benchmark::State& state) {
  measure(state, [](const unsigned char* rgbe) {
    std::array<float, 3> pixDim;
    scalar_hdr_range(kWidth, kHeight, rgbe, powers(), pixDim.data());
    return pixDim;
  });
}

void library(benchmark::State& state) {
  measure(state, [](const unsigned char* rgbe) {
    std::array<float, 3> pixDim;
    hdrMinMax(kWidth, kHeight, rgbe, pixDim.data());
    return pixDim;
  });
}

void library_without_avx2(benchmark::State& state) {
  measure(state, [](const unsigned char* rgbe) {
    return celumbrant::hdr::measure_portable(kWidth, kHeight, rgbe, powers());
  });
}

void pictures(benchmark::internal::Benchmark* program) {
  program->Unit(benchmark::kMillisecond);
  for (const int stops : {14, 17, 20}) program->Args({135 - stops, 135});
  program->Args({1, 247})->Args({1, 255});
}

BENCHMARK(plain_read)->Apply(pictures);
BENCHMARK(scalar_loop)->Apply(pictures);
BENCHMARK(library_without_avx2)->Apply(pictures);
BENCHMARK(library)->Apply(pictures);

}  // namespace

BENCHMARK_MAIN();
