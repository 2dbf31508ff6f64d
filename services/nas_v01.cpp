#include "services/nas_v01.h"

#include "services/service_rows.h"

namespace {

constexpr std::uint16_t max_message = 36643;

constexpr qmi_idl_message_table_entry messages[] = {{0, nullptr}};

constexpr services::type_table table({}, messages);

constexpr auto requests = services::with_reserved<206>({}, 0);
constexpr auto responses = services::with_reserved<206>({}, 0);
constexpr auto indications = services::with_reserved<70>({}, 0);

constexpr qmi_idl_service_object service_object = services::make_object(
    nas_service_id_v01, max_message,
    {.requests = requests, .responses = responses, .indications = indications}, table);

}  // namespace

qmi_idl_service_object_type nas_get_service_object_internal_v01(std::int32_t idl_major,
                                                                std::int32_t idl_minor,
                                                                std::int32_t library_version) {
  return services::if_version(service_object, idl_major, idl_minor, library_version);
}
