# The same code as shared libraries under the phone's names. Each has the functions of its rows in
# platform/functions, and what these need, but shows the functions only: a program meets the platform
# through the same symbols as on the phone.
set(list ${PROJECT_SOURCE_DIR}/platform/functions)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${list})
file(STRINGS ${list} rows REGEX "^lib")
foreach(row ${rows})
  string(REGEX MATCH "^lib([^ ]+) +([^ ]+)$" matched "${row}")
  list(APPEND names ${CMAKE_MATCH_1})
  list(APPEND functions_of_${CMAKE_MATCH_1} ${CMAKE_MATCH_2})
endforeach()
list(REMOVE_DUPLICATES names)

set(no_source ${CMAKE_CURRENT_BINARY_DIR}/no_source.cpp)
file(CONFIGURE OUTPUT ${no_source} CONTENT "")

add_library(platform INTERFACE)
target_link_libraries(platform INTERFACE Threads::Threads)
foreach(name ${names})
  set(functions ${functions_of_${name}})
  set(exports ${CMAKE_CURRENT_BINARY_DIR}/${name}.map)
  list(JOIN functions " " shown)
  string(REPLACE " " "; " shown "${shown}")
  file(CONFIGURE OUTPUT ${exports} CONTENT "{ global: ${shown}; local: *; };\n")
  list(TRANSFORM functions PREPEND "LINKER:--undefined=")

  add_library(phone_${name} SHARED ${no_source})
  set_target_properties(phone_${name} PROPERTIES
    OUTPUT_NAME ${name}
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib
    LINK_DEPENDS ${exports})
  # As on the phone, each brings its own C++ runtime.
  target_link_options(phone_${name} PRIVATE
    ${functions} LINKER:--version-script=${exports} LINKER:--no-undefined -static-libstdc++ -static-libgcc)
  target_link_libraries(phone_${name} PRIVATE platform_linux)
  target_link_libraries(platform INTERFACE phone_${name})
endforeach()
