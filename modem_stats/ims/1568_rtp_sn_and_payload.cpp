// Log 0x1568, IMS RTP sequence number and payload: the codec of a voice frame.
// Layout: docs/formats/wcdma_gsm_ims.md.
#include "modem_stats/packet_decoder.h"
#include "modem_stats/parsers.h"
#include "modem_stats/records/wcdma_gsm_ims.h"

void modem_stats_parse_1568_diag_log_ims_rtp_sn_and_payload(modem_stats::packet_decoder& in) {
  using namespace modem_stats;
  const auto version = in.next<u8>("version");
  in.check_version(version, {13});
  in.skip(11);
  const auto codec_type = in.next<u8>("codec_type");
  in.skip(8);
  const auto frame_type = in.next<u8>("frame_type");
  in.print("version = %d, codec_type = %d, frame_type = %d", version, codec_type, frame_type);
  in.publish(ims_rtp_record, "version"_f = version, "codec_type"_f = codec_type,
             "frame_type"_f = frame_type);
}
