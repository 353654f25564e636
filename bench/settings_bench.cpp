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
constexpr std::string_view kAbsentKey = "cbtm:Luminosity>";
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

using Run = void (*)(benchmark::State&, const std::string&);

template <const std::string_view& kKey>
void one_memmem(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(memmem(text.data(), text.size(), kKey.data(), kKey.size()));
  }
}

template <int kRequest>
void query(benchmark::State& state, const std::string& text) {
  char lens[CBTM_LENS_NAME_MAX + 1] = {};
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        get_settings_from_xmp(kRequest, static_cast<int>(text.size()), text.data(), lens, nullptr));
  }
}

void read_all(benchmark::State& state, const std::string& packet) {
  std::array<float, CBTM_SETTINGS_COUNT> settings;
  for (auto _ : state) {
    benchmark::DoNotOptimize(get_settings_from_xmp(CBTM_TEXTURE_SCULPTOR,
                                                   static_cast<int>(packet.size()), packet.data(),
                                                   nullptr, settings.data()));
  }
}

void measure_and_write(benchmark::State& state, const std::string& packet) {
  std::array<float, CBTM_SETTINGS_COUNT> settings;
  def_param(CBTM_TEXTURE_SCULPTOR, settings.data());
  std::string written(packet.size(), '\0');
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        embed_xmp(CBTM_MEASURE, CBTM_TEXTURE_SCULPTOR, settings.data(), 0, nullptr, nullptr));
    benchmark::DoNotOptimize(
        embed_xmp(1, CBTM_TEXTURE_SCULPTOR, settings.data(), 0, nullptr, written.data()));
  }
}

void copy(benchmark::State& state, const std::string& packet) {
  std::string written(packet.size(), '\0');
  for (auto _ : state) {
    std::memcpy(written.data(), packet.data(), packet.size());
    benchmark::DoNotOptimize(written.data());
    benchmark::ClobberMemory();
  }
}

void add(const std::string& what, const std::string& text, Run library, const char* floor,
         Run run_floor) {
  benchmark::RegisterBenchmark((what + "/this library").c_str(), library, text)
      ->Unit(benchmark::kMicrosecond);
  benchmark::RegisterBenchmark((what + "/" + floor).c_str(), run_floor, text)
      ->Unit(benchmark::kMicrosecond);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const std::string packet = sculptor_packet() + '\0';
  const std::string long_packet = sculptor_packet() + foreign_text(256 << 10);
  const std::string text = foreign_text(1 << 20);
  constexpr const char* kFloor = "one memmem";
  add("measuring and writing a packet", packet, measure_and_write, "one memcpy", copy);
  add("reading it", packet, read_all, kFloor, one_memmem<kAbsentKey>);
  add("reading it with 256 KiB of foreign text behind", long_packet, read_all, kFloor,
      one_memmem<kAbsentKey>);
  add("asking 1 MiB of foreign text for its method", text, query<CBTM_QUERY_METHOD>, kFloor,
      one_memmem<kSettingsKey>);
  add("asking 1 MiB of foreign text for its lens", text, query<CBTM_QUERY_LENS>, kFloor,
      one_memmem<kLensKey>);
  benchmark::RunSpecifiedBenchmarks();
}
