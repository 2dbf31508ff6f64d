find_program(CCACHE ccache)
if(CCACHE)
  # In depend mode a source that is not in the cache costs no run of the preprocessor. The sloppiness is
  # what ccache demands before it caches what is compiled with precompiled headers.
  set(CMAKE_CXX_COMPILER_LAUNCHER
    ${CMAKE_COMMAND} -E env CCACHE_DEPEND=1
    CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_ctime,include_file_mtime
    ${CCACHE})
endif()
