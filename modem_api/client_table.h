// The registered clients.
#pragma once

#include <optional>

#include "modem_api/modem_api.h"

namespace modem_api {

struct client {
  std::uint32_t type;
  std::uint32_t id;
  std::int32_t operational_status;
  modem_api_event_cb event_cb;
  modem_api_status_cb operational_status_cb;
};

/// Empties the table; the records stay where they are.
void forget_clients();

/// Takes the first free slot. Nothing when there is none, or no memory.
[[nodiscard]] std::optional<std::uint32_t> add_client(const client& added);
void remove_client(std::uint32_t id);

/// Nothing for an empty slot.
[[nodiscard]] std::optional<client> find_client(std::uint32_t id);

/// Stores a status without a callback.
void set_client_status(std::uint32_t id, std::int32_t status);

/// The status of another client of the same type, if there is one. One that is operational makes
/// the client operational as well.
[[nodiscard]] std::optional<std::int32_t> share_status(std::uint32_t id);

/// Stores the status of a service with all its clients, and queues the calls to those that it
/// concerns. Calls nothing, so a lock may be held.
void store_service_status(std::uint32_t client_type, std::int32_t status);

/// Makes the calls that are queued, in their order: hold no lock. While another thread is at it, or
/// a callback below this one, that goes on with them instead.
void report_service_status();

/// Whether this thread runs a client's callback.
[[nodiscard]] bool is_in_callback();

/// To every client of the type.
void tell_event(std::uint32_t client_type, std::uint32_t event, const void* data,
                std::uint32_t length);

}  // namespace modem_api

/// Stores the status of a service with all its clients and calls those that it concerns.
void modem_api_operational_status_cb(std::uint32_t client_type, std::int32_t status);
