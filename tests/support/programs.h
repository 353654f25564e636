// SPDX-License-Identifier: MIT
//
// Independent readers and writers, run as programs.

#ifndef CELUMBRANT_TESTS_PROGRAMS_H_
#define CELUMBRANT_TESTS_PROGRAMS_H_

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <initializer_list>
#include <regex>
#include <string>

// What a shell command prints on both outputs; its exit status behind it when that is not 0.
inline std::string output_of(const std::string& command) {
  std::string output;
  FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return "cannot run: " + command;
  std::array<char, 4096> buffer;
  for (std::size_t got = 1; got > 0;) {
    got = std::fread(buffer.data(), 1, buffer.size(), pipe);
    output.append(buffer.data(), got);
  }
  const int status = pclose(pipe);
  return status == 0 ? output : output + "exit status " + std::to_string(status) + "\n";
}

// Every pattern must match in what a reader shows, which must not warn.
inline void expect_shown(const std::string& shown, std::initializer_list<const char*> patterns) {
  for (const char* pattern : patterns)
    EXPECT_TRUE(std::regex_search(shown, std::regex(pattern))) << pattern << "\n" << shown;
  EXPECT_EQ(shown.find("Warning"), std::string::npos) << shown;
}

#endif
