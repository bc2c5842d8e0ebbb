# Toolchain: Linux on 64-bit ARM, with Debian's cross compiler and its packages of that architecture.
set(TAVO_EMULATOR qemu)
include(${CMAKE_CURRENT_LIST_DIR}/TavoCache.cmake)
set(CMAKE_CROSSCOMPILING_EMULATOR ${TAVO_CACHE}/qemu/qemu-aarch64)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig)
