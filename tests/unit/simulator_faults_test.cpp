#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "simulator/dispatcher.h"
#include "simulator/failure.h"
#include "simulator/faults/faults.h"
#include "simulator/services/services.h"

namespace {

const sim::service_row& extension() {
  return sim::all_services()[0];
}

sim::fault_rule parse(const char* text) {
  return sim::parse_fault_rule(text, sim::all_services());
}

TEST(fault_rule, refusal_names_rule_and_form) {
  const char* const wrong[] = {
      "",
      "extension",
      "=silent",
      "extension=",
      "extension=Silent",
      "nobody=silent",
      "0xFFE5=silent",
      "extension/=silent",
      "extension/0x=silent",
      "extension/65536=silent",
      "extension/2@0=silent",
      "extension/2@=silent",
      "extension@2=silent",
      "extension=silent:1",
      "extension=delay",
      "extension=delay:",
      "extension=delay:-1",
      "extension=delay:1x",
      "extension=error:0",
      "extension=error:65536",
      "extension=result:4294967296",
      "sar=result:1",
  };
  for (const char* text : wrong) {
    SCOPED_TRACE(text);
    try {
      (void)parse(text);
      FAIL() << "accepted";
    } catch (const sim::usage_error& error) {
      const std::string line = error.what();
      EXPECT_NE(line.find("--fault " + std::string(text) + ": "), line.npos) << line;
      EXPECT_NE(line.find("SERVICE[/MESSAGE[@N]]=ACTION[:VALUE]"), line.npos) << line;
      EXPECT_EQ(line.find('\n'), line.npos);
    }
  }
}

std::vector<std::string> struck(std::vector<const char*> rules, std::vector<int> messages) {
  std::vector<sim::fault_rule> parsed;
  for (const char* rule : rules) parsed.push_back(parse(rule));
  sim::faults faults(std::move(parsed));
  std::vector<std::string> result;
  for (const int id : messages) {
    const auto* const rule = faults.strike(extension(), static_cast<std::uint16_t>(id));
    result.push_back(rule == nullptr ? "" : rule->text);
  }
  return result;
}

TEST(faults, first_rule_wins_and_others_still_count) {
  EXPECT_EQ(struck({"extension/2@2=silent", "extension/2@3=delay:1", "extension/3=result:1"},
                   {2, 3, 2, 4, 2, 2}),
            (std::vector<std::string>{"", "extension/3=result:1", "extension/2@2=silent", "",
                                      "extension/2@3=delay:1", ""}));
  EXPECT_EQ(struck({"extension=silent", "extension/2=delay:1"}, {2}),
            (std::vector<std::string>{"extension=silent"}));
}

TEST(faults, service_down_is_for_the_start_only) {
  EXPECT_EQ(struck({"extension=down:5"}, {2}), (std::vector<std::string>{""}));
  EXPECT_EQ(sim::faults({parse("extension=down:5"), parse("extension/2=down")}).at_start().size(),
            1U);
}

}  // namespace
