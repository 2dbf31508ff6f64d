// Extension requests of type 2, which carry NV items and EFS files. All share one layout.
#pragma once

#include <cstddef>
#include <cstdint>

#include "norvel_extend_qmi/norvel_extend_client.h"

constexpr unsigned int nvefs_request_type = 2;

enum nvefs_operation : std::uint8_t {
  nvefs_nv_read = 1,
  nvefs_nv_write = 2,
  nvefs_nv_delete = 3,
  nvefs_efs_read = 4,
  nvefs_efs_write = 5,
  nvefs_efs_delete = 6,
};

constexpr unsigned int nvefs_max_path = 71;
constexpr unsigned int nvefs_data_room = 424;

struct nvefs_request {
  std::uint8_t operation;
  std::uint8_t sub_id;
  std::uint16_t nv_id;
  std::uint8_t path_len;
  char path[nvefs_max_path];   ///< without terminator
  std::uint32_t data_len_all;  ///< EFS write: the whole file; NV write: the item
  std::uint32_t send_num;      ///< EFS write: bytes of this chunk
  std::uint32_t data_len_cur;  ///< offset of this chunk in the file
  std::uint8_t data[nvefs_data_room];
};
static_assert(sizeof(nvefs_request) == norvel_extend_qmi_max_data);
static_assert(offsetof(nvefs_request, path) == 5);
static_assert(offsetof(nvefs_request, data_len_all) == 76);
static_assert(offsetof(nvefs_request, send_num) == 80);
static_assert(offsetof(nvefs_request, data_len_cur) == 84);
static_assert(offsetof(nvefs_request, data) == 88);

struct nvefs_response {
  std::uint32_t unused_0;
  std::uint32_t data_len_all;  ///< bytes of the whole file or item
  std::uint32_t data_len;      ///< bytes of this chunk
  std::uint32_t unused_12;
  std::int32_t result;  ///< 0 success
  std::uint8_t data[nvefs_data_room];
};
static_assert(sizeof(nvefs_response) == 444);
static_assert(offsetof(nvefs_response, result) == 16);
static_assert(offsetof(nvefs_response, data) == 20);
