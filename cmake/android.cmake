# The NDK's toolchain, found through ANDROID_NDK_HOME.
set(ndk_toolchain "$ENV{ANDROID_NDK_HOME}/build/cmake/android.toolchain.cmake")
if(NOT EXISTS "${ndk_toolchain}")
  message(FATAL_ERROR "ANDROID_NDK_HOME: '$ENV{ANDROID_NDK_HOME}' is not an NDK; "
    "set it to the folder of NDK r26 or later")
endif()
include("${ndk_toolchain}")
