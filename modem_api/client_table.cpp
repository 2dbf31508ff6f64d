#include "modem_api/client_table.h"

#include <algorithm>
#include <array>
#include <deque>
#include <new>
#include <utility>

#include "platform/mutex.h"
#include "qcril-common/utilities/orvax_log.h"
#include "qcril-common/utilities/orvax_memory.h"

namespace modem_api {
namespace {

/// A pending call of a status callback.
struct status_report {
  modem_api_status_cb callback;
  std::uint32_t event;
  std::uint32_t client_type;
};

struct client_table {
  std::array<client*, modem_api_max_clients> slots TVK_GUARDED_BY(lock){};
  std::deque<status_report> reports TVK_GUARDED_BY(lock);
  bool is_reporting TVK_GUARDED_BY(lock) = false;
  platform::mutex lock;  ///< innermost lock: no callback or other lock while it is held
};

// Never destroyed: threads of the QMI library report to it until the process ends.
client_table& g_table = *new client_table;

thread_local int callbacks_running = 0;

struct callback_scope {
  callback_scope() { ++callbacks_running; }
  ~callback_scope() { --callbacks_running; }
  callback_scope(const callback_scope&) = delete;
  callback_scope& operator=(const callback_scope&) = delete;
};

std::uint32_t event_of(std::int32_t status) {
  if (status == MODEM_API_STATUS_OPERATIONAL) return MODEM_API_EVENT_OPERATIONAL;
  if (status == MODEM_API_STATUS_DOWN) return MODEM_API_EVENT_DOWN;
  return 0;
}

client*& slot_of(std::uint32_t id) TVK_REQUIRES(g_table.lock) {
  return g_table.slots.at(id);
}

}  // namespace

void forget_clients() {
  const platform::mutex_lock hold(g_table.lock);
  g_table.slots.fill(nullptr);
}

std::optional<std::uint32_t> add_client(const client& added) {
  constexpr const char* function = "modem_api_init_client";
  void* const memory = orvax_malloc_adv(sizeof(client));
  if (memory == nullptr) {
    ORVAX_LOG(ANDROID_LOG_ERROR, function, "could not allocate memory");
    return std::nullopt;
  }
  {
    const platform::mutex_lock hold(g_table.lock);
    const auto free = std::ranges::find(g_table.slots, nullptr);
    if (free != g_table.slots.end()) {
      *free = new (memory) client(added);
      (*free)->id = static_cast<std::uint32_t>(free - g_table.slots.begin());
      ORVAX_LOG(ANDROID_LOG_DEBUG, function, "new client: type %d, id %d",
                static_cast<int>(added.type), static_cast<int>((*free)->id));
      return (*free)->id;
    }
  }
  ORVAX_LOG(ANDROID_LOG_ERROR, function, "no more client can be added");
  orvax_free_adv(memory);
  return std::nullopt;
}

void remove_client(std::uint32_t id) {
  const platform::mutex_lock hold(g_table.lock);
  orvax_free_adv(std::exchange(slot_of(id), nullptr));
}

std::optional<client> find_client(std::uint32_t id) {
  const platform::mutex_lock hold(g_table.lock);
  if (id >= modem_api_max_clients || slot_of(id) == nullptr) return std::nullopt;
  return *slot_of(id);
}

void set_client_status(std::uint32_t id, std::int32_t status) {
  const platform::mutex_lock hold(g_table.lock);
  if (client* const found = slot_of(id)) found->operational_status = status;
}

std::optional<std::int32_t> share_status(std::uint32_t id) {
  const platform::mutex_lock hold(g_table.lock);
  client* const own = slot_of(id);
  if (own == nullptr) return std::nullopt;
  for (const client* const each : g_table.slots) {
    if (each == nullptr || each == own || each->type != own->type) continue;
    if (each->operational_status == MODEM_API_STATUS_OPERATIONAL) {
      own->operational_status = MODEM_API_STATUS_OPERATIONAL;
    }
    return each->operational_status;
  }
  return std::nullopt;
}

void report_event(std::uint32_t client_type, std::uint32_t event, const void* data,
                  std::uint32_t length) {
  for (std::uint32_t id = 0; id < modem_api_max_clients; ++id) {
    const auto receiver = find_client(id);
    if (!receiver || receiver->type != client_type || receiver->event_cb == nullptr) continue;
    const callback_scope scope;
    receiver->event_cb(event, data, length);
  }
}

void store_service_status(std::uint32_t client_type, std::int32_t status) {
  constexpr const char* function = "modem_api_operational_status_cb";
  ORVAX_LOG(ANDROID_LOG_DEBUG, function, "function entry");
  const std::uint32_t event = event_of(status);
  const platform::mutex_lock hold(g_table.lock);
  for (client* const each : g_table.slots) {
    if (each == nullptr || each->type != client_type) continue;
    each->operational_status = status;
    ORVAX_LOG(ANDROID_LOG_DEBUG, function, "client type %d, client id %d, operational_status %d",
              static_cast<int>(each->type), static_cast<int>(each->id), status);
    if (event == 0 || each->operational_status_cb == nullptr) continue;
    g_table.reports.push_back({each->operational_status_cb, event, client_type});
  }
}

void report_service_status() {
  for (bool is_first = true;; is_first = false) {
    status_report next{};
    {
      const platform::mutex_lock hold(g_table.lock);
      if (is_first && g_table.is_reporting) return;
      g_table.is_reporting = !g_table.reports.empty();
      if (!g_table.is_reporting) return;
      next = g_table.reports.front();
      g_table.reports.pop_front();
    }
    const callback_scope scope;
    next.callback(next.event, next.client_type);
  }
}

bool is_in_callback() {
  return callbacks_running != 0;
}

}  // namespace modem_api

void modem_api_operational_status_cb(std::uint32_t client_type, std::int32_t status) {
  modem_api::store_service_status(client_type, status);
  modem_api::report_service_status();
}
