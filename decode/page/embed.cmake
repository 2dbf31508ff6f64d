# Puts page, styles and scripts together and writes them as a C++ source:
#   cmake -DWEB=FOLDER -DDYGRAPHS=FOLDER -DOUTPUT=FILE -P embed.cmake
# The page's security policy names the only scripts and styles that may run, by their hashes.

# The base64 form of the SHA-256 of a text.
function(hash_of text result)
  set(digits "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
  string(SHA256 hex "${text}")
  set(base64 "")
  foreach(at RANGE 0 63 6)
    string(SUBSTRING "${hex}0000" ${at} 6 six)
    foreach(shift 18 12 6 0)
      math(EXPR digit "(0x${six} >> ${shift}) & 63")
      string(SUBSTRING "${digits}" ${digit} 1 character)
      string(APPEND base64 "${character}")
    endforeach()
  endforeach()
  # 32 bytes are 43 digits and one that pads.
  string(SUBSTRING "${base64}" 0 43 base64)
  set(${result} "'sha256-${base64}='" PARENT_SCOPE)
endfunction()

file(READ ${WEB}/page.html page)
file(READ ${WEB}/page.css page_css)
file(READ ${WEB}/page.js page_js)
file(READ ${DYGRAPHS}/dygraph.min.css dygraph_css)
file(READ ${DYGRAPHS}/dygraph.min.js dygraph_js)

foreach(name page_css page_js dygraph_css dygraph_js)
  hash_of("${${name}}" hash_of_${name})
endforeach()
string(REPLACE "@style_hashes@" "${hash_of_dygraph_css} ${hash_of_page_css}" page "${page}")
string(REPLACE "@script_hashes@" "${hash_of_dygraph_js} ${hash_of_page_js}" page "${page}")
foreach(name page_css page_js dygraph_css dygraph_js)
  string(REPLACE "@${name}@" "${${name}}" page "${page}")
endforeach()

file(WRITE ${OUTPUT}.html "${page}")
file(READ ${OUTPUT}.html bytes HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
file(WRITE ${OUTPUT} "// Made by decode/page/embed.cmake.
#include \"decode/page/page_template.h\"

namespace decode::page {

namespace {
constexpr unsigned char text[] = {${bytes}};
}  // namespace

std::string_view page_template() {
  return {reinterpret_cast<const char*>(text), sizeof text};
}

}  // namespace decode::page
")
