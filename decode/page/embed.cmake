# Puts page, styles and scripts together and writes them as a C++ source:
#   cmake -DWEB=FOLDER -DDYGRAPHS=FOLDER -DOUTPUT=FILE -P embed.cmake

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
file(READ ${DYGRAPHS}/dygraph.min.css dygraph_css)
file(READ ${WEB}/page.css page_css)
file(READ ${DYGRAPHS}/dygraph.min.js dygraph_js)
file(READ ${WEB}/buckets.js buckets_js)
file(READ ${WEB}/graphs.js graphs_js)
file(READ ${WEB}/page.js page_js)
file(READ ${WEB}/live.js live_js)

set(styles dygraph_css page_css)
set(scripts dygraph_js buckets_js graphs_js page_js live_js)
foreach(name ${styles} ${scripts})
  hash_of("${${name}}" hash_of_${name})
  string(REPLACE "@${name}@" "${${name}}" page "${page}")
endforeach()
set(policy "default-src 'none'; script-src")
foreach(name ${scripts})
  string(APPEND policy " ${hash_of_${name}}")
endforeach()
string(APPEND policy "; style-src")
foreach(name ${styles})
  string(APPEND policy " ${hash_of_${name}}")
endforeach()
string(APPEND policy "; img-src data:; base-uri 'none'; form-action 'none'")

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

std::string_view page_policy() {
  return \"${policy}\";
}

}  // namespace decode::page
")
