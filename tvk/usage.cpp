#include "tvk/usage.h"

#include <cstdio>

// Tools and people compare this text to the letter: its slips and trailing blanks stay.
namespace {

constexpr char banner[] =
    "\n=========== blew: tarvik_console(tvk) cmd help "
    "=======================================================\n";
constexpr char footer[] =
    "=========== above: tarvik_console(tvk) cmd help "
    "=======================================================\n\n";

struct usage_section {
  int group;
  const char* text;
};

constexpr usage_section sections[] = {
    {1,
     "1: nv option cmd\n"
     "   tvk 1 1       /* nv test */\n"
     "   tvk 1 2 0     /* nv backup(no privacy nvs) */\n"
     "   tvk 1 2 1     /* nv backup(have privacy nvs) */\n"
     "   tvk 1 3 0     /* nv restore(no goldencopy done after restore) */\n"
     "   tvk 1 3 1     /* nv restore(do goldencopy done after restore) */\n"
     "   tvk 1 4 nvid  /* nv delete */\n"},
    {2,
     "2: imei option cmd\n"
     "   tvk 2 0       /* imei_protect disable */\n"
     "   tvk 2 1       /* imei_protect start */\n"},
    {3,
     "3: rf option cmd\n"
     "   tvk 3 0 ...   /* gpio value setting(pls input enough gpio value by notice)*/\n"
     "                    (need to reboot duing first setting) \n"
     "   tvk 3 1       /* get gpio test state */\n"
     "   tvk 3 2       /* Close gpio test(need to reboot) */\n"
     "   tvk 3 3 v_ant v_sys v_band_list\n"
     "                 /* fix tx to upper(lower) antenna for given band list */\n"
     "                    (need to reboot) \n"
     "                    v_ant: 0 - lower antenna, 1 - upper antenna \n"
     "                    v_sys: 0 - gsm, 1 - wcdma, 2 - cdma, 3 - tds, 4 - lte \n"
     "                    v_band_list: bit0~bi43 - (gsm: 850,900,1800,1900; wcdma: b1,b2,b4,b5,b8; "
     "\n"
     "                                            cdma: bc0, tds: b34,b39; lte: b1...b44 \n"
     "                    v_band_list: bit44~bi63 - (only for lte: b28b,b40b,b41b,b41c,b39b,b252,\n"
     "                                            "
     "b255,b253,b254,b66,b46,b250,b47,b48,b71,b71b,b38k ...  \n"
     "   tvk 3 4       /* get tx test state */\n"
     "   tvk 3 5       /* Close tx test(need to reboot) */\n"},
    {4,
     "4: nvefs option cmd: \n"
     "   tvk 4 1 sub nv_id             /* nv read */\n"
     "   tvk 4 2 sub nv_id nv_data     /* nv write */\n"
     "   tvk 4 3 sub nv_id             /* nv delete */\n"
     "   tvk 4 4 sub efs_path          /* efs read */\n"
     "   tvk 4 5 sub efs_path efs_data /* efs write */\n"
     "   tvk 4 6 sub efs_path          /* efs delete */\n"},
    {5,
     "5: cmn option cmd: \n"
     "   tvk 5 0 mode type time_out cmd_cnt\n"
     "                                 /* diag cmd */\n"
     "                                    mode: 0 - callback, 1 - dci; \n"
     "                                    type: 0 - with result, 1 - without result; \n"
     "                                    time_out: set time - with result, set 0 - without "
     "result. "
     "unit:ms */\n"
     "                                    cmd_cnt: diag cmd bytes */\n"
     "   tvk 5 1                       /* card status query: 0 - absent, 1 - present\n"
     "   tvk 5 2 sub                   /* card status get, sub: 0 or 1; ret: 0 - absent, 1 - "
     "present */\n"
     "   tvk 5 3 sub mode set_val      /* card status set, sub: 0 or 1; mode: 0 - general, 1 - "
     "sim; "
     "set_val: 0 - low, 1 - high */\n"
     "   tvk 5 4                       /* card type query: 0 - err, 1 - single sim, 2 - mult sim "
     "*/\n"
     "   tvk 5 5                       /* trigger SSR of modem */\n"
     "   tvk 5 6                       /* trigger Full Dump */\n"
     "   tvk 5 7                       /* trigger NV SYNC */\n"
     "   tvk 5 8                       /* get sar dsi */\n"
     "   tvk 5 9 opt option_list       /* card slot hotswap test */\n"
     "                                    opt: 0 - stop hotswap test, 1 - start hotswap test \n"
     "                                    option_list(when opt is 1 for blew inputs): \n"
     "                                      seconds_after_push : the seconds of waiting after push "
     "the card slot \n"
     "                                      seconds_after_pull : the seconds of waiting after pull "
     "the card slot \n"
     "                                      count_push_and_pull: the count of push and pull the "
     "card "
     "slot \n"
     "   tvk 5 10 esim_on debug_on     /* set esim state */\n"
     "                                    esim_on  : 1 - switch to eSIM,2 - switch to PSIM2 \n"
     "                                    debug_on : 0 - disable log print,1 - enable log print "
     "\n"},
    {6,
     "6: norvel qmi send_data\n"
     "   tvk 6 qmi_id qmi_data         /* qmi_id: Any binary data you will send */\n"
     "                                    qmi_data: Any binary data you will send \n"},
    {7,
     "7: norvel modem stats test\n"
     "   tvk 7 type(0/1) id            /* type: 0 - log; 1 - event; */\n"
     "                                    id: id of log or event \n"
     "   tvk 7 2 mask                  /* get the debug info of modem stats */\n"
     "                                    mask: 0 - check, 1 - main; 2 - diag; 4 - cm; 8 - uim, "
     "255 "
     "- all \n"},
    {8,
     "8: norvel at command test\n"
     "   tvk 8 atcmd_cxt               /* atcmd_cxt: at command context */\n"
     "                                    the len of atcmd can not > 100\n"},
    {9,
     "9: norvel modem stats qmi test\n"
     "   tvk 9 0 sub                   /* 4G PCC rssi, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 1 sub                   /* 4G SCC1 rssi, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 2 sub                   /* 4G SCC2 rssi, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 3 sub                   /* 4G SCC3 rssi, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 4 sub                   /* 4G SCC4 rssi, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 5 sub                   /* 4G SCC5 rssi, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 6 sub                   /* 4G SCC6 rssi, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 7 sub                   /* 5G PCC rssi, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 8 sub                   /* 5G PCC snr, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 9 sub                   /* 5G ANT diversity, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 10 sub                  /* 5G PCC rsrp, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 11 sub                  /* 5G SCC1 rsrp, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 12 sub                  /* 5G SCC2 rsrp, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 20 sub                  /* WCDMA rssi, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 21 sub                  /* GSM rssi, sub: 0 - sub0; 1 - sub1 */\n"
     "   tvk 9 30 0                    /* Ant info */\n"},
    {10, "10: norvel mbn test\n"},
};

}  // namespace

void show_help(int group) {
  std::fputs(banner, stdout);
  for (const usage_section& section : sections) {
    if (group == 0 || group == section.group) std::fputs(section.text, stdout);
  }
  std::fputs(footer, stdout);
}
