# Debian's clang and libc++ with the headers of Android's C library in TVK_BIONIC, instead of an NDK. What
# is linked are the stubs that tests/android/check makes in TVK_ANDROID_LIBRARIES.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(ANDROID TRUE)
set(CMAKE_CXX_COMPILER clang++-16)
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-android31)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# Nothing can be linked before the stubs are made.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TVK_BIONIC)

set(CMAKE_CXX_FLAGS_INIT "-nostdinc++ -nostdlibinc -D_FORTIFY_SOURCE=2 -fstack-protector-strong")
string(APPEND CMAKE_CXX_FLAGS_INIT " -Werror=unguarded-availability")
foreach(folder
    /usr/lib/llvm-16/include/c++/v1
    ${TVK_BIONIC}/libc/include
    ${TVK_BIONIC}/libc/kernel/uapi/asm-arm64
    ${TVK_BIONIC}/libc/kernel/uapi
    ${TVK_BIONIC}/libc/kernel/android/uapi)
  string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${folder}")
endforeach()
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld -nostdlib -pie ${TVK_ANDROID_LIBRARIES}/start.o")
set(CMAKE_CXX_STANDARD_LIBRARIES_INIT "-L${TVK_ANDROID_LIBRARIES} -lc++ -lc -lm -ldl")
