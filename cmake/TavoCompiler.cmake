# What holds for every target: C++20, warnings as errors, hidden symbols, sanitizers by option.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Debug CACHE STRING "" FORCE)
endif()

find_program(TAVO_CCACHE ccache)
if(TAVO_CCACHE)
    # Paths below the checkout go to the compiler relative to the build's folder, which is the same in
    # every clone: so a second clone, or a worktree, finds what the first one compiled. What names a file of
    # this folder (a test, a program that it starts) has that as a definition of the one source alone.
    set(CMAKE_C_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_BASEDIR=${CMAKE_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${TAVO_CCACHE})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_C_COMPILER_LAUNCHER})
endif()

add_library(tavo_warnings INTERFACE)
target_compile_options(tavo_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Werror -Wshadow -Wnon-virtual-dtor -Wconversion -Wno-sign-conversion
    -Wformat=2 -Wimplicit-fallthrough)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # With optimization it sees overlaps in "text" + std::string() that cannot be (GCC bug 105651).
    target_compile_options(tavo_warnings INTERFACE -Wno-restrict)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    # Lock annotations are checked where the compiler can.
    target_compile_options(tavo_warnings INTERFACE -Wthread-safety)
endif()

# What goes to a user names no folder of the machine that it was built on, neither in texts (of
# assert, say) nor in debug information. Debuggers find the sources when started at the checkout's root.
add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.)

if(TAVO_SANITIZER)
    add_compile_options(-fsanitize=${TAVO_SANITIZER} -fno-omit-frame-pointer
        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${TAVO_SANITIZER})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        # The instrumented code of std::regex and its like looks uninitialized to the compiler.
        target_compile_options(tavo_warnings INTERFACE -Wno-maybe-uninitialized)
    endif()
endif()

if(TAVO_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

include(TavoPlatform)
