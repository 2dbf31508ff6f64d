// Runs the cases of tests/cli/*.case, one test each, named by file and case.
//
// A case file reads like a transcript of a shell:
//
//   == name of the case
//   # a remark, only before the first command with an output
//   $ tvk-modem --fault extension/2=silent &      a simulated modem runs (options at will)
//   $ export TVK_MODEM=bogus                      an addition to the environment
//   $ echo "persist.x=1" >>properties             a line for the property file
//   $ tvk 6 0 "0x 1"                              the command: words, double quotes group
//   the exact standard output, up to the next command or case
//   {aborts}                                      ended by SIGABRT; otherwise exit status 0
//   {exit 3}                                      that exit status
//   {stderr some text}                            standard error holds the text; otherwise empty
//   $ tvk-modem nv get 550                        so does this one, on the modem's state
//   $ cat properties                              the property file, its lines sorted
//
// Commands run in order, against one modem and one property file; both are the case's own.
//
// In the output these lines stand for others:
//   {usage 5}         the banner, section 5 and the footer of usage.txt; {usage}: all of it
//   {client made}     what making the extension client prints
//   {exchanged 444}   what an exchange prints of which 444 bytes came back
//   {anywhere TEXT}   the line TEXT, here or later: another thread's
// In commands and output {3*"ab"} stands for ababab and {cr} for a carriage return. A source line
// number is masked: `RIL[name:123]: ` must be given as `RIL[name:#]: `, and a UIM client's handle
// as
// `#`. Empty lines at the end of a case belong to its output; the single empty line before the next
// `==` does not.
//
// A case whose modem has an --at-device is skipped unless that path can be made here.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/at_device.h"
#include "support/printed.h"
#include "support/process.h"
#include "support/simulated_modem.h"
#include "support/temp_dir.h"

namespace {

struct step {
  enum class kind : std::uint8_t { tvk, tvk_modem, echo, cat };
  kind what = kind::tvk;
  std::vector<std::string> arguments = {};
  std::vector<std::string> output = {};
  std::vector<std::pair<std::size_t, std::string>> anywhere =
      {};  ///< first place in `output`, line
  int exit_status = 0;
  bool aborts = false;
  std::vector<std::string> error_texts = {};
};

struct cli_case {
  std::string name;
  bool with_modem = false;
  std::vector<std::string> faults;
  std::vector<std::string> options;
  support::environment variables;
  std::vector<step> steps;
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
  for (auto at = text.find("{cr}"); at != std::string::npos; at = text.find("{cr}")) {
    text.replace(at, 4, "\r");
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
      if (in_output_ && !output().empty() && output().back().empty()) output().pop_back();
      finish();
      cases_.emplace_back().name = line.substr(3);
    } else if (line.starts_with("$ ")) {
      take_command(words_of(expanded(line.substr(2))));
    } else if (in_output_) {
      take_outcome(line);
    } else if (!line.empty() && !line.starts_with("#")) {
      throw std::runtime_error("not understood before a command: " + line);
    }
  }

  void take_command(std::vector<std::string> words) {
    in_output_ = false;
    auto& current = cases_.at(cases_.size() - 1);
    const std::string program = words.at(0);
    words.erase(words.begin());
    if (program == "tvk-modem" && words.back() == "&") {
      current.with_modem = true;
      words.pop_back();
      for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "--fault") {
          current.faults.push_back(words.at(++i));
        } else {
          current.options.push_back(words[i]);
        }
      }
    } else if (program == "export") {
      const auto equals = words.at(0).find('=');
      current.variables[words[0].substr(0, equals)] = words[0].substr(equals + 1);
    } else if (program == "echo" && words.size() == 2 && words[1] == ">>properties") {
      current.steps.push_back({.what = step::kind::echo, .arguments = {words[0]}});
    } else if (program == "tvk" || program == "tvk-modem") {
      const auto what = program == "tvk" ? step::kind::tvk : step::kind::tvk_modem;
      current.steps.push_back({.what = what, .arguments = words});
      in_output_ = true;
    } else if (program == "cat" && words == std::vector<std::string>{"properties"}) {
      current.steps.push_back({.what = step::kind::cat});
      in_output_ = true;
    } else {
      throw std::runtime_error("no such program in cases: " + program);
    }
  }

  void take_outcome(const std::string& line) {
    auto& current = cases_.back().steps.back();
    std::string text;  // behind the directive's name
    const auto is = [&](const std::string& name) {
      if (line != "{" + name + "}" &&
          !(line.starts_with("{" + name + " ") && line.ends_with("}"))) {
        return false;
      }
      text = line.substr(1, line.size() - 2);
      text.erase(0, std::min(name.size() + 1, text.size()));
      return true;
    };
    if (is("aborts")) {
      current.aborts = true;
    } else if (is("exit")) {
      current.exit_status = std::stoi(text);
    } else if (is("stderr")) {
      current.error_texts.push_back(text);
    } else if (is("anywhere")) {
      current.anywhere.emplace_back(output().size(), text);
    } else if (is("usage")) {
      append(usage(text.empty() ? 0 : std::stoi(text)));
    } else if (is("client made")) {
      const std::string list = "NORVEL_QMI_NV: qmi_client_get_service_list() returned 0 ";
      append(list + "num_services = 1\n" + list + "num_entries = 1 num_services = 1\n" +
             "QMI client inited\n");
    } else if (is("exchanged")) {
      append("norvel_extend_qmi_send_sync resp_len:" + text +
             "\nnorvel_extend_qmi_handle_req_cb result:0\n");
    } else {
      output().push_back(expanded(line));
    }
  }

  void append(const std::string& lines) {
    std::istringstream text(lines);
    for (std::string each; std::getline(text, each);) output().push_back(each);
  }

  std::vector<std::string>& output() { return cases_.back().steps.back().output; }

  void finish() {
    if (!cases_.empty() && cases_.back().steps.empty()) {
      throw std::runtime_error("a case without a command: " + cases_.back().name);
    }
    in_output_ = false;
  }

  std::vector<cli_case> cases_;
  bool in_output_ = false;
};

/// Takes the lines that may be anywhere out of `text`; whether all were there, in their order.
bool take_out(std::string& text, const std::vector<std::pair<std::size_t, std::string>>& wanted) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  std::size_t from = 0;
  for (const auto& [place, line] : wanted) {
    from = std::max(from, place);
    if (from > lines.size()) return false;
    const auto begin = lines.begin() + static_cast<std::ptrdiff_t>(from);
    const auto found = std::find(begin, lines.end(), line);
    if (found == lines.end()) return false;
    from = static_cast<std::size_t>(found - lines.begin());
    lines.erase(found);
  }
  text = joined(lines);
  return true;
}

class cli_test : public testing::Test {
 public:
  explicit cli_test(cli_case wanted) : wanted_(std::move(wanted)) {}

  void TestBody() override {
    std::unique_ptr<support::at_device> device;  // given back after the modem has ended
    const auto option = std::find(wanted_.options.begin(), wanted_.options.end(), "--at-device");
    if (option != wanted_.options.end()) {
      device = std::make_unique<support::at_device>(*std::next(option));
      if (!device->usable()) GTEST_SKIP() << *std::next(option) << " cannot be made here";
    }
    std::unique_ptr<support::simulated_modem> modem;
    if (wanted_.with_modem) {
      modem = std::make_unique<support::simulated_modem>(
          wanted_.faults, support::simulated_modem::begin::at_once, wanted_.options);
    }
    variables_ = wanted_.variables;
    variables_.emplace("TVK_PROPERTIES", properties());
    variables_.emplace("TVK_MODEM", modem ? modem->endpoint() : "unix:" + dir_.file("modem.sock"));
    for (const auto& each : wanted_.steps) {
      SCOPED_TRACE(joined(each.arguments));
      if (each.what == step::kind::echo) {
        std::ofstream(properties(), std::ios::app) << each.arguments[0] << "\n";
      } else if (each.what == step::kind::cat) {
        auto lines = std::filesystem::exists(properties()) ? lines_of(properties())
                                                           : std::vector<std::string>{};
        std::sort(lines.begin(), lines.end());
        EXPECT_EQ(joined(lines), joined(each.output));
      } else if (each.what == step::kind::tvk_modem) {
        auto arguments = each.arguments;
        arguments.insert(arguments.end(), {"--state", modem->state()});
        check(support::run(TVK_MODEM_PROGRAM, arguments, variables_), each);
      } else {
        check(support::run(TVK_PROGRAM, each.arguments, variables_), each);
      }
    }
  }

 private:
  [[nodiscard]] std::string properties() const { return dir_.file("properties"); }

  static void check(const support::process_result& got, const step& wanted) {
    auto output = support::masked(got.output);
    EXPECT_TRUE(take_out(output, wanted.anywhere));
    EXPECT_EQ(output, joined(wanted.output));
    EXPECT_FALSE(got.timed_out);
    EXPECT_EQ(got.signal, wanted.aborts ? SIGABRT : 0);
    if (!wanted.aborts) {
      EXPECT_EQ(got.exit_status, wanted.exit_status);
    }
    if (wanted.error_texts.empty()) {
      EXPECT_EQ(got.errors, "");
    }
    for (const auto& text : wanted.error_texts) {
      EXPECT_NE(got.errors.find(text), std::string::npos) << text << " in:\n" << got.errors;
    }
  }

  cli_case wanted_;
  support::temp_dir dir_;
  support::environment variables_;
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
          name.begin(), name.end(),
          [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
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
