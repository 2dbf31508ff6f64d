// The HTML page as an output format: gathers what records say and writes the page at the end.
#pragma once

#include <memory>
#include <mutex>

#include "decode/output/record_output.h"
#include "decode/page/drive.h"

namespace decode::page {

class page_store final : public record_store {
 public:
  [[nodiscard]] std::unique_ptr<record_writer> make_writer(const std::string& file) override;

  [[nodiscard]] drive& all() { return all_; }

 private:
  extraction_plan plan_;
  drive all_{plan_};
};

}  // namespace decode::page
