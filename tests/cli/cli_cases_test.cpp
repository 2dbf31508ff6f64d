// Runs the cases of tests/cli/*.case, one test each, named by file and case.
//
// A case file reads like a transcript of a shell:
//
//   == name of the case
//   # a remark, only before the first command
//   $ tvk-modem --fault extension/2=silent &      a simulated modem runs, with any options
//   $ export TVK_MODEM=bogus                      an addition to the environment
//   $ echo "persist.x=1" >>properties             a line for the property file
//   $ tvk 6 0 "0x 1"                              the command: words, double quotes group
//   the exact standard output, up to the next command or case
//   {aborts}                                      ended by SIGABRT; otherwise exit status 0
//   {stderr some text}                            standard error holds the text; otherwise empty
//   $ tvk-modem nv get 550                        this works as well, on the modem's state
//   $ cat properties                              the property file, its lines sorted
//   $ tvk 7 0 0x$1                                $1, $2...: the words of a row, $* the whole row
//   length = 108, type = 0, id = $2(0x$1)
//   | b062 45154                                  a row: the command is run once for each
//   | b064 45156
//
// Commands run in order against one modem and one property file, both the case's own.
//
// In the output these lines stand for others:
//   {usage}           all of usage.txt; {help}: its banner, the section of the command's group and
//                     its footer
//   {NAME WORD...}    a block, which blocks.case or the same file above has like a case under
//                     `== {NAME} what it shows`, with the words for its $1, $2...
// In commands and output {3*"ab"} stands for ababab and {cr} for a carriage return. A source line
// number is masked: `RIL[name:123]: ` must be given as `RIL[name:#]: `, and a UIM client's handle
// as `#`. Empty lines at the end of a case belong to its output; the single empty line before the
// next `==` and those after rows do not.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/printed.h"
#include "support/process.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"

namespace {

using texts = std::vector<std::string>;

struct step {
  std::string program;
  texts arguments;
  texts output;
  bool aborts = false;
  texts error_texts;
};

struct cli_case {
  std::string name;
  bool with_modem = false;
  texts modem_options;
  support::environment variables;
  std::vector<step> steps;
};

texts lines_of(const std::filesystem::path& path) {
  std::ifstream in(path);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  texts lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string joined(const texts& lines) {
  std::string text;
  for (const auto& line : lines) text += line + "\n";
  return text;
}

/// The usage of one group.
texts help(int group) {
  const auto lines = lines_of(TVK_CLI_CASES_DIR "/usage.txt");
  texts kept = {lines.at(0), lines.at(1)};
  int section = 0;
  for (std::size_t i = 2; i + 2 < lines.size(); ++i) {
    if (lines[i].starts_with(std::to_string(section + 1) + ": ")) ++section;
    if (section == group) kept.push_back(lines[i]);
  }
  kept.insert(kept.end(), lines.end() - 2, lines.end());
  return kept;
}

void replace(std::string& text, const std::string& what, const std::string& by) {
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
}

std::string expanded(std::string text) {
  // {TIMES*"WHAT"}
  for (auto star = text.find("*\""); star != std::string::npos; star = text.find("*\"")) {
    const auto start = text.rfind('{', star);
    const auto end = text.find("\"}", star + 2);
    if (start == std::string::npos || end == std::string::npos) break;
    const auto what = text.substr(star + 2, end - star - 2);
    std::string many;
    for (int i = std::stoi(text.substr(start + 1)); i > 0; --i) many += what;
    text.replace(start, end + 2 - start, many);
  }
  replace(text, "{cr}", "\r");
  return text;
}

texts words_of(const std::string& line) {
  texts words;
  bool quoted = false;
  bool inside = false;
  for (const char c : line) {
    if (c == ' ' && !quoted) {
      inside = false;
      continue;
    }
    if (!inside) words.emplace_back();
    inside = true;
    if (c == '"') {
      quoted = !quoted;
    } else {
      words.back() += c;
    }
  }
  return words;
}

/// The lines with the row's words for $1 to $9, nothing for those that it lacks, and the row for
/// $*.
texts substituted(texts lines, const std::string& row) {
  auto words = words_of(row);
  words.resize(9);
  for (auto& line : lines) {
    for (std::size_t i = 0; i < words.size(); ++i) {
      replace(line, "$" + std::to_string(i + 1), words[i]);
    }
    replace(line, "$*", row);
  }
  return lines;
}

class case_reader {
 public:
  /// The cases of a file; its blocks are kept for the next ones.
  std::vector<cli_case> read(const std::filesystem::path& path) {
    cases_.clear();
    for (const auto& line : lines_of(path)) take(line);
    end_text();
    return cases_;
  }

 private:
  void take(const std::string& line) {
    if (line.starts_with("== ")) {
      if (rows_.empty() && !text_.empty() && text_.back().empty()) text_.pop_back();
      end_text();
      block_ = line.starts_with("== {") ? line.substr(4, line.find('}') - 4) : "";
      if (block_.empty()) cases_.emplace_back().name = line.substr(3);
    } else if (line.starts_with("$ ")) {
      end_text();
      text_ = {line};
    } else if (line.starts_with("|")) {
      rows_.push_back(expanded(line.substr(std::min<std::size_t>(2, line.size()))));
    } else if (rows_.empty() && (!text_.empty() || !block_.empty())) {
      text_.push_back(line);
    } else if (!line.empty() && !line.starts_with("#")) {
      throw std::runtime_error("not understood: " + line);
    }
  }

  /// What was read last is complete: a block, or a command with its output and rows.
  void end_text() {
    const auto text = std::exchange(text_, {});
    auto rows = std::exchange(rows_, {});
    if (!block_.empty()) {
      blocks_[std::exchange(block_, "")] = text;
    } else if (rows.empty() && !text.empty()) {
      take_command(text);
    }
    for (const auto& row : rows) take_command(substituted(text, row));
  }

  void take_command(const texts& text) {
    auto words = words_of(expanded(text.at(0).substr(2)));
    auto& current = cases_.at(cases_.size() - 1);
    const std::string program = words.at(0);
    words.erase(words.begin());
    if (program == "tvk-modem" && words.back() == "&") {
      current.with_modem = true;
      current.modem_options.assign(words.begin(), words.end() - 1);
    } else if (program == "export") {
      const auto equals = words.at(0).find('=');
      current.variables[words[0].substr(0, equals)] = words[0].substr(equals + 1);
    } else {
      current.steps.push_back({.program = program,
                               .arguments = words,
                               .output = {},
                               .aborts = false,
                               .error_texts = {}});
      for (std::size_t i = 1; i < text.size(); ++i) take_output(expanded(text[i]));
    }
  }

  void take_output(const std::string& line) {
    auto& current = cases_.back().steps.back();
    const auto blank = std::min(line.find(' '), line.size() - 1);
    const auto name = line.starts_with("{") ? line.substr(1, blank - 1) : "";
    const auto rest =
        blank + 2 < line.size() ? line.substr(blank + 1, line.size() - blank - 2) : "";
    const auto append = [&](const texts& lines) {
      for (const auto& each : lines) take_output(each);
    };
    if (name.empty()) {
      current.output.push_back(line);
    } else if (name == "aborts") {
      current.aborts = true;
    } else if (name == "stderr") {
      current.error_texts.push_back(rest);
    } else if (name == "usage") {
      append(lines_of(TVK_CLI_CASES_DIR "/usage.txt"));
    } else if (name == "help") {
      append(help(std::atoi(current.arguments.at(0).c_str())));
    } else {
      append(substituted(blocks_.at(name), rest));
    }
  }

  std::map<std::string, texts> blocks_;
  std::vector<cli_case> cases_;
  std::string block_;  ///< the name of the one being read
  texts text_;
  texts rows_;
};

class cli_test : public testing::Test {
 public:
  explicit cli_test(cli_case wanted) : wanted_(std::move(wanted)) {}

  void TestBody() override {
    std::unique_ptr<support::simulated_modem> modem;
    if (wanted_.with_modem) {
      modem = std::make_unique<support::simulated_modem>(
          texts{}, support::simulated_modem::begin::at_once, wanted_.modem_options);
    }
    auto variables = wanted_.variables;
    variables.emplace("TVK_PROPERTIES", properties());
    variables.emplace("TVK_MODEM", modem ? modem->endpoint() : "unix:" + dir_.file("modem.sock"));
    for (const auto& each : wanted_.steps) {
      SCOPED_TRACE(each.program + " " + joined(each.arguments));
      auto arguments = each.arguments;
      if (each.program == "tvk") {
        check(support::run(TVK_PROGRAM, arguments, variables), each);
      } else if (each.program == "tvk-modem") {
        arguments.insert(arguments.end(), {"--state", modem->state()});
        check(support::run(TVK_MODEM_PROGRAM, arguments, variables), each);
      } else if (each.program == "echo") {
        std::ofstream(properties(), std::ios::app) << arguments.at(0) << "\n";
      } else {
        ASSERT_EQ(each.program, "cat");
        auto lines = lines_of(properties());
        std::sort(lines.begin(), lines.end());
        EXPECT_EQ(joined(lines), joined(each.output));
      }
    }
  }

 private:
  [[nodiscard]] std::string properties() const { return dir_.file("properties"); }

  static void check(const support::process_result& got, const step& wanted) {
    EXPECT_EQ(support::masked(got.output), joined(wanted.output));
    EXPECT_FALSE(got.timed_out);
    EXPECT_EQ(got.signal, wanted.aborts ? SIGABRT : 0);
    EXPECT_EQ(got.exit_status, wanted.aborts ? -1 : 0);
    if (wanted.error_texts.empty()) {
      EXPECT_EQ(got.errors, "");
    }
    for (const auto& text : wanted.error_texts) {
      EXPECT_NE(got.errors.find(text), std::string::npos) << text << " in:\n" << got.errors;
    }
  }

  cli_case wanted_;
  support::temp_dir dir_;
};

void register_cases() {
  const std::filesystem::path folder = TVK_CLI_CASES_DIR;
  case_reader reader;
  reader.read(folder / "blocks.case");
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const auto& path = entry.path();
    if (path.extension() != ".case") continue;
    for (const auto& each : reader.read(path)) {
      std::string name = each.name;
      std::replace_if(
          name.begin(), name.end(),
          [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
      testing::RegisterTest(path.stem().c_str(), name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                            [each]() -> testing::Test* { return new cli_test(each); });
      ++count;
    }
  }
  if (count == 0) throw std::runtime_error("no cases in " TVK_CLI_CASES_DIR);
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  try {
    register_cases();
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
  return RUN_ALL_TESTS();
}
