// SPDX-License-Identifier: MIT
//
// Files that tests make. Their names differ from test to test: tests run side by side.

#ifndef CELUMBRANT_TESTS_FILES_H_
#define CELUMBRANT_TESTS_FILES_H_

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

inline std::string temporary(const std::string& name) {
  const testing::TestInfo* const test = testing::UnitTest::GetInstance()->current_test_info();
  return testing::TempDir() + test->test_suite_name() + "_" + test->name() + "_" + name;
}

// As a new file each time: overwriting one waits for the disk under some file systems.
inline void write_file(const std::string& name, const std::string& bytes) {
  std::filesystem::remove(name);
  std::ofstream(name, std::ios::binary) << bytes;
}

inline std::string read_file(const std::string& name) {
  std::ostringstream bytes;
  bytes << std::ifstream(name, std::ios::binary).rdbuf();
  return bytes.str();
}

#endif
