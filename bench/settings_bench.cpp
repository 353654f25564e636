// SPDX-License-Identifier: MIT
//
// Settings packets: measured and written, read, and asked for what they do not hold. The floor of a
// query is one memmem over the same bytes for the same key; the floor of a read is one memmem for a
// key that is not there over the whole packet.

#include <CelumbrantMetaLib.h>
#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view kSettingsKey = "xmlns:cbtm='http://ns.celumbrant.com/";
constexpr std::string_view kLensKey = "xmlns:aux='http://ns.adobe.com/exif/1.0/aux/";

// What editors leave in a packet: descriptions, attributes, edit histories.
std::string foreign_text(std::size_t bytes) {
  std::string text;
  for (int i = 0; text.size() < bytes; ++i) {
    text +=
        "<rdf:Description rdf:about=\"\" xmlns:xmp=\"http://ns.adobe.com/xap/1.0/\"\n"
        " xmlns:crs=\"http://ns.adobe.com/camera-raw-settings/1.0/\" crs:Exposure2012=\"+0.35\"\n"
        " crs:Contrast2012=\"+12\" crs:ToneCurveName2012=\"Linear\">\n <xmpMM:History><rdf:Seq>\n"
        "  <rdf:li stEvt:action=\"saved\" stEvt:instanceID=\"xmp.iid:" +
        std::to_string(1000000 + i) +
        "\"\n   stEvt:when=\"2026-03-01T12:00:00+01:00\" stEvt:changed=\"/metadata\"/>\n"
        " </rdf:Seq></xmpMM:History>\n</rdf:Description>\n";
  }
  text.resize(bytes - 1);
  return text + '\0';
}

std::string sculptor_packet() {
  std::array<float, CBTM_SETTINGS_COUNT> settings;
  def_param(CBTM_TEXTURE_SCULPTOR, settings.data());
  const int length =
      embed_xmp(CBTM_MEASURE, CBTM_TEXTURE_SCULPTOR, settings.data(), 0, nullptr, nullptr);
  std::string packet(static_cast<std::size_t>(length), '\0');
  embed_xmp(1, CBTM_TEXTURE_SCULPTOR, settings.data(), 0, nullptr, packet.data());
  return packet;
}

std::string packet_with_foreign_text_behind(std::size_t bytes) {
  return sculptor_packet() + (bytes > 0 ? foreign_text(bytes) : std::string(1, '\0'));
}

void memmem_pass(benchmark::State& state, const std::string& text, std::string_view key) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(memmem(text.data(), text.size(), key.data(), key.size()));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void query(benchmark::State& state, int request) {
  const std::string text = foreign_text(static_cast<std::size_t>(state.range(0)));
  char lens[CBTM_LENS_NAME_MAX + 1] = {};
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        get_settings_from_xmp(request, static_cast<int>(text.size()), text.data(), lens, nullptr));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void MeasureAndWrite(benchmark::State& state) {
  std::array<float, CBTM_SETTINGS_COUNT> settings;
  def_param(CBTM_TEXTURE_SCULPTOR, settings.data());
  std::string packet(4096, '\0');
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        embed_xmp(CBTM_MEASURE, CBTM_TEXTURE_SCULPTOR, settings.data(), 0, nullptr, nullptr));
    benchmark::DoNotOptimize(
        embed_xmp(1, CBTM_TEXTURE_SCULPTOR, settings.data(), 0, nullptr, packet.data()));
  }
}
BENCHMARK(MeasureAndWrite);

void FullRead(benchmark::State& state) {
  const std::string packet =
      packet_with_foreign_text_behind(static_cast<std::size_t>(state.range(0)));
  std::array<float, CBTM_SETTINGS_COUNT> settings;
  for (auto _ : state) {
    benchmark::DoNotOptimize(get_settings_from_xmp(CBTM_TEXTURE_SCULPTOR,
                                                   static_cast<int>(packet.size()), packet.data(),
                                                   nullptr, settings.data()));
  }
}
void FullReadFloor(benchmark::State& state) {
  const std::string packet =
      packet_with_foreign_text_behind(static_cast<std::size_t>(state.range(0)));
  memmem_pass(state, packet, "cbtm:Luminosity>");
}
BENCHMARK(FullRead)->Arg(0)->Arg(256 << 10);
BENCHMARK(FullReadFloor)->Arg(0)->Arg(256 << 10);

void MethodQuery(benchmark::State& state) {
  query(state, CBTM_QUERY_METHOD);
}
void MethodQueryFloor(benchmark::State& state) {
  memmem_pass(state, foreign_text(static_cast<std::size_t>(state.range(0))), kSettingsKey);
}
void LensQuery(benchmark::State& state) {
  query(state, CBTM_QUERY_LENS);
}
void LensQueryFloor(benchmark::State& state) {
  memmem_pass(state, foreign_text(static_cast<std::size_t>(state.range(0))), kLensKey);
}
BENCHMARK(MethodQuery)->Arg(64 << 10)->Arg(1 << 20);
BENCHMARK(MethodQueryFloor)->Arg(64 << 10)->Arg(1 << 20);
BENCHMARK(LensQuery)->Arg(64 << 10)->Arg(1 << 20);
BENCHMARK(LensQueryFloor)->Arg(64 << 10)->Arg(1 << 20);

}  // namespace

BENCHMARK_MAIN();
