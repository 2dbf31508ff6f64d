// All that is the same in every record of a kind: the texts between its values, and how to write
// these. Made once, so that a value costs no look-ups.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "decode/output/text_buffer.h"
#include "decode/output/value_text.h"
#include "modem_stats/columns.h"

namespace decode {

/// What a format puts around values. Repeated parts are arrays of JSON objects in every format.
struct record_style {
  value_style values;            // outside arrays
  bool names;                    // whether these values are named
  std::string_view array_quote;  // around an array
  value_style in_arrays;
};
constexpr record_style json_record{json_values, true, "", json_values};
constexpr record_style csv_record{csv_values, false, "\"", json_values_in_csv};

/// The fields of one kind of record in one format.
class record_form {
 public:
  record_form(const modem_stats::record_schema& schema, const record_style& style);

  /// Writes all columns, each with a comma before it: the parts, then what is beside them.
  void write(text_buffer& to, const modem_stats::record_data& data) const;

 private:
  /// The kinds of values that records mostly consist of, and all the rest.
  enum class value_kind : std::uint8_t { uint8, uint16, uint32, int8, int16, int32, real, other };

  struct keyed_column {
    std::string key;  // the text before the value, with padding: ,"rsrp_rx0_dBm":
    std::size_t key_size;
    value_kind kind;
    modem_stats::column column;
  };

  struct part_form {
    const modem_stats::record_part* part;
    value_style style;
    std::string array;  // the text before the first object: ,"carriers":[
    std::vector<keyed_column> columns;
    std::size_t bytes = 0;     // of one repetition in the record
    std::size_t max_text = 0;  // of one repetition
  };

  [[nodiscard]] static part_form form_of(const modem_stats::record_part& part,
                                         const record_style& style);
  [[nodiscard]] static value_kind kind_of(const modem_stats::column& column);
  [[nodiscard]] static char* write_columns(char* out, const part_form& form,
                                           const std::uint8_t* part, const std::uint8_t* record);
  void write_array(text_buffer& to, const part_form& form, std::size_t count,
                   const std::uint8_t* part, const std::uint8_t* record) const;

  const modem_stats::record_schema* schema_;
  std::string array_end_;
  std::vector<part_form> parts_;
  part_form beside_;
};

}  // namespace decode
