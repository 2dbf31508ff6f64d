// The vendor's extension service. Its messages share one layout:
//   TLV 0x01 u32 type (request) or result (response); TLV 0x02 u32 data_len;
//   TLV 0x10, optional, the payload: 512 bytes of which data_len count.
// A shorter payload is accepted in requests; an answer's is always 512 bytes.
#pragma once

#include "services/norvel_extend_qmi_v01.h"
#include "simulator/service.h"

namespace sim {

constexpr std::uint8_t extension_result_tlv = 0x01;

[[nodiscard]] reply answer_extension(const request& asked);
[[nodiscard]] std::string describe_extension_request(protocol::byte_view request);
[[nodiscard]] std::string describe_extension_answer(protocol::byte_view request,
                                                    protocol::byte_view answer);

inline constexpr tlv_row extension_request_tlvs[] = {
    {0x01, "type"},
    {0x02, "data_len"},
    {0x10, "payload", shown_as::bytes},
};
inline constexpr tlv_row extension_response_tlvs[] = {
    {0x01, "result"},
    {0x02, "data_len"},
    {0x10, "payload", shown_as::bytes},
};
inline constexpr message_row extension_messages[] = {
    {norvel_extend_qmi_request_v01, "exchange", answer_extension, extension_request_tlvs,
     extension_response_tlvs, describe_extension_request, describe_extension_answer},
    {norvel_extend_qmi_message_3_v01, "exchange 3", answer_extension, extension_request_tlvs,
     extension_response_tlvs, describe_extension_request, describe_extension_answer},
};

}  // namespace sim
