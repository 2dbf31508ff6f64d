// Runs the cases of tests/cli/*.case, one test each, named by file and case.
//
// A case file reads like a transcript of a shell:
//
//   == name of the case
//   # a remark, only before the command
//   $ tvk-modem --fault extension/2=silent &      a simulated modem runs (faults optional)
//   $ export TVK_MODEM=bogus                      an addition to the environment
//   $ tvk 6 0 "0x 1"                              the command: words, double quotes group
//   the exact standard output, up to the next case
//   {aborts}                                      ended by SIGABRT; otherwise exit status 0
//   {exit 3}                                      that exit status
//   {stderr some text}                            standard error holds the text; otherwise empty
//
// In the output a line `{usage 5}` stands for the banner, section 5 and the footer of usage.txt,
// `{usage}` for all of it. In commands and output {3*"ab"} stands for ababab. A source line number
// is masked: `RIL[name:123]: ` must be given as `RIL[name:#]: `. Empty lines at the end of a case
// belong to its output; the single empty line before the next `==` does not.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/process.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"

namespace {

struct cli_case {
  std::string name;
  bool with_modem = false;
  std::vector<std::string> faults;
  support::environment variables;
  std::vector<std::string> arguments;
  std::string output;
  int exit_status = 0;
  bool aborts = false;
  std::vector<std::string> error_texts;
};

std::vector<std::string> lines_of(const std::filesystem::path& path) {
  std::ifstream in(path);
  if (!in) throw std::runtime_error("cannot read " + path.string());
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& line : lines) text += line + "\n";
  return text;
}

/// Group 0 is the whole text.
std::string usage(int group) {
  const auto lines = lines_of(TVK_CLI_CASES_DIR "/usage.txt");
  if (group == 0) return joined(lines);
  std::vector<std::string> kept = {lines.at(0), lines.at(1)};
  int section = 0;
  for (std::size_t i = 2; i + 2 < lines.size(); ++i) {
    if (lines[i].starts_with(std::to_string(section + 1) + ": ")) ++section;
    if (section == group) kept.push_back(lines[i]);
  }
  kept.insert(kept.end(), lines.end() - 2, lines.end());
  return joined(kept);
}

std::string expanded(std::string text) {
  static const std::regex repeated(R"re(\{(\d+)\*"([^"]*)"\})re");
  for (std::smatch found; std::regex_search(text, found, repeated);) {
    std::string many;
    for (int i = std::stoi(found[1]); i > 0; --i) many += found[2];
    text = found.prefix().str() + many + found.suffix().str();
  }
  return text;
}

std::vector<std::string> words_of(const std::string& line) {
  std::vector<std::string> words;
  bool quoted = false;
  bool inside = false;
  for (const char c : line) {
    if (c == '"') {
      quoted = !quoted;
      if (!inside) words.emplace_back();
      inside = true;
    } else if (c == ' ' && !quoted) {
      inside = false;
    } else {
      if (!inside) words.emplace_back();
      inside = true;
      words.back() += c;
    }
  }
  return words;
}

class case_reader {
 public:
  std::vector<cli_case> read(const std::filesystem::path& path) {
    for (const auto& line : lines_of(path)) take(line);
    finish();
    return cases_;
  }

 private:
  void take(const std::string& line) {
    if (line.starts_with("== ")) {
      if (in_output_ && !output_.empty() && output_.back().empty()) output_.pop_back();
      finish();
      cases_.emplace_back().name = line.substr(3);
    } else if (in_output_) {
      take_outcome(line);
    } else if (line.starts_with("$ ")) {
      take_command(words_of(expanded(line.substr(2))));
    } else if (!line.empty() && !line.starts_with("#")) {
      throw std::runtime_error("not understood before a command: " + line);
    }
  }

  void take_command(std::vector<std::string> words) {
    auto& current = cases_.at(cases_.size() - 1);
    const std::string program = words.at(0);
    words.erase(words.begin());
    if (program == "tvk-modem" && words.back() == "&") {
      current.with_modem = true;
      words.pop_back();
      std::erase(words, "--fault");
      current.faults = words;
    } else if (program == "export") {
      const auto equals = words.at(0).find('=');
      current.variables[words[0].substr(0, equals)] = words[0].substr(equals + 1);
    } else if (program == "tvk") {
      current.arguments = words;
      in_output_ = true;
    } else {
      throw std::runtime_error("no such program in cases: " + program);
    }
  }

  void take_outcome(const std::string& line) {
    static const std::regex directive(R"(\{(usage|aborts|exit|stderr)(?: (.*))?\})");
    auto& current = cases_.back();
    std::smatch found;
    if (!std::regex_match(line, found, directive)) return output_.push_back(expanded(line));
    if (found[1] == "aborts") current.aborts = true;
    if (found[1] == "exit") current.exit_status = std::stoi(found[2]);
    if (found[1] == "stderr") current.error_texts.push_back(found[2]);
    if (found[1] != "usage") return;
    std::istringstream text(usage(found[2].matched ? std::stoi(found[2]) : 0));
    for (std::string each; std::getline(text, each);) output_.push_back(each);
  }

  void finish() {
    if (!cases_.empty()) {
      if (!in_output_) throw std::runtime_error("a case without a command: " + cases_.back().name);
      cases_.back().output = joined(output_);
    }
    output_.clear();
    in_output_ = false;
  }

  std::vector<cli_case> cases_;
  std::vector<std::string> output_;
  bool in_output_ = false;
};

class cli_test : public testing::Test {
 public:
  explicit cli_test(cli_case wanted) : wanted_(std::move(wanted)) {}

  void TestBody() override {
    const support::temp_dir nowhere;
    std::unique_ptr<support::simulated_modem> modem;
    if (wanted_.with_modem) modem = std::make_unique<support::simulated_modem>(wanted_.faults);
    auto variables = wanted_.variables;
    variables.emplace("TVK_MODEM",
                      modem ? modem->endpoint() : "unix:" + nowhere.file("modem.sock"));

    const auto got = support::run(TVK_PROGRAM, wanted_.arguments, variables);

    static const std::regex source_line(R"((RIL\[\w+:)\d+\]: )");
    EXPECT_EQ(std::regex_replace(got.output, source_line, "$1#]: "), wanted_.output);
    EXPECT_FALSE(got.timed_out);
    EXPECT_EQ(got.signal, wanted_.aborts ? SIGABRT : 0);
    if (!wanted_.aborts) {
      EXPECT_EQ(got.exit_status, wanted_.exit_status);
    }
    if (wanted_.error_texts.empty()) {
      EXPECT_EQ(got.errors, "");
    }
    for (const auto& text : wanted_.error_texts) {
      EXPECT_NE(got.errors.find(text), std::string::npos) << text << " in:\n" << got.errors;
    }
  }

 private:
  cli_case wanted_;
};

void register_cases() {
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(TVK_CLI_CASES_DIR)) {
    if (entry.path().extension() == ".case") files.push_back(entry.path());
  }
  if (files.empty()) throw std::runtime_error("no cases in " TVK_CLI_CASES_DIR);
  std::sort(files.begin(), files.end());
  for (const auto& path : files) {
    for (const auto& each : case_reader().read(path)) {
      std::string name = each.name;
      std::replace_if(
          name.begin(), name.end(), [](char c) { return c == ' ' || c == '-'; }, '_');
      testing::RegisterTest(path.stem().c_str(), name.c_str(), nullptr, nullptr, __FILE__, __LINE__,
                            [each]() -> testing::Test* { return new cli_test(each); });
    }
  }
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
