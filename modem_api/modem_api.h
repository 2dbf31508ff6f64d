// The modem's radio measurements over QMI, for up to ten clients. Each client uses one of four QMI
// services and is notified when that service is lost and when it comes back.
//
//   modem_api_init, modem_api_init_client, modem_api_set_orvax_feature_status,
//   modem_api_get_stats_parameter..., modem_api_free_client, modem_api_release
//
// All functions are thread-safe. Callbacks run without a lock and may send requests. Initialising
// the library and creating or freeing clients may have to wait for the very thread that a callback
// runs on, so in a callback they fail with MODEM_API_NOT_SUPPORTED.
#pragma once

#include <cstdint>

#include "services/vendor_stats_v01.h"

enum : std::uint32_t {
  MODEM_API_SUCCESS = 0,
  MODEM_API_FAILURE = 1,
  MODEM_API_RESPONSE = 2,     ///< for response callbacks: the response has arrived
  MODEM_API_NO_RESPONSE = 3,  ///< for response callbacks: no response arrived
  MODEM_API_NOT_SUPPORTED = 4,
  MODEM_API_INVALID_ARGUMENT = 5,
  MODEM_API_NO_CLIENT = 7,  ///< not registered, of another type, or its service is down
  MODEM_API_NOT_READY = 8,
  MODEM_API_ABORTED = 10,
  MODEM_API_TIMED_OUT = 11,
  MODEM_API_TRANSPORT_FAILURE = 12,
};

/// Client types: the QMI service that a client uses.
enum : std::uint32_t {
  MODEM_API_CLIENT_VS = 0,
  MODEM_API_CLIENT_SAR = 1,
  MODEM_API_CLIENT_NAS_0 = 2,
  MODEM_API_CLIENT_NAS_1 = 3,
};

enum : std::int32_t {
  MODEM_API_STATUS_OPERATIONAL = 3,
  MODEM_API_STATUS_DOWN = 4,
};

/// Events for an operational_status_cb.
enum : std::uint32_t {
  MODEM_API_EVENT_DOWN = 0x10001,
  MODEM_API_EVENT_OPERATIONAL = 0x10002,
};

constexpr std::uint32_t modem_api_max_clients = 10;

/// An indication of the client's service: its message id, its C structure and the structure's size.
using modem_api_event_cb = void (*)(std::uint32_t event, const void* data, std::uint32_t length);
/// MODEM_API_EVENT_..., on a library thread.
using modem_api_status_cb = void (*)(std::uint32_t event, std::uint32_t client_type);

std::uint32_t modem_api_init();

/// Registers a client. The first client of type vs connects to the service, waiting about nine
/// seconds for it to appear. `client_id` is written on success; callbacks may be null.
std::uint32_t modem_api_init_client(std::uint32_t type, modem_api_event_cb event_cb,
                                    modem_api_status_cb operational_status_cb,
                                    std::uint32_t* client_id);

/// Closes the connection too, even if other clients of the type share it. Freeing a client again
/// succeeds.
std::uint32_t modem_api_free_client(std::uint32_t client_id);

/// Forgets all clients. Free them first: this releases neither connections nor memory.
void modem_api_release();

/// Turns on the collection of statistics.
std::uint32_t modem_api_set_orvax_feature_status(std::uint32_t client_id);

/// Requests the record `id` of a subscription. `number` counts the caller's requests. The answer is
/// not checked: it may have no entry, or several.
std::uint32_t modem_api_get_stats_parameter(std::uint32_t client_id, std::uint16_t sub,
                                            std::uint16_t number, std::uint32_t id,
                                            vendor_stats_get_resp_v01& answer);
