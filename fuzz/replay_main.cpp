// SPDX-License-Identifier: MIT
//
// Runs a fuzz target once on each of the files, and files in folders, that are named: in every
// build, without libFuzzer.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

bool replay(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> read{std::istreambuf_iterator<char>(file), {}};
  if (!file) return false;
  // Without the room to spare that the vector above may have.
  const std::vector<std::uint8_t> input(read.begin(), read.end());
  std::printf("%s\n", path.c_str());
  std::fflush(stdout);
  LLVMFuzzerTestOneInput(input.data(), input.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  int replayed = 0;
  for (int i = 1; i < argc; ++i) {
    std::vector<std::filesystem::path> paths{argv[i]};
    if (std::filesystem::is_directory(argv[i])) {
      paths.assign(std::filesystem::directory_iterator(argv[i]), {});
    }
    for (const auto& path : paths) {
      if (!replay(path)) {
        std::fprintf(stderr, "%s cannot be read\n", path.c_str());
        return 1;
      }
      ++replayed;
    }
  }
  std::printf("%d inputs\n", replayed);
  return replayed > 0 ? 0 : 1;
}
