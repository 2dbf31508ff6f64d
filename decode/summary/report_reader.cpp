#include "decode/summary/report_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <istream>
#include <limits>
#include <numeric>
#include <set>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "decode/input/byte_source.h"
#include "decode/input/input_files.h"
#include "decode/messages.h"
#include "decode/output/time_text.h"
#include "decode/signalling/kind.h"
#include "decode/summary/names.h"
#include "modem_stats/record_table.h"

namespace decode {

namespace {

using modem_stats::packet_kind;
using nlohmann::json;

/// Not a summary, or not a whole one. The message is for the user and does not name the file.
class summary_error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The members of an object, each with the type that is asked for.
class members {
 public:
  explicit members(const json& object) : object_(object) {}

  [[nodiscard]] bool is_null(const char* name) const { return at(name).is_null(); }
  [[nodiscard]] const std::string& text(const char* name) const {
    const auto& value = at(name);
    if (!value.is_string()) refuse(name, value);
    return value.get_ref<const std::string&>();
  }
  [[nodiscard]] double number(const char* name) const {
    const auto& value = at(name);
    if (!value.is_number()) refuse(name, value);
    return value.get<double>();
  }
  template <typename Count = std::uint64_t>
  [[nodiscard]] Count count(const char* name) const {
    const auto& value = at(name);
    if (!value.is_number_unsigned() ||
        value.get<std::uint64_t>() > std::numeric_limits<Count>::max()) {
      refuse(name, value);
    }
    return value.get<Count>();
  }
  /// What `find` makes of a text; it gives nothing for one that it does not know.
  template <typename Find>
  [[nodiscard]] auto known(const char* name, Find find) const {
    const auto found = find(text(name));
    if (!found) refuse(name, at(name));
    return *found;
  }

 private:
  [[nodiscard]] const json& at(const char* name) const {
    const auto found = object_.find(name);
    if (found == object_.end()) throw summary_error(fmt::format("\"{}\" is missing", name));
    return *found;
  }
  [[noreturn]] static void refuse(const char* name, const json& value) {
    constexpr std::size_t enough = 60;
    const auto text = value.dump(-1, ' ', false, json::error_handler_t::replace);
    throw summary_error(fmt::format("\"{}\" is {}", name, text.substr(0, enough)));
  }

  const json& object_;
};

std::optional<std::uint32_t> to_number(std::string_view text, int base) {
  std::uint32_t number = 0;
  const auto* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, number, base);
  if (result.ec != std::errc() || result.ptr != end) return {};
  return number;
}

std::optional<std::uint32_t> message_code(std::string_view text) {
  if (!text.starts_with("0x") || text.size() != 4) return {};
  return to_number(text.substr(2), 16);
}

using packet_id = std::pair<packet_kind, std::uint16_t>;

std::optional<packet_id> packet_of(std::string_view text) {
  for (const auto kind : {packet_kind::log, packet_kind::event}) {
    const bool is_log = kind == packet_kind::log;
    const std::string_view prefix = is_log ? "0x" : "event ";
    if (!text.starts_with(prefix)) continue;
    const auto id = to_number(text.substr(prefix.size()), is_log ? 16 : 10);
    constexpr std::uint32_t most_events = 4096;
    if (id && *id < (is_log ? 65536 : most_events)) return {{kind, *id}};
  }
  return {};
}

std::optional<std::uint32_t> version_of(std::string_view text) {
  const auto point = text.find('.');
  const auto number = to_number(text.substr(0, point), 10);
  if (point == std::string_view::npos || !number) return number;
  const auto minor = to_number(text.substr(point + 1), 10);
  if (!minor || (*number | *minor) > UINT16_MAX) return {};
  return *number << 16 | *minor;
}

std::optional<radio_technology> technology_of(std::string_view text) {
  for (const auto each : {radio_technology::lte, radio_technology::nr}) {
    if (technology_name(each) == text) return each;
  }
  return {};
}

std::int64_t microseconds(double seconds) {
  return std::llround(seconds * 1e6);
}

void add_radio(const members& row, summary& to) {
  const packet_count packets{row.count("packets")};
  if (row.is_null("radio")) return to.radios.add_others(packets);
  to.radios.at(row.count<std::uint32_t>("radio")).add(packets);
}

void add_message(const members& row, summary& to) {
  to.messages.add(row.known("code", message_code), row.count("packets"));
}

void add_packets(const members& row, summary& to) {
  const auto [kind, id] = row.known("source", packet_of);
  const auto packets = row.count("packets");
  if (kind == packet_kind::log) {
    to.logs.add(id, packets);
  } else {
    to.events.add(id, packets);
  }
}

void add_result(const members& row, summary& to) {
  outcome_counts counts;
  for (std::size_t i = 0; i < counts.by_outcome.size(); ++i) {
    counts.by_outcome.at(i) = row.count(json_name(outcome_names[i]).c_str());
  }
  auto& versions = to.versions[row.known("source", packet_of)];
  if (row.text("version") == other_versions) return versions.add_others(counts);
  packet_version version{row.known("version", version_of), {}};
  if (!row.is_null("sub_packet_version")) {
    version.second = row.known("sub_packet_version", version_of);
  }
  versions.at(version).add(counts);
}

void add_records(const members& row, summary& to) {
  const auto id = row.count<std::uint8_t>("data_id");
  if (modem_stats::find_record_schema(static_cast<modem_stats_data_id_e_type>(id)) == nullptr) {
    throw summary_error(fmt::format("\"data_id\" is {}", id));
  }
  to.records.add(id, row.count("records"));
}

void add_messages_of_kind(const members& row, summary& to) {
  to.signalling.add(index_of(row.known("name", signalling::kind_named)), row.count("messages"));
}

void add_cell(const members& row, summary& to) {
  const cell_counts counts{microseconds(row.number("seconds")), row.count("records")};
  if (row.is_null("radio")) return to.cells.counts().add_others(counts);
  to.cells.counts()
      .at({row.count<std::uint32_t>("radio"), row.known("technology", technology_of),
           row.count<std::uint32_t>("arfcn"), row.count<std::uint16_t>("pci")})
      .add(counts);
}

void add_file(const members& row, summary& to) {
  to.files.push_back(
      {row.text("file"), row.count("bytes"), row.count("frames"), row.count("records")});
}

/// The lists of a summary, and what adds one of their entries.
struct list_row {
  std::string_view name;
  void (*add)(const members& row, summary& to);
};
constexpr list_row lists[] = {
    {"radios", add_radio},
    {"messages", add_message},
    {"logs", add_packets},
    {"events", add_packets},
    {"results", add_result},
    {"records", add_records},
    {"signalling", add_messages_of_kind},
    {"cells", add_cell},
    {"files", add_file},
};

/// Adds the members that are not lists. Returns the seconds that the run took.
double add_numbers(const members& all, summary& to) {
  for (const auto& row : count_rows) to.*row.count = all.count(json_name(row.name).c_str());
  to.other_logs = all.count("logs_of_other_codes");
  if (!all.is_null("first_time")) {
    to.first_time = all.known("first_time", parse_time);
    to.last_time = all.known("last_time", parse_time);
    to.duration = microseconds(all.number("duration_s"));
  }
  const double rate = all.is_null("rate_MBps") ? 0 : all.number("rate_MBps");
  return rate > 0 ? static_cast<double>(to.bytes) / rate / 1e6 : 0;
}

/// Adds the entries of lists while they are parsed, and drops them: a summary may name a million
/// captures, and a file that is no summary may be of any size.
class list_reader {
 public:
  explicit list_reader(summary& to) : to_(to) {}

  /// Called by the parser; returns whether it is to keep what it has parsed.
  bool operator()(int depth, json::parse_event_t event, const json& parsed) {
    using type = json::parse_event_t;
    switch (depth) {
      case 0:
        expect(event == type::object_start || event == type::object_end);
        return true;
      case 1:
        if (event == type::key) {
          begin_member(parsed.get_ref<const std::string&>());
        } else {
          expect((event == type::array_start || event == type::array_end) == (list_ != nullptr));
          expect(event != type::object_start);
        }
        return true;
      case 2:
        expect(list_ != nullptr && (event == type::object_start || event == type::object_end));
        if (event == type::object_start) return true;
        list_->add(members(parsed), to_);
        return false;
      default:
        expect(event == type::key || event == type::value);
        return true;
    }
  }

 private:
  void begin_member(const std::string& name) {
    expect(names_.insert(name).second);
    const auto* const list = std::ranges::find(lists, name, &list_row::name);
    list_ = list == std::end(lists) ? nullptr : list;
    name_ = name;
    constexpr std::size_t more_than_any_summary = 64;
    expect(names_.size() < more_than_any_summary);
  }
  void expect(bool true_of_summaries) const {
    if (true_of_summaries) return;
    throw summary_error(name_.empty() ? "it is no JSON object"
                                      : fmt::format("\"{}\" does not belong there", name_));
  }

  summary& to_;
  std::set<std::string> names_;  // of the members so far
  std::string name_;
  const list_row* list_ = nullptr;  // null for a member that is not a list
};

/// A source as the parser reads it.
class source_buffer final : public std::streambuf {
 public:
  explicit source_buffer(byte_source& from) : from_(from) {}

 protected:
  int_type underflow() override {
    const auto size = from_.read(bytes_);
    char* const begin = reinterpret_cast<char*>(bytes_.data());
    setg(begin, begin, begin + size);
    return size == 0 ? traits_type::eof() : traits_type::to_int_type(*begin);
  }

 private:
  byte_source& from_;
  std::array<std::uint8_t, 65536> bytes_;
};

/// Returns the seconds that the run took. Throws summary_error or input_error.
double read_summary(const std::string& path, summary& to) {
  const auto source = open_source(path);
  source_buffer buffer(*source);
  std::istream text(&buffer);
  try {
    const auto rest = json::parse(text, list_reader(to));
    if (!source->damage().empty()) throw summary_error(source->damage());
    for (const auto& list : lists) {
      if (!rest.contains(list.name)) {
        throw summary_error(fmt::format("\"{}\" is missing", list.name));
      }
    }
    return add_numbers(members(rest), to);
  } catch (const json::parse_error& e) {
    const auto& why = source->damage();
    throw summary_error(why.empty() ? fmt::format("no JSON from byte {} on", e.byte) : why);
  }
}

/// Reports the summaries that count a capture which an earlier one counts too. `begins` says where
/// in `captures` those of each summary begin.
bool report_double_counts(const std::vector<std::string>& summaries,
                          const std::vector<file_summary>& captures,
                          const std::vector<std::size_t>& begins) {
  std::vector<std::size_t> order(captures.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  const auto name = [&](std::size_t index) -> const auto& {
    return captures[index].name;
  };
  std::ranges::stable_sort(order, {}, name);
  const auto summary_of = [&](std::size_t index) {
    return static_cast<std::size_t>(std::ranges::upper_bound(begins, index) - begins.begin()) - 1;
  };
  const auto standard_input = input_file{.path = "-", .named = true}.name();
  std::set<std::size_t> reported;
  for (std::size_t i = 1; i < order.size(); ++i) {
    const auto earlier = summary_of(order[i - 1]);
    const auto later = summary_of(order[i]);
    if (name(order[i - 1]) != name(order[i]) || earlier == later) continue;
    if (name(order[i]) == standard_input || !reported.insert(later).second) continue;
    report(fmt::format("{}: counts {}, as {} does", summaries[later], name(order[i]),
                       summaries[earlier]));
  }
  return !reported.empty();
}

}  // namespace

std::optional<merged_summary> merge_summaries(const std::vector<std::string>& files) {
  merged_summary all;
  bool refused = false;
  file_set seen;
  std::vector<std::size_t> begins;
  for (const auto& file : files) {
    begins.push_back(all.counts.files.size());
    try {
      struct stat status {};
      if (::stat(file.c_str(), &status) == 0 && seen.contains(status)) {
        throw input_error("named twice");
      }
      seen.add(file);
      summary one;
      all.seconds += read_summary(file, one);
      all.counts.add(one);
    } catch (const summary_error& e) {
      report(fmt::format("{}: not a whole summary: {}", file, e.what()));
      refused = true;
    } catch (const input_error& e) {
      report(fmt::format("{}: {}", file, e.what()));
      refused = true;
    }
  }
  if (report_double_counts(files, all.counts.files, begins) || refused) return {};
  return all;
}

}  // namespace decode
