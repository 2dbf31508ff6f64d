# Applied to all our targets; external libraries are SYSTEM and unaffected.
add_compile_options(
  -Wall
  -Wextra
  -Wpedantic
  -Wconversion
  -Wsign-conversion
  -Wshadow
  -Wnon-virtual-dtor
  -Wold-style-cast
  -Wcast-align
  -Woverloaded-virtual
  -Wformat=2
  -Wundef)
if(TVK_WERROR)
  add_compile_options(-Werror)
endif()

if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  add_compile_options(-Wthread-safety)
endif()

if(TVK_SANITIZE)
  add_compile_options(-fsanitize=${TVK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TVK_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # The sanitizers' instrumentation causes false positives of these warnings, and checks the same
    # things at run time.
    add_compile_options(-Wno-array-bounds -Wno-maybe-uninitialized -Wno-stringop-overflow
      -Wno-stringop-overread)
  endif()
endif()

if(TVK_FUZZ)
  # Coverage instrumentation of all code, which guides the fuzz targets.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()

# For targets full of templates: with the sanitizers' checks in them, optimising takes longer than what
# it saves when they run.
function(tvk_optimise_little target)
  if(TVK_SANITIZE)
    target_compile_options(${target} PRIVATE -O0)
  endif()
endfunction()
