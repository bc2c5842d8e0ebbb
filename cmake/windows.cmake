# Toolchain: 64-bit Windows from Debian, with MinGW-w64 in its posix thread model. The libraries come
# from the cache folder, where scripts/setup.sh windows builds them, and from nowhere else.
set(TAVO_EMULATOR wine)

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
# What the headers may offer: Windows 10, whose Winsock knows local sockets.
add_compile_definitions(_WIN32_WINNT=0x0A00 WINVER=0x0A00)
# What the compiler's library makes of waiting for an atomic loses a wake-up between its look and its
# wait where there is no futex (GCC 12), and with it the end of a std::stop_callback that just runs:
# whoever waits with a stop token may wait for good. With semaphores of the system it does not.
# std::latch and std::barrier wait that way as well, and scripts/check_includes.sh keeps them out; so
# does an atomic's own wait(), which nothing calls but the benches, and these are of Linux.
add_compile_definitions(_GLIBCXX_USE_POSIX_SEMAPHORE=1)

# The names with -posix at their end: the others follow whichever thread model was installed first.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# The libraries are added to it: each has a folder of its own in the cache.
list(APPEND CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} /usr/x86_64-w64-mingw32/lib/pkgconfig)

# One file each, with the compiler's own libraries in it.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -static)
