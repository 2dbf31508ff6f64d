#include "modem_api/client_table.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

#include "platform/mutex.h"
#include "qcril-common/utilities/orvax_log.h"
#include "qcril-common/utilities/orvax_memory.h"

namespace modem_api {
namespace {

struct client_table {
  std::array<client*, modem_api_max_clients> slots TVK_GUARDED_BY(lock){};
  platform::mutex lock;  ///< the innermost: nothing is called while it is held
};

// Never destroyed: threads of the QMI library report to it until the process has ended.
client_table& g_table = *new client_table;

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

void tell_event(std::uint32_t client_type, std::uint32_t event, const void* data,
                std::uint32_t length) {
  for (std::uint32_t id = 0; id < modem_api_max_clients; ++id) {
    const auto told = find_client(id);
    if (!told || told->type != client_type || told->event_cb == nullptr) continue;
    told->event_cb(event, data, length);
  }
}

}  // namespace modem_api

void modem_api_operational_status_cb(std::uint32_t client_type, std::int32_t status) {
  using namespace modem_api;
  ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "function entry");
  std::array<modem_api_status_cb, modem_api_max_clients> concerned{};
  {
    const platform::mutex_lock hold(g_table.lock);
    for (client* const each : g_table.slots) {
      if (each == nullptr || each->type != client_type) continue;
      each->operational_status = status;
      concerned.at(each->id) = each->operational_status_cb;
      ORVAX_LOG(ANDROID_LOG_DEBUG, __func__, "client type %d, client id %d, operational_status %d",
                static_cast<int>(each->type), static_cast<int>(each->id), status);
    }
  }
  std::uint32_t event = 0;
  if (status == MODEM_API_STATUS_OPERATIONAL) event = MODEM_API_EVENT_OPERATIONAL;
  if (status == MODEM_API_STATUS_DOWN) event = MODEM_API_EVENT_DOWN;
  if (event == 0) return;
  for (const auto callback : concerned) {
    if (callback != nullptr) callback(event, client_type);
  }
}
