// Outputs beside another output: all that they get is passed on to it.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "decode/output/record_output.h"

namespace decode {

class writer_beside : public record_writer {
 public:
  void record(const packet_source& source, const modem_stats::record_schema& schema,
              const modem_stats::record_data& data) override {
    other_->record(source, schema, data);
  }
  void line(const packet_source& source, std::string_view text) override {
    other_->line(source, text);
  }
  void counted_line(const packet_source& source, std::string_view text,
                    std::size_t count_at) override {
    other_->counted_line(source, text, count_at);
  }
  void message(const packet_source& source, const signalling::message& one) override {
    other_->message(source, one);
  }
  void flush(const running_counts& late) override { other_->flush(late); }
  void clear() override { other_->clear(); }

 protected:
  explicit writer_beside(std::unique_ptr<record_writer> other) : other_(std::move(other)) {}

 private:
  const std::unique_ptr<record_writer> other_;
};

class store_beside : public record_store {
 public:
  [[nodiscard]] bool wants_lines() const override { return other_->wants_lines(); }
  void start() override { other_->start(); }
  void port_changed(bool is_open) override { other_->port_changed(is_open); }
  void finish(const summary& counts) override { other_->finish(counts); }

 protected:
  explicit store_beside(std::unique_ptr<record_store> other) : other_(std::move(other)) {}

  [[nodiscard]] std::unique_ptr<record_writer> other_writer(const std::string& file) const {
    return other_->make_writer(file);
  }

 private:
  const std::unique_ptr<record_store> other_;
};

}  // namespace decode
