// Radio measurements of the modem over QMI: up to ten clients, of one of four QMI services each,
// that are told when their service goes and comes back.
//
//   modem_api_init, modem_api_init_client, modem_api_set_orvax_feature_status,
//   modem_api_get_stats_parameter..., modem_api_free_client, modem_api_release
//
// Everything may be called from any thread. Callbacks run without a lock and may send requests. The
// library is not initialised and clients are not made or freed in a callback: that may wait for the
// thread the callback runs on, and is refused as MODEM_API_NOT_SUPPORTED.
#pragma once

#include <cstdint>

#include "services/vendor_stats_v01.h"

enum : std::uint32_t {
  MODEM_API_SUCCESS = 0,
  MODEM_API_FAILURE = 1,
  MODEM_API_RESPONSE = 2,     ///< to a response callback: the response is there
  MODEM_API_NO_RESPONSE = 3,  ///< to a response callback: none came
  MODEM_API_NOT_SUPPORTED = 4,
  MODEM_API_INVALID_ARGUMENT = 5,
  MODEM_API_NO_CLIENT = 7,  ///< not registered, of another type, or its service is down
  MODEM_API_NOT_READY = 8,
  MODEM_API_ABORTED = 10,
  MODEM_API_TIMED_OUT = 11,
  MODEM_API_TRANSPORT_FAILURE = 12,
};

/// Which QMI service a client uses.
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

/// To an operational_status_cb.
enum : std::uint32_t {
  MODEM_API_EVENT_DOWN = 0x10001,
  MODEM_API_EVENT_OPERATIONAL = 0x10002,
};

constexpr std::uint32_t modem_api_max_clients = 10;

/// An indication of the client's service: its message id, its C structure and the bytes of that.
using modem_api_event_cb = void (*)(std::uint32_t event, const void* data, std::uint32_t length);
/// MODEM_API_EVENT_..., on a library thread.
using modem_api_status_cb = void (*)(std::uint32_t event, std::uint32_t client_type);

std::uint32_t modem_api_init();

/// Registers a client, and connects to its service when it is the first of type vs: a service that
/// is not there is waited for about nine seconds. `client_id` is written on success; callbacks may
/// be null.
std::uint32_t modem_api_init_client(std::uint32_t type, modem_api_event_cb event_cb,
                                    modem_api_status_cb operational_status_cb,
                                    std::uint32_t* client_id);

/// Closes the connection too, though other clients of the type share it. A client already freed is
/// a success.
std::uint32_t modem_api_free_client(std::uint32_t client_id);

/// Forgets all clients. Free them first: their connections and memory stay.
void modem_api_release();

/// Switches the collection of statistics on.
std::uint32_t modem_api_set_orvax_feature_status(std::uint32_t client_id);

/// One request for the record `id` of a subscription. `number` counts the caller's requests. The
/// answer is as it came: it may have no entry, or several.
std::uint32_t modem_api_get_stats_parameter(std::uint32_t client_id, std::uint16_t sub,
                                            std::uint16_t number, std::uint32_t id,
                                            vendor_stats_get_resp_v01& answer);
