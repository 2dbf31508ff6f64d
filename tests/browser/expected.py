"""What a page of charts must show, computed from the lines of -f jsonl alone."""
import json
import math
from collections import defaultdict
from datetime import datetime

# Records that tell the serving cell: technology, column of the channel.
TELLING = {"lte_srv_meas_pcc": ("LTE", "dl_earfcn"), "lte_rrc_serving_cell_info": ("LTE", "dl_earfcn"),
           "nr5g_srv_meas_pcc": ("NR", "ssb_nr_arfcn"), "nr5g_rrc_serving_cell_info": ("NR", "ssb_nr_arfcn")}
# Chart: series=record.column; '#' is a receive chain, '!' a percentage of zeros, '+1' is added.
CHARTS = """
RSRP: LTE Rx#=lte_srv_meas_pcc.rsrp_rx#_dBm; LTE secondary Rx#=lte_srv_meas_scc.rsrp_rx#_dBm
RSRP: NR Rx#=nr5g_srv_meas_pcc.rsrp_rx#_dBm
RSRQ: LTE Rx#=lte_srv_meas_pcc.rsrq_rx#_dB; LTE secondary Rx#=lte_srv_meas_scc.rsrq_rx#_dB; NR=nr5g_srv_meas_pcc.rsrq_dB
RSSI: LTE Rx#=lte_srv_meas_pcc.rssi_rx#_dBm; LTE secondary Rx#=lte_srv_meas_scc.rssi_rx#_dBm
SINR: LTE Rx#=lte_srv_meas_pcc.snr_rx#_dB; LTE secondary Rx#=lte_srv_meas_scc.snr_rx#_dB
Serving cell: LTE=lte_srv_meas_pcc.pci; NR=nr5g_srv_meas_pcc.pci
Transmit power: LTE PUSCH=lte_tx_power.pusch_tx_power_dBm; LTE PUCCH=lte_tx_power.pucch_tx_power_dBm
Transmit power: LTE PUSCH asked for=lte_pusch_power_control.pusch_unlimited_tx_power_dBm
Transmit power: LTE PUCCH asked for=lte_pucch_power_control.pucch_unlimited_tx_power_dBm
Power headroom: LTE=lte_mac_ul_transport_block.phr_index
Path loss: LTE PUSCH=lte_pusch_power_control.dl_path_loss_dB; LTE PUCCH=lte_pucch_power_control.dl_path_loss_dB
Downlink throughput: LTE=lte_pdsch_stat.tb_sum_bytes
Downlink block error rate: LTE=lte_pdsch_stat.!crc_passed
Downlink MCS: LTE=lte_pdsch_stat.pdsch_mcs
Downlink modulation: LTE=lte_pdsch_stat.pdsch_modulation_bits
Downlink layers and reported rank: LTE=lte_pdsch_stat.num_layers; LTE reported rank=lte_pusch_csf.rank_index+1
Channel quality indicator: LTE code word 0=lte_pusch_csf.cqi_cw0
Uplink MCS: LTE=lte_tx_power.pusch_mcs
Uplink resource blocks: LTE=lte_tx_power.num_pusch_rb
Uplink buffer, logical channel group 3: LTE=lte_mac_ul_transport_block.bsr_lcg3_average_bytes
AGC: level received: LTE Rx#=lte_ll1_rx_agc.rssi_rx#_dBm; WCDMA Rx#=wcdma_l1_pn_search.rssi_rx#_dBm
"""
