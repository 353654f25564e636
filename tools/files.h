// SPDX-License-Identifier: MIT
//
// Files that are read whole, and files that are written whole or not at all.

#ifndef CELUMBRANT_TOOLS_FILES_H_
#define CELUMBRANT_TOOLS_FILES_H_

#include <climits>
#include <cstdio>
#include <memory>
#include <string>

namespace celumbrant_meta {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// Opens a file for reading; a Failure tells why it cannot be read.
File open_file(const std::string& name);

// The library takes lengths as ints; one less, so that a NUL can be put behind.
constexpr int kMostBytes = INT_MAX - 1;

// A whole file, or its first bytes. A file of more than kMostBytes is a Failure.
std::string read_file(const std::string& name);
std::string read_beginning(const std::string& name, std::size_t bytes);

// The length of a text or block as the library takes it. None here is longer than read_file allows.
int length_of(const std::string& bytes);

// Where a command writes to; the name "-" stands for standard output.
struct Destination {
  std::string file;
  bool force = false;
};

// A file that appears under its name only when it has been written whole. Until then it is beside
// it under a temporary name; unless it is kept, it is removed again.
class OutputFile {
 public:
  // A file that exists is replaced only with `force`.
  explicit OutputFile(const Destination& destination);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  // The name as it was given.
  const std::string& name() const { return name_; }

  // The temporary name; the file exists and is empty.
  const std::string& temporary() const { return temporary_; }

  void write(const std::string& bytes) const;
  void keep();

 private:
  bool to_standard_output() const { return name_ == "-"; }

  std::string name_;    // as it was given
  std::string target_;  // the file that a link leads to
  std::string temporary_;
};

// The process may be told to stop while a temporary file is there: from now on that removes it.
void remove_temporary_file_when_stopped();

// All at once, for what is in memory.
void write_file(const Destination& destination, const std::string& bytes);

// Standard output is buffered: nothing is known to be printed before this. Throws a Failure.
void flush_standard_output();

}  // namespace celumbrant_meta

#endif
