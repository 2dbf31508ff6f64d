// The modem's NV items and EFS files, for subscription 0 or 1.
//
// Results: 0; -101 to -103: the extension client's, mapped; -104 and below: argument checks here;
// anything else: the modem's own. EFS files are transferred in chunks under one mutex, NV items
// under another; both are taken before the extension client's.
#pragma once

enum norvel_nvefs_result : int {
  norvel_nvefs_sub_invalid = -104,
  norvel_nvefs_path_is_null = -105,
  norvel_nvefs_path_len_invalid = -106,
  norvel_nvefs_buf_is_null = -107,
  norvel_nvefs_buf_len_invalid = -108,
  norvel_nvefs_nv_id_out_of_range = -109,
};

/// Longest EFS file in bytes.
constexpr unsigned int norvel_efs_max_file = 102410;
/// Highest NV item number, and the maximum size of an item in bytes.
constexpr int norvel_nv_max_id = 7232;
constexpr unsigned int norvel_nv_max_data = 365;

/// Keeps the extension client's results apart from the modem's: -1, -2 and -3 become -101, -102 and
/// -103; everything else is unchanged.
int norvel_qmi_result_map(int old_result);

/// `path_len` 1 to 71. `*p_buf_len`: in the capacity of `buf`, out the bytes read; a longer file is
/// cut.
int norvel_efs_read(unsigned int sub_id, const char* path, unsigned int path_len,
                    unsigned char* buf, unsigned int* p_buf_len);

/// `path_len` 1 to 70, `buf_len` 1 to norvel_efs_max_file.
int norvel_efs_write(unsigned int sub_id, const char* path, unsigned int path_len,
                     const unsigned char* buf, unsigned int buf_len);

/// `path_len` 1 to 70.
int norvel_efs_delete(unsigned int sub_id, const char* path, unsigned int path_len);

/// `buf` has room for norvel_nv_max_data bytes; `*buf_len` out: the bytes read.
int norvel_nv_read(unsigned int sub_id, int nv_id, unsigned char* buf, unsigned int* buf_len);

/// At most norvel_nv_max_data bytes.
int norvel_nv_write_ex(unsigned int sub_id, int nv_id, const unsigned char* buf,
                       unsigned int buf_len);

int norvel_nv_delete(unsigned int sub_id, int nv_id);
