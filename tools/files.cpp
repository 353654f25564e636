// SPDX-License-Identifier: MIT

#include "files.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <random>
#include <utility>

#include "errors.h"

namespace celumbrant_meta {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kPiece = 1 << 20;

[[noreturn]] void fail(const std::string& name) {
  throw Failure(name, std::strerror(errno));
}

// Reads up to `most` bytes, or one more when the file has more.
std::string read_up_to(const std::string& name, std::size_t most) {
  const File file = open_file(name);
  std::string bytes;
  while (bytes.size() <= most) {
    const std::size_t before = bytes.size();
    const std::size_t wanted = std::min(kPiece, most + 1 - before);
    bytes.resize(before + wanted);
    const std::size_t got = std::fread(bytes.data() + before, 1, wanted, file.get());
    bytes.resize(before + got);
    if (got < wanted) break;
  }
  if (std::ferror(file.get()) != 0) fail(name);
  return bytes;
}

void refuse_to_replace(const Destination& destination) {
  std::error_code error;
  const fs::file_status status = fs::status(destination.file, error);
  if (!fs::exists(status)) return;
  if (!destination.force) throw Failure(destination.file, "exists already; --force replaces it");
  // A rename would put a file in the place of a device or a pipe.
  if (!fs::is_regular_file(status)) throw Failure(destination.file, "is not a regular file");
}

// Makes an empty file in a folder: that of the target, since a rename cannot cross file systems.
std::string create_in(const fs::path& folder, const std::string& reported) {
  std::random_device random;
  for (int attempt = 0; attempt < 100; ++attempt) {
    const std::string number = std::to_string(random() % 100000000);
    std::string name = (folder / ("." + std::string(kProgram) + "-" + number + ".part")).string();
    if (const File file{std::fopen(name.c_str(), "wbx")}) return name;
    if (errno != EEXIST) break;
  }
  fail(reported);
}

// The temporary file that there is, for the signal handler: there is never more than one.
char file_to_remove[PATH_MAX];

void remember_temporary_file(const std::string& name) {
  if (name.size() < sizeof file_to_remove)
    std::memcpy(file_to_remove, name.c_str(), name.size() + 1);
}

void forget_temporary_file() {
  file_to_remove[0] = '\0';
}

extern "C" void remove_and_stop(int signal) {
  if (file_to_remove[0] != '\0') unlink(file_to_remove);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void copy_to_standard_output(const std::string& name) {
  const File file = open_file(name);
  std::string piece(kPiece, '\0');
  for (std::size_t got = kPiece; got == kPiece;) {
    got = std::fread(piece.data(), 1, kPiece, file.get());
    std::fwrite(piece.data(), 1, got, stdout);
  }
  if (std::ferror(file.get()) != 0) fail(name);
  flush_standard_output();
}

}  // namespace

File open_file(const std::string& name) {
  File file(std::fopen(name.c_str(), "rb"));
  if (file == nullptr) fail(name);
  return file;
}

std::string read_file(const std::string& name) {
  std::string bytes = read_up_to(name, kMostBytes);
  if (bytes.size() > kMostBytes) throw Failure(name, "is too long: 2 GiB or more");
  return bytes;
}

std::string read_beginning(const std::string& name, std::size_t bytes) {
  std::string beginning = read_up_to(name, bytes);
  beginning.resize(std::min(beginning.size(), bytes));
  return beginning;
}

int length_of(const std::string& bytes) {
  return static_cast<int>(bytes.size());
}

OutputFile::OutputFile(const Destination& destination)
    : name_(destination.file), target_(destination.file) {
  std::error_code error;
  if (to_standard_output()) {
    const fs::path folder = fs::temp_directory_path(error);
    if (error) throw Failure("standard output", "there is no folder for temporary files");
    temporary_ = create_in(folder, "standard output");
  } else {
    refuse_to_replace(destination);
    // A link to a file stays, and that file is replaced.
    if (fs::exists(target_, error)) target_ = fs::canonical(target_).string();
    temporary_ = create_in(fs::path(target_).parent_path(), name_);
  }
  remember_temporary_file(temporary_);
}

OutputFile::~OutputFile() {
  if (!temporary_.empty()) std::remove(temporary_.c_str());
  forget_temporary_file();
}

void OutputFile::write(const std::string& bytes) const {
  File file(std::fopen(temporary_.c_str(), "wb"));
  if (file == nullptr) fail(name_);
  const std::size_t written = std::fwrite(bytes.data(), 1, bytes.size(), file.get());
  if (std::fclose(file.release()) != 0 || written != bytes.size()) fail(name_);
}

void OutputFile::keep() {
  if (to_standard_output()) {
    copy_to_standard_output(temporary_);
    return;
  }
  std::error_code error;
  if (fs::exists(target_, error)) fs::permissions(temporary_, fs::status(target_).permissions());
  fs::rename(temporary_, target_, error);
  if (error) throw Failure(name_, error.message());
  temporary_.clear();
}

void remove_temporary_file_when_stopped() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) std::signal(signal, remove_and_stop);
  // A file that may not grow further is an error of its write.
  std::signal(SIGXFSZ, SIG_IGN);
}

void write_file(const Destination& destination, const std::string& bytes) {
  OutputFile output(destination);
  output.write(bytes);
  output.keep();
}

void flush_standard_output() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) fail("standard output");
}

}  // namespace celumbrant_meta
