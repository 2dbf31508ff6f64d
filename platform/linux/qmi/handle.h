// The handles that the QMI client library gives out.
#pragma once

#include <memory>
#include <vector>

#include "platform/qmi_client.h"

namespace qmi {

/// What a handle stands for: a client or a notifier.
class handle_object {
 public:
  handle_object() = default;
  virtual ~handle_object() = default;
  handle_object(const handle_object&) = delete;
  handle_object& operator=(const handle_object&) = delete;

  /// Ends the object's thread; nothing calls back afterwards.
  virtual void stop() = 0;
};

/// A handle that has not been used before in this process.
[[nodiscard]] qmi_client_type new_handle();

void add_handle(qmi_client_type handle, std::shared_ptr<handle_object> object);

/// Removes and returns the object; null when there is none.
std::shared_ptr<handle_object> remove_handle(qmi_client_type handle);

[[nodiscard]] std::shared_ptr<handle_object> find_handle(qmi_client_type handle);
[[nodiscard]] std::vector<std::shared_ptr<handle_object>> all_handles();

/// Null also when the handle stands for another kind of object.
template <typename T>
[[nodiscard]] std::shared_ptr<T> find_handle_of(qmi_client_type handle) {
  return std::dynamic_pointer_cast<T>(find_handle(handle));
}

}  // namespace qmi
