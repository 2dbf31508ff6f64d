// Runs each command against each fault that a modem can be ordered, as matrix.txt has it.
//
// `--all` runs those that wait for long as well, `--table` prints docs/faults.md.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <deque>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/at_device.h"
#include "support/process.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"

namespace {

using texts = std::vector<std::string>;
using seconds = std::chrono::duration<double>;

constexpr const char* matrix_file = TVK_FAULTS_DIR "/matrix.txt";
constexpr const char* no_port = "no port";  ///< a rule: TVK_DIAG leads nowhere
constexpr std::size_t at_once = 40;
constexpr seconds longest_of_every_run{5};
constexpr seconds still_waiting_after{1.5};
constexpr seconds clock_tolerance{0.1};
constexpr double drift = 1.05;  // of a wait that is made of many

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

struct row {
  std::string arguments;
  std::map<std::string, std::string> keys;
  entries when;
  const entries* family = nullptr;  ///< what its rows share

  [[nodiscard]] std::string key(const std::string& name) const {
    const auto found = keys.find(name);
    return found == keys.end() ? "" : found->second;
  }
  [[nodiscard]] std::string name() const {
    const auto label = key("label");
    return "`" + arguments + "`" + (label.empty() ? "" : " " + label);
  }
};

struct table {
  std::string title;
  std::vector<column> columns;
  std::deque<row> rows;
};

struct cell {
  const row* command;
  const column* fault;
  std::string word;
  time_span time;
  texts expected;

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
      } catch (const std::exception& error) {
        throw std::runtime_error(path + ": " + error.what() + ": " + line);
      }
    }
  }

  [[nodiscard]] const std::vector<table>& tables() const { return tables_; }

  [[nodiscard]] static cell at(const row& command, const column& fault) {
    cell found{&command, &fault, "", fault.time, {}};
    for (const auto* key : {&fault.name, &fault.outcome}) {
      for (const auto* when : {&command.when, command.family}) {
        const auto each = when->find(*key);
        if (!found.word.empty() || each == when->end() || each->second.word.empty()) continue;
        found.word = each->second.word;
        found.time = each->second.time.value_or(fault.time);
      }
    }
    if (found.word.empty()) {
      throw std::runtime_error("no cell for " + command.arguments + ", " + fault.name);
    }
    for (const auto* when : {command.family, &command.when}) {
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
      when_ = &families_.emplace_back();
    } else if (head == "row") {
      auto& added = tables_.back().rows.emplace_back(row{rest, {}, {}, &families_.back()});
      for (std::size_t i = 1; i < parts.size(); ++i) {
        const auto equals = parts[i].find('=');
        added.keys[parts[i].substr(0, equals)] = parts[i].substr(equals + 1);
      }
      when_ = &added.when;
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
  std::deque<entries> families_;
  entries* when_ = nullptr;
};

// The table.

std::string in_table(const cell& each) {
  if (each.word == "-" || each.time.forever) return each.word;
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
      const entries* family;
      std::string names, cells;
    };
    std::vector<line> lines;
    for (const auto& command : each.rows) {
      std::string cells;
      for (const auto& fault : each.columns) {
        cells += " " + in_table(matrix::at(command, fault)) + " |";
      }
      const auto same = std::ranges::find_if(lines, [&](const line& known) {
        return known.family == command.family && known.cells == cells;
      });
      if (same == lines.end()) {
        lines.push_back({command.family, command.name(), cells});
      } else {
        same->names += ", " + command.name();
      }
    }
    for (const auto& known : lines) out << "| " << known.names << " |" << known.cells << "\n";
  }
  return out.str();
}

// The cells.

/// Runs a cell. Empty when it ends as it should.
std::string what_is_wrong(const cell& each, seconds slack) {
  const row& command = *each.command;
  const auto device = command.key("device");
  const auto at = device.empty() ? nullptr : std::make_unique<support::at_device>(device);
  if (at && !at->usable()) return "";

  texts faults;
  for (auto rule : each.fault->rules) {
    if (rule == no_port) continue;
    const auto request = command.keys.at("at");
    replace(rule, "*", request);
    replace(rule, "%", request.substr(0, request.find('/')));
    faults.push_back(rule);
  }
  const texts options = device.empty() ? texts{} : texts{"--at-device", device};
  support::simulated_modem modem(faults, support::simulated_modem::begin::later, options);
  if (const auto before = command.key("before"); !before.empty()) {
    texts ready = {"exec", "--state", modem.state(), "--", TVK_PROGRAM};
    for (const auto& word : split(before, " ")) ready.push_back(word);
    if (support::run(TVK_MODEM_PROGRAM, ready).exit_status != 0) return "not made ready";
  }
  modem.start();
  const support::temp_dir dir;
  std::ofstream(dir.file("properties")) << command.key("property") << "\n";
  const bool has_port = each.fault->rules != texts{no_port};
  const auto limit = each.time.forever ? still_waiting_after : drift * each.time.most + slack;
  const auto got = support::run(
      TVK_PROGRAM, split(command.arguments, " "),
      {{"TVK_MODEM", modem.endpoint()},
       {"TVK_DIAG", "unix:" + (has_port ? modem.diag_socket() : dir.file("none.sock"))},
       {"TVK_PROPERTIES", dir.file("properties")}},
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

bool every_cell = false;  ///< else those that last a few seconds at most

// Waiting costs nothing, so many cells run at once, the longest first.
TEST(faults, commands_end_as_described_whatever_the_modem_does) {
  const seconds slack{every_cell ? 2 : 5};  // ./test runs on machines that are busy
  const matrix all(matrix_file);
  std::vector<cell> cells;
  for (const auto& each : all.tables()) {
    for (const auto& command : each.rows) {
      for (const auto& fault : each.columns) {
        auto found = matrix::at(command, fault);
        if (found.word != "-" && (every_cell || found.in_every_run()))
          cells.push_back(std::move(found));
      }
    }
  }
  std::ranges::stable_sort(cells, std::greater{}, [](const cell& each) { return each.time.most; });
  std::atomic<std::size_t> next{0};
  std::vector<std::jthread> workers;
  for (std::size_t i = 0; i < at_once; ++i) {
    workers.emplace_back([&] {
      for (auto index = next++; index < cells.size(); index = next++) {
        const auto& each = cells[index];
        std::string wrong;
        try {
          wrong = what_is_wrong(each, slack);
        } catch (const std::exception& error) {
          wrong = error.what();
        }
        EXPECT_EQ(wrong, "") << each.command->name() << ", " << each.fault->name;
      }
    });
  }
}

TEST(faults, page_of_the_manual_shows_the_matrix) {
  std::ostringstream page;
  page << std::ifstream(TVK_FAULTS_PAGE).rdbuf();
  EXPECT_EQ(page.str(), printed(matrix(matrix_file)))
      << "tests/faults/table makes " TVK_FAULTS_PAGE;
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  const texts arguments(argv + 1, argv + argc);
  if (arguments == texts{"--table"}) {
    std::cout << printed(matrix(matrix_file));
    return 0;
  }
  every_cell = arguments == texts{"--all"};
  return RUN_ALL_TESTS();
}
