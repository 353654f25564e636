// SPDX-License-Identifier: MIT

#include <algorithm>
#include <cctype>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "command.h"
#include "files.h"
#include "photo.h"
#include "photo_view.h"
#include "text.h"

namespace celumbrant_meta {
namespace {

namespace fs = std::filesystem;

enum class Form { kTable, kJson, kJsonLines };

struct ShowOptions {
  std::vector<std::string> files;
  bool recursive = false;
  int jobs = 1;
  Form form = Form::kTable;
};

// A file to show. In folders stands much that is no photograph, which is passed over.
struct Source {
  std::string file;
  bool in_folder = false;
  std::string error;  // a folder that cannot be read
};

// The files of the command line, and those in its folders as the walk comes to them.
class Sources {
 public:
  explicit Sources(const ShowOptions& options) : options_(options) {}

  std::optional<Source> next() {
    while (true) {
      if (!listed_.empty()) return take_listed();
      if (!walk_.empty()) {
        if (std::optional<Source> found = step()) return found;
      } else if (argument_ < options_.files.size()) {
        if (std::optional<Source> source = begin(options_.files[argument_++])) return source;
      } else {
        return std::nullopt;
      }
    }
  }

 private:
  // A file, or nothing when the walk through a folder begins.
  std::optional<Source> begin(const std::string& name) {
    std::error_code error;
    if (!fs::is_directory(name, error)) return Source{name, false, {}};
    if (!options_.recursive) return Source{name, false, "is a folder; -r shows what is in it"};
    if (std::optional<Source> unreadable = enter(name)) return unreadable;
    // Lines are streamed in the order of the walk; what people read is sorted.
    if (options_.form != Form::kJsonLines) list_folder();
    return std::nullopt;
  }

  std::optional<Source> enter(const fs::path& folder) {
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    if (error) return Source{folder.string(), true, error.message()};
    walk_.push_back(std::move(entries));
    return std::nullopt;
  }

  // The next file of the walk; nothing when it comes to something else. Links to folders, which may
  // lead in circles, are not followed.
  std::optional<Source> step() {
    fs::directory_iterator& entries = walk_.back();
    if (entries == fs::directory_iterator()) {
      walk_.pop_back();
      return std::nullopt;
    }
    const fs::directory_entry entry = *entries;
    std::error_code error;
    entries.increment(error);
    if (error) return Source{entry.path().parent_path().string(), true, error.message()};
    if (entry.is_directory(error) && !entry.is_symlink(error)) return enter(entry.path());
    if (!entry.is_regular_file(error)) return std::nullopt;
    return Source{entry.path().string(), true, {}};
  }

  void list_folder() {
    while (!walk_.empty())
      if (std::optional<Source> found = step()) listed_.push_back(std::move(*found));
    std::sort(listed_.begin(), listed_.end(),
              [](const Source& a, const Source& b) { return a.file < b.file; });
  }

  Source take_listed() {
    Source first = std::move(listed_.front());
    listed_.pop_front();
    return first;
  }

  const ShowOptions& options_;
  std::size_t argument_ = 0;
  std::vector<fs::directory_iterator> walk_;
  std::deque<Source> listed_;
};

// What one file came to: what is printed of it, and why it could not be read.
struct Shown {
  std::string output;
  std::string error;
};

std::string json_text(const nlohmann::ordered_json& object, Form form) {
  return object.dump(form == Form::kJson ? 2 : -1);
}

std::string show_photo(const Photo& photo, Form form) {
  return form == Form::kTable ? table_of(photo, shows_colour(stdout))
                              : json_text(json_of(photo), form);
}

// A file that cannot be read has its object too, so that each file has one.
Shown unreadable(const Source& source, const std::string& error, Form form) {
  if (form == Form::kTable) return {{}, error};
  return {json_text({{"file", utf8_of(source.file)}, {"error", utf8_of(error)}}, form), error};
}

// Whether a file in a folder is missed when it cannot be read.
bool is_called_photograph(const std::string& file) {
  std::string extension = fs::path(file).extension().string();
  std::ranges::transform(extension, extension.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  constexpr std::string_view kExtensions[] = {".jpg", ".jpeg", ".tif", ".tiff", ".psd"};
  return std::ranges::find(kExtensions, extension) != std::end(kExtensions);
}

Shown show_file(const Source& source, Form form) {
  try {
    if (!source.error.empty()) throw Failure(source.file, source.error);
    const std::optional<ImageFormat> format = format_of(source.file);
    if (!format && source.in_folder && !is_called_photograph(source.file)) return {};
    return {show_photo(format ? read_photo(source.file, *format) : read_photo(source.file), form),
            {}};
  } catch (const std::exception& error) {
    return unreadable(source, error.what(), form);
  }
}

// Prints what is shown, in its form.
class Printer {
 public:
  explicit Printer(Form form) : form_(form) {
    if (form_ == Form::kJson) std::fputc('[', stdout);
  }

  void print(const std::string& output) {
    if (output.empty()) return;
    if (form_ == Form::kJson) std::fputs(first_ ? "\n" : ",\n", stdout);
    if (form_ == Form::kTable && !first_) std::fputc('\n', stdout);
    std::fwrite(output.data(), 1, output.size(), stdout);
    if (form_ == Form::kJsonLines) std::fputc('\n', stdout);
    if (std::ferror(stdout) != 0) flush_standard_output();
    first_ = false;
  }

  void finish() const {
    if (form_ == Form::kJson) std::fputs(first_ ? "]\n" : "\n]\n", stdout);
  }

 private:
  Form form_;
  bool first_ = true;
};

// How far the work is, on a terminal's standard error while the output goes elsewhere.
class Progress {
 public:
  explicit Progress(const ShowOptions& options)
      : shown_(is_terminal(stderr) && !is_terminal(stdout)),
        total_(options.recursive ? 0 : options.files.size()) {}
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { clear(); }

  void advance() {
    constexpr std::size_t kStep = 8;
    if (++done_ % kStep != 0 || !shown_) return;
    if (total_ == 0) {
      std::fprintf(stderr, "\r%zu files", done_);
      return;
    }
    constexpr std::size_t kWidth = 40;
    const std::string bar(kWidth * done_ / total_, '#');
    std::fprintf(stderr, "\r[%-40s] %zu of %zu files", bar.c_str(), done_, total_);
  }

  void clear() const {
    if (shown_ && done_ > 0) std::fprintf(stderr, "\r%78s\r", "");
  }

 private:
  bool shown_;
  std::size_t total_;
  std::size_t done_ = 0;
};

// Reads the sources on several threads, and gives what they came to in their order. So many results
// wait at most that memory does not grow with the number of files.
class Readers {
 public:
  Readers(Sources& sources, const ShowOptions& options)
      : sources_(sources),
        form_(options.form),
        most_results_(kResultsOfThread * static_cast<std::size_t>(options.jobs)) {
    if (options.jobs == 1) return;
    try {
      for (int i = 0; i < options.jobs; ++i) threads_.emplace_back([this] { work(); });
    } catch (const std::system_error&) {
      // Fewer threads will do, or none.
    }
  }

  Readers(const Readers&) = delete;
  Readers& operator=(const Readers&) = delete;
  ~Readers() {
    const std::lock_guard lock(mutex_);
    at_end_ = true;
    changed_.notify_all();
  }

  std::optional<Shown> next() {
    if (threads_.empty()) {
      const std::optional<Source> source = sources_.next();
      return source ? std::optional(show_file(*source, form_)) : std::nullopt;
    }
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !results_.empty() || at_end_; });
    if (results_.empty()) return std::nullopt;
    std::future<Shown> first = std::move(results_.front());
    results_.pop_front();
    lock.unlock();
    changed_.notify_all();
    return first.get();
  }

 private:
  static constexpr std::size_t kResultsOfThread = 16;

  void work() {
    std::promise<Shown> result;
    while (const std::optional<Source> source = take(result)) {
      result.set_value(show_file(*source, form_));
      result = {};
    }
  }

  // The next source, whose result is to come in this order; nothing at the end of the sources.
  std::optional<Source> take(std::promise<Shown>& result) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return at_end_ || results_.size() < most_results_; });
    std::optional<Source> source = at_end_ ? std::nullopt : sources_.next();
    if (source) results_.push_back(result.get_future());
    at_end_ = !source;
    changed_.notify_all();
    return source;
  }

  Sources& sources_;
  Form form_;
  std::size_t most_results_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::future<Shown>> results_;
  bool at_end_ = false;
  std::vector<std::jthread> threads_;
};

int show(const ShowOptions& options) {
  Sources sources(options);
  Readers readers(sources, options);
  Printer printer(options.form);
  Progress progress(options);
  int exit_code = kDone;
  while (const std::optional<Shown> shown = readers.next()) {
    printer.print(shown->output);
    progress.advance();
    if (shown->error.empty()) continue;
    progress.clear();
    std::fprintf(stderr, "%s: %s\n", kProgram, printable(shown->error).c_str());
    exit_code = kFailed;
  }
  printer.finish();
  return exit_code;
}

}  // namespace

void add_show(CLI::App& app, Command& command) {
  auto options = std::make_shared<ShowOptions>();
  CLI::App* const show_command =
      add_command(app, "show", "Show the camera metadata of photographs (JPEG, TIFF, PSD)",
                  "show -r --jsonl -j 4 photos > photos.jsonl");
  show_command->add_option("FILE", options->files, "Photographs, and folders with -r")->required();
  show_command->add_flag("-r,--recursive", options->recursive,
                         "Show the photographs in folders and in their folders");
  CLI::Option* const json = show_command->add_flag_callback(
      "--json", [options] { options->form = Form::kJson; },
      "Print a JSON array of one object for each file");
  show_command
      ->add_flag_callback(
          "--jsonl", [options] { options->form = Form::kJsonLines; },
          "Print a JSON object on one line for each file, as they are read")
      ->excludes(json);
  show_command->add_option("-j,--jobs", options->jobs, "Files to read at a time")
      ->check(CLI::Range(1, 256).description(""))
      ->type_name("N");
  call_with(*show_command, options, command, show);
}

}  // namespace celumbrant_meta
