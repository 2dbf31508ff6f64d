#include "platform/linux/qmi/handle.h"

#include <atomic>
#include <map>

#include "platform/mutex.h"

namespace qmi {
namespace {

struct handle_table {
  platform::mutex lock;
  std::map<qmi_client_type, std::shared_ptr<handle_object>> objects TVK_GUARDED_BY(lock);
};

// Never destroyed: the thread of a client that is not released runs until the process ends.
handle_table& handles() {
  static handle_table& table = *new handle_table;
  return table;
}

}  // namespace

qmi_client_type new_handle() {
  static std::atomic<std::uintptr_t> last = 0;
  return reinterpret_cast<qmi_client_type>(++last);  // NOLINT(performance-no-int-to-ptr)
}

void add_handle(qmi_client_type handle, std::shared_ptr<handle_object> object) {
  handle_table& table = handles();
  const platform::mutex_lock hold(table.lock);
  table.objects.emplace(handle, std::move(object));
}

std::shared_ptr<handle_object> remove_handle(qmi_client_type handle) {
  handle_table& table = handles();
  const platform::mutex_lock hold(table.lock);
  const auto at = table.objects.find(handle);
  if (at == table.objects.end()) return nullptr;
  auto object = std::move(at->second);
  table.objects.erase(at);
  return object;
}

std::shared_ptr<handle_object> find_handle(qmi_client_type handle) {
  handle_table& table = handles();
  const platform::mutex_lock hold(table.lock);
  const auto at = table.objects.find(handle);
  return at == table.objects.end() ? nullptr : at->second;
}

std::vector<std::shared_ptr<handle_object>> all_handles() {
  handle_table& table = handles();
  const platform::mutex_lock hold(table.lock);
  std::vector<std::shared_ptr<handle_object>> all;
  for (const auto& [handle, object] : table.objects) all.push_back(object);
  return all;
}

}  // namespace qmi
