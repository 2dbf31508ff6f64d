// Runs each command against each fault that a modem can be ordered, as tests/faults/matrix.txt has
// it.
//
//   faults_test            gtest: the cells that last a few seconds at most, and docs/faults.md
//   faults_test --table    prints docs/faults.md
//   faults_test --all [WORD]    runs every cell, or those of rows and columns that hold WORD
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/at_device.h"
#include "support/process.h"
#include "support/temp_dir.h"

namespace {

using texts = std::vector<std::string>;
using seconds = std::chrono::duration<double>;

constexpr seconds longest_of_every_run{5};
constexpr seconds still_waiting_after{1.5};
constexpr seconds clock_tolerance{0.1};

struct time_span {
  std::string text;
  bool forever = false;
  seconds least{0};
  seconds most{0};
};

struct column {
  std::string name, outcome, code;
  time_span time;
  texts rules;
};

struct entry {
  std::string word;
  std::optional<time_span> time;
  texts expected;
};
using entries = std::map<std::string, entry>;

struct family {
  std::string title;
  entries when;
};

struct row {
  std::string arguments;
  std::map<std::string, std::string> keys;
  entries when;
  const family* of;
};

struct table {
  std::string title;
  std::vector<column> columns;
  std::vector<std::unique_ptr<row>> rows;
};

struct cell {
  const row* command;
  const column* fault;
  std::string word;
  time_span time;
  texts expected;

  [[nodiscard]] bool means_something() const { return word != "-"; }
  [[nodiscard]] bool in_every_run() const {
    return time.forever || time.most <= longest_of_every_run;
  }
};

texts split(const std::string& text, const std::string& separator) {
  texts parts;
  std::size_t start = 0;
  for (auto at = text.find(separator); at != std::string::npos; at = text.find(separator, start)) {
    parts.push_back(text.substr(start, at - start));
    start = at + separator.size();
  }
  parts.push_back(text.substr(start));
  return parts;
}

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  return first == std::string::npos ? ""
                                    : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

/// The parts between bars; a bar is one between two blanks, or at the line's end.
texts fields(const std::string& line) {
  texts parts = split(line + " ", " | ");
  for (auto& part : parts) part = trimmed(part);
  return parts;
}

void replace(std::string& text, const std::string& what, const std::string& by) {
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
}

time_span time_of(const std::string& text) {
  if (text == "forever") return {.text = text, .forever = true};
  const bool at_most = text.starts_with("<");
  const seconds most(std::stod(text.substr(at_most ? 1 : 0)));
  return {.text = text, .least = at_most ? seconds{0} : most, .most = most};
}

class matrix {
 public:
  explicit matrix(const std::string& path) {
    std::ifstream in(path);
    if (!in) throw std::runtime_error("cannot read " + path);
    for (std::string line; std::getline(in, line);) {
      if (line.empty() || line.starts_with("#")) continue;
      try {
        take(line);
      } catch (const std::exception&) {
        throw std::runtime_error(path + ": not understood: " + line);
      }
    }
  }

  [[nodiscard]] const std::vector<table>& tables() const { return tables_; }

  [[nodiscard]] static cell at(const row& command, const column& fault) {
    cell found{&command, &fault, "", fault.time, {}};
    for (const auto* key : {&fault.name, &fault.outcome}) {
      for (const auto* when : {&command.when, &command.of->when}) {
        const auto each = when->find(*key);
        if (!found.word.empty() || each == when->end() || each->second.word.empty()) continue;
        found.word = each->second.word;
        found.time = each->second.time.value_or(fault.time);
      }
    }
    if (found.word.empty()) {
      throw std::runtime_error("no cell for " + command.arguments + ", " + fault.name);
    }
    for (const auto* when : {&command.of->when, &command.when}) {
      const auto by_column = when->find(fault.name);
      const auto each = by_column != when->end() ? by_column : when->find(fault.outcome);
      if (each == when->end()) continue;
      for (auto text : each->second.expected) {
        replace(text, "{code}", fault.code);
        for (const auto& [key, value] : command.keys) replace(text, "{" + key + "}", value);
        found.expected.push_back(text);
      }
    }
    return found;
  }

 private:
  void take(const std::string& line) {
    const auto parts = fields(line);
    const auto head = split(parts[0], " ")[0];
    const auto rest = trimmed(parts[0].substr(head.size()));
    if (head == "table") {
      tables_.emplace_back().title = rest;
    } else if (head == "column") {
      tables_.back().columns.push_back(
          {rest, parts.at(1), parts.at(2), time_of(parts.at(3)), {parts.begin() + 4, parts.end()}});
    } else if (head == "family") {
      families_.push_back(std::make_unique<family>(family{rest, {}}));
      when_ = &families_.back()->when;
    } else if (head == "row") {
      auto added = std::make_unique<row>(row{rest, {}, {}, families_.back().get()});
      for (std::size_t i = 1; i < parts.size(); ++i) {
        const auto equals = parts[i].find('=');
        added->keys[parts[i].substr(0, equals)] = parts[i].substr(equals + 1);
      }
      when_ = &added->when;
      tables_.back().rows.push_back(std::move(added));
    } else {
      take_entry(parts);
    }
  }

  void take_entry(const texts& parts) {
    const auto colon = parts[0].find(':');
    if (colon == std::string::npos) throw std::runtime_error("no colon");
    entry read;
    read.word = trimmed(parts[0].substr(colon + 1));
    if (const auto bracket = read.word.find(" ["); bracket != std::string::npos) {
      read.time = time_of(read.word.substr(bracket + 2, read.word.size() - bracket - 3));
      read.word.resize(bracket);
    }
    read.expected.assign(parts.begin() + 1, parts.end());
    const auto& columns = tables_.back().columns;
    for (const auto& each : split(parts[0].substr(0, colon), ", ")) {
      if (std::ranges::none_of(columns, [&](const column& known) {
            return known.name == each || known.outcome == each;
          })) {
        throw std::runtime_error("no such column or outcome");
      }
      if (!when_->emplace(each, read).second) throw std::runtime_error("given twice");
    }
  }

  std::vector<table> tables_;
  std::vector<std::unique_ptr<family>> families_;
  entries* when_ = nullptr;
};

std::string value_of(const row& command, const std::string& key) {
  const auto found = command.keys.find(key);
  return found == command.keys.end() ? "" : found->second;
}

// The table.

std::string in_table(const cell& each) {
  if (!each.means_something() || each.time.forever) return each.word;
  const bool takes_time = each.time.least >= seconds{1};
  return each.word + (takes_time ? ", " + each.time.text + " s" : "") +
         (each.in_every_run() ? "" : "*");
}

/// Rows of a family that look the same are one, with the arguments of them all.
std::string printed(const matrix& all) {
  std::ostringstream out;
  out << std::ifstream(TVK_FAULTS_DIR "/head.md").rdbuf();
  for (const auto& each : all.tables()) {
    out << "\n## " << each.title << "\n\n| `tvk` |";
    for (const auto& fault : each.columns) out << " " << fault.name << " |";
    out << "\n|---|";
    for (std::size_t i = 0; i < each.columns.size(); ++i) out << "---|";
    out << "\n| *`--fault`* |";
    for (const auto& fault : each.columns) {
      std::string rules;
      for (const auto& rule : fault.rules) rules += (rules.empty() ? "`" : " `") + rule + "`";
      out << " " << rules << " |";
    }
    out << "\n";
    struct line {
      const family* of;
      std::string names, cells;
    };
    std::vector<line> lines;
    for (const auto& command : each.rows) {
      std::string cells;
      for (const auto& fault : each.columns) {
        cells += " " + in_table(matrix::at(*command, fault)) + " |";
      }
      const auto label = value_of(*command, "label");
      const auto name = "`" + command->arguments + "`" + (label.empty() ? "" : " " + label);
      const auto same = std::ranges::find_if(lines, [&](const line& known) {
        return known.of == command->of && known.cells == cells;
      });
      if (same == lines.end()) {
        lines.push_back({command->of, name, cells});
      } else {
        same->names += ", " + name;
      }
    }
    for (const auto& known : lines) out << "| " << known.names << " |" << known.cells << "\n";
  }
  return out.str();
}

// The cells.

class running_modem {
 public:
  running_modem(const support::temp_dir& dir, const texts& faults, const std::string& device) {
    texts arguments{"serve", "--socket", dir.file("modem.sock"), "--state", dir.file("state")};
    if (!device.empty()) arguments.insert(arguments.end(), {"--at-device", device});
    for (const auto& rule : faults) arguments.insert(arguments.end(), {"--fault", rule});
    process_ = std::make_unique<support::background_process>(TVK_MODEM_PROGRAM, arguments);
    if (!process_->wait_for_error_text("listening on", std::chrono::seconds(60))) {
      throw std::runtime_error("tvk-modem does not listen");
    }
  }
  ~running_modem() {
    process_->send_signal(SIGTERM);
    process_->wait();
  }
  running_modem(const running_modem&) = delete;
  running_modem& operator=(const running_modem&) = delete;

 private:
  std::unique_ptr<support::background_process> process_;
};

/// What is wrong with the cell; empty when nothing is.
std::string run(const cell& each, seconds slack) {
  const support::temp_dir dir;
  const row& command = *each.command;
  support::environment variables{{"TVK_MODEM", "unix:" + dir.file("modem.sock")},
                                 {"TVK_DIAG", "unix:" + dir.file("diag.sock")},
                                 {"TVK_PROPERTIES", dir.file("properties")}};
  std::ofstream(dir.file("properties")) << value_of(command, "property") << "\n";
  const auto device = value_of(command, "device");
  const auto at = device.empty() ? nullptr : std::make_unique<support::at_device>(device);
  if (at && !at->usable()) return "";

  if (const auto before = value_of(command, "before"); !before.empty()) {
    const running_modem modem(dir, {}, "");
    const auto made_ready = support::run(TVK_PROGRAM, split(before, " "), variables);
    if (made_ready.exit_status != 0) return "not made ready";
  }
  texts faults;
  for (auto rule : each.fault->rules) {
    if (rule == "no port") {
      variables["TVK_DIAG"] = "unix:" + dir.file("none.sock");
      continue;
    }
    const auto request = command.keys.at("at");
    replace(rule, "@=", request + "=");
    replace(rule, "@1", request + "@1");
    replace(rule, "@2", request + "@2");
    replace(rule, "%", request.substr(0, request.find('/')));
    faults.push_back(rule);
  }
  const running_modem modem(dir, faults, device);
  const auto limit = each.time.forever ? still_waiting_after : each.time.most + slack;
  const auto got = support::run(TVK_PROGRAM, split(command.arguments, " "), variables,
                                std::chrono::duration_cast<std::chrono::milliseconds>(limit));
  std::ostringstream wrong;
  if (got.timed_out != each.time.forever) {
    wrong << (got.timed_out ? "  still runs after " : "  ended after ")
          << seconds(got.duration).count() << " s\n";
  }
  if (!got.timed_out && seconds(got.duration) < each.time.least - clock_tolerance) {
    wrong << "  took only " << seconds(got.duration).count() << " s\n";
  }
  if (!got.timed_out && got.exit_status != 0) wrong << "  ended by signal " << got.signal << "\n";
  for (const auto& text : each.expected) {
    const bool forbidden = text.starts_with("!");
    if ((got.output.find(text.substr(forbidden ? 1 : 0)) != std::string::npos) == forbidden) {
      wrong << (forbidden ? "  there is: " : "  missing: ") << text.substr(forbidden ? 1 : 0)
            << "\n";
    }
  }
  if (wrong.str().empty()) return "";
  return wrong.str() + "in:\n" + got.output + got.errors;
}

/// Waiting costs nothing, so many run at once, the longest first. Tells of those that failed, and
/// how many ran.
std::size_t run_all(std::vector<cell> cells, std::size_t threads, seconds slack,
                    const std::function<void(const std::string&)>& tell) {
  std::ranges::stable_sort(cells, std::greater{}, [](const cell& each) { return each.time.most; });
  std::mutex telling;
  std::atomic<std::size_t> next{0};
  std::vector<std::jthread> workers;
  for (std::size_t i = 0; i < threads; ++i) {
    workers.emplace_back([&] {
      for (auto index = next++; index < cells.size(); index = next++) {
        const auto& each = cells[index];
        std::string wrong;
        try {
          wrong = run(each, slack);
        } catch (const std::exception& error) {
          wrong = error.what();
        }
        if (wrong.empty()) continue;
        const std::lock_guard lock(telling);
        tell("tvk " + each.command->arguments + " " + value_of(*each.command, "label") + ", " +
             each.fault->name + ":\n" + wrong);
      }
    });
  }
  workers.clear();
  return cells.size();
}

std::vector<cell> cells_of(const matrix& all, bool every_one, const std::string& word = "") {
  std::vector<cell> cells;
  for (const auto& each : all.tables()) {
    for (const auto& command : each.rows) {
      for (const auto& fault : each.columns) {
        auto found = matrix::at(*command, fault);
        const auto name =
            command->arguments + " " + value_of(*command, "label") + ", " + fault.name;
        if (found.means_something() && (every_one || found.in_every_run()) &&
            name.find(word) != std::string::npos) {
          cells.push_back(std::move(found));
        }
      }
    }
  }
  return cells;
}

TEST(faults, commands_end_as_described_whatever_the_modem_does) {
  constexpr seconds slack{10};  // for a machine that is busy
  const matrix all(TVK_FAULTS_DIR "/matrix.txt");
  run_all(cells_of(all, false), 40, slack,
          [](const std::string& wrong) { ADD_FAILURE() << wrong; });
}

TEST(faults, page_of_the_manual_shows_the_matrix) {
  std::ostringstream page;
  page << std::ifstream(TVK_FAULTS_PAGE).rdbuf();
  EXPECT_EQ(page.str(), printed(matrix(TVK_FAULTS_DIR "/matrix.txt")))
      << "tests/faults/table makes " TVK_FAULTS_PAGE;
}

int run_for_real(const std::string& word) {
  constexpr seconds slack{2};
  std::size_t failed = 0;
  const matrix all(TVK_FAULTS_DIR "/matrix.txt");
  const auto ran = run_all(cells_of(all, true, word), 48, slack, [&](const std::string& wrong) {
    ++failed;
    std::cout << wrong << std::endl;
  });
  std::cout << ran << " cells, " << failed << " not as described\n";
  return failed == 0 && ran != 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const texts arguments(argv + 1, argv + argc);
  if (arguments.empty()) return RUN_ALL_TESTS();
  if (arguments[0] == "--all") return run_for_real(arguments.size() > 1 ? arguments[1] : "");
  if (arguments[0] != "--table") return 2;
  std::cout << printed(matrix(TVK_FAULTS_DIR "/matrix.txt"));
  return 0;
}
