// Signalling messages for Wireshark, as pcapng. There is an interface for each radio and link type,
// made when it is first used. Writers only collect: interfaces and comments depend on what came
// before, so the frames are made in the order of the chunks.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "decode/output/file_output.h"
#include "decode/output/record_output.h"
#include "decode/output/record_text.h"
#include "decode/output/time_text.h"
#include "decode/signalling/frame.h"
#include "decode/signalling/pcapng.h"

namespace decode {

namespace {

using modem_stats::record_schema;
using signalling::message;
using signalling::row_of;

/// Radios from here on share their interfaces: garbage may look like any number of radios.
constexpr std::uint32_t other_radios = 17;

/// Records this long before a message are no comment on it.
constexpr std::int64_t most_age = 1'000'000;

/// Either a record or a message, whose bytes are elsewhere.
struct entry {
  packet_source source;
  const record_schema* schema;  // null: it is a message
  message one;
  std::size_t size;
  std::size_t beside;  // bytes beside the record, after it
};

class pcap_file final : public record_store {
 public:
  pcap_file(file_output& to, bool with_records) : to_(to), with_records_(with_records) {
    // A reader at the other end of a pipe waits for the beginning.
    if (!to.keeps_contents()) start();
  }

  std::unique_ptr<record_writer> make_writer(const std::string& file) override;

  void start() override {
    if (std::exchange(started_, true)) return;
    signalling::pcapng::append_section(text_, "tvk-decode " TVK_DECODE_VERSION);
    flush();
  }

  [[nodiscard]] bool with_records() const { return with_records_; }

  void write(const std::vector<entry>& entries, std::string_view bytes);

 private:
  /// The newest of its kind since the last message.
  struct waiting_record {
    packet_source source;
    const record_schema* schema;
    std::string bytes;
    std::size_t beside;  // of them, at their end
  };

  [[nodiscard]] static std::string comment_of(const waiting_record& record);
  [[nodiscard]] std::uint32_t interface_of(const packet_source& source, const message& one);
  void append_frame(const packet_source& source, const message& one);
  void flush() {
    to_.write(text_.view());
    text_.clear();
  }

  file_output& to_;
  const bool with_records_;
  bool started_ = false;
  text_buffer text_;
  std::vector<std::pair<std::uint32_t, std::uint16_t>> interfaces_;       // radio and link type
  std::map<std::pair<std::uint32_t, unsigned>, waiting_record> waiting_;  // by radio and data id
  std::string about_;
  std::vector<std::string> record_comments_;
  std::vector<std::string_view> comments_;
};

std::uint32_t interface_key(std::uint32_t radio) {
  return std::min(radio, other_radios);
}

std::uint32_t pcap_file::interface_of(const packet_source& source, const message& one) {
  const std::pair key(interface_key(source.radio), signalling::link_of(one));
  const auto found = std::ranges::find(interfaces_, key);
  if (found == interfaces_.end()) {
    const bool is_pdu = key.second == signalling::exported_pdu_link;
    const auto name =
        key.first == other_radios ? "other radios" : fmt::format("radio {}", key.first);
    signalling::pcapng::append_interface(text_, key.second, name + (is_pdu ? " pdu" : ""),
                                         is_pdu ? "messages for a dissector" : "GSMTAP");
    interfaces_.push_back(key);
    return static_cast<std::uint32_t>(interfaces_.size() - 1);
  }
  return static_cast<std::uint32_t>(found - interfaces_.begin());
}

/// What the frame has no place for.
void describe(const packet_source& source, const message& one, std::string& text) {
  text.clear();
  const auto out = std::back_inserter(text);
  fmt::format_to(out, "log 0x{:04X}", source.id);
  if (one.version != 0) fmt::format_to(out, " version {}", one.version);
  if (source.radio >= other_radios) fmt::format_to(out, ", radio {}", source.radio);
  if (one.channel) {
    fmt::format_to(out, ", {} {}", row_of(one.what.of).channel_label, *one.channel);
  }
  if (one.cell) {
    const bool is_umts = one.what.of == signalling::family::umts_rrc;
    fmt::format_to(out, ", {} {}", is_umts ? "PSC" : "PCI", *one.cell);
  }
  if (one.frame) fmt::format_to(out, ", SFN {}", *one.frame);
  if (one.subframe) fmt::format_to(out, ", sub-frame {}", *one.subframe);
  if (one.note != nullptr) fmt::format_to(out, ", {}", one.note);
}

std::string pcap_file::comment_of(const waiting_record& record) {
  const std::span bytes(reinterpret_cast<const std::uint8_t*>(record.bytes.data()),
                        record.bytes.size());
  const auto size = bytes.size() - record.beside;
  return fmt::format("{} {}: {}", time_text(record.source.time), record.schema->name,
                     record_text(*record.schema, {bytes.first(size), bytes.subspan(size)}));
}

void pcap_file::append_frame(const packet_source& source, const message& one) {
  const auto interface = interface_of(source, one);
  describe(source, one, about_);
  comments_.assign(1, about_);
  record_comments_.clear();
  const auto radio = interface_key(source.radio);
  const auto first = waiting_.lower_bound({radio, 0});
  const auto last = waiting_.lower_bound({radio + 1, 0});
  for (auto each = first; each != last; ++each) {
    const auto& record = each->second;
    const auto age = source.time - record.source.time;
    if (age < 0 || age > most_age) continue;
    auto text = comment_of(record);
    if (text.size() <= signalling::pcapng::most_comment)
      record_comments_.push_back(std::move(text));
  }
  waiting_.erase(first, last);
  comments_.insert(comments_.end(), record_comments_.begin(), record_comments_.end());

  std::array<char, signalling::most_frame_header> header;
  const char* const end = signalling::write_frame_header(one, header.data());
  signalling::pcapng::append_packet(
      text_, {.interface = interface,
              .time = source.time,
              .header = {header.data(), static_cast<std::size_t>(end - header.data())},
              .body = {reinterpret_cast<const char*>(one.bytes.data()), one.bytes.size()},
              .way = one.way,
              .comments = comments_});
}

void pcap_file::write(const std::vector<entry>& entries, std::string_view bytes) {
  if (entries.empty()) return;
  start();
  for (const auto& each : entries) {
    const auto data = bytes.substr(0, each.size);
    bytes.remove_prefix(each.size);
    if (each.schema != nullptr) {
      waiting_[{interface_key(each.source.radio), each.schema->id}] = {
          each.source, each.schema, std::string(data), each.beside};
      continue;
    }
    message one = each.one;
    one.bytes = {reinterpret_cast<const std::uint8_t*>(data.data()), data.size()};
    append_frame(each.source, one);
  }
  flush();
}

class pcap_entries final : public record_writer {
 public:
  explicit pcap_entries(pcap_file& to) : to_(to) {}

  void record(const packet_source& source, const record_schema& schema,
              const modem_stats::record_data& data) override {
    if (!to_.with_records()) return;
    const auto beside = data.beside.size();
    add({source, &schema, {}, data.bytes.size() + beside, beside}, data.bytes);
    append(data.beside);
  }

  void message(const packet_source& source, const signalling::message& one) override {
    if (row_of(one.what.of).by == signalling::carrier::none) return;
    add({source, nullptr, one, one.bytes.size(), 0}, one.bytes);
  }

  void flush(const running_counts& /*late*/) override {
    to_.write(entries_, bytes_.view());
    clear();
  }
  void clear() override {
    entries_.clear();
    bytes_.clear();
  }

 private:
  void add(const entry& one, std::span<const std::uint8_t> data) {
    entries_.push_back(one);
    append(data);
  }
  void append(std::span<const std::uint8_t> data) {
    bytes_.append({reinterpret_cast<const char*>(data.data()), data.size()});
  }

  pcap_file& to_;
  std::vector<entry> entries_;
  text_buffer bytes_;
};

std::unique_ptr<record_writer> pcap_file::make_writer(const std::string& /*file*/) {
  return std::make_unique<pcap_entries>(*this);
}

}  // namespace

std::unique_ptr<record_store> pcap_store(file_output& to, bool with_records) {
  return std::make_unique<pcap_file>(to, with_records);
}

}  // namespace decode
