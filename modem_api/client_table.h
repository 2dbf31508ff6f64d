// The table of registered clients, and the queue of status callbacks to them.
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

/// Empties the table without freeing the records.
void forget_clients();

/// Stores the client in the first free slot. No value when the table is full or out of memory.
[[nodiscard]] std::optional<std::uint32_t> add_client(const client& added);
void remove_client(std::uint32_t id);

/// No value for an empty slot.
[[nodiscard]] std::optional<client> find_client(std::uint32_t id);

/// Stores a status without calling back.
void set_client_status(std::uint32_t id, std::int32_t status);

/// The status of another client of the same type, if there is one. If that one is operational, this
/// client becomes operational as well.
[[nodiscard]] std::optional<std::int32_t> share_status(std::uint32_t id);

/// Stores a service's status in all its clients and queues the callbacks that it causes. Does not
/// call them, so callers may hold a lock.
void store_service_status(std::uint32_t client_type, std::int32_t status);

/// Runs the queued callbacks in order. Hold no lock. If another thread is already running them, or
/// this is called from one of them, that run handles the new ones too.
void report_service_status();

/// Whether this thread is running a client's callback.
[[nodiscard]] bool is_in_callback();

/// Calls the event callback of every client of this type.
void report_event(std::uint32_t client_type, std::uint32_t event, const void* data,
                  std::uint32_t length);

}  // namespace modem_api

/// Stores a service's status in all its clients and runs the callbacks that it causes.
void modem_api_operational_status_cb(std::uint32_t client_type, std::int32_t status);
