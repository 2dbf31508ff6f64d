// Group 5: DIAG requests, cards, maintenance, eSIM.
#include "tvk/norvel_qmi_test_cmn.h"

#include "tvk/command_group.h"
#include "tvk/commands.h"

namespace {

/// Wraps a command that prints its own failures and returns nothing.
template <void (*Command)()>
int without_result(int /*argc*/, char** /*argv*/) {
  Command();
  return 0;
}

constexpr sub_command cmn_commands[] = {
    {0, norvel_cmn_diag_cmd_send},
    {1, norvel_cmn_card_status_query},
    {2, norvel_cmn_card_status_get},
    {3, norvel_cmn_card_status_set},
    {4, norvel_cmn_card_type_query},
    {5, without_result<norvel_cmn_test_modem_ssr>},
    {6, without_result<norvel_cmn_test_full_dump>},
    {7, without_result<norvel_cmn_test_nv_sync>},
    {8, without_result<norvel_cmn_test_get_sar_dsi>},
    {9, norvel_cmn_card_hotswap_test},
    {10, norvel_cmn_esim_test},
};

}  // namespace

const command_group g_cmn_group{
    .number = 5, .printed = notes::unless_quiet, .commands = cmn_commands};

int norvel_test_cmn_do(int argc, char** argv) {
  return run_group(g_cmn_group, argc, argv);
}
