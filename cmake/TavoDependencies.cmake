# The libraries that the plugin calls. scripts/setup.sh installs what is missing.

if(TAVO_SELF_CONTAINED)
    # Where scripts/setup.sh package builds them. OpenSSL is the distribution's own archive.
    include(TavoCache)
    execute_process(COMMAND ${CMAKE_C_COMPILER} -dumpversion
        OUTPUT_VARIABLE _compiler_version OUTPUT_STRIP_TRAILING_WHITESPACE)
    set(TAVO_STATIC_PREFIX ${TAVO_CACHE}/package/gcc-${_compiler_version})
    list(PREPEND CMAKE_PREFIX_PATH ${TAVO_STATIC_PREFIX})
    set(OPENSSL_USE_STATIC_LIBS ON)
endif()

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(OpenSSL 3.0 REQUIRED COMPONENTS Crypto SSL)
find_package(CURL REQUIRED)
find_package(yyjson REQUIRED CONFIG)
find_package(MPack REQUIRED)
if(NOT TAVO_SELF_CONTAINED)
    find_package(Qt6 REQUIRED COMPONENTS Core)
endif()
find_path(SIMPLEINI_INCLUDE_DIR SimpleIni.h REQUIRED)

if(TAVO_BUILD_TESTS OR TAVO_BUILD_DEVKIT)
    pkg_check_modules(CPP_HTTPLIB REQUIRED IMPORTED_TARGET cpp-httplib)
endif()
if(TAVO_BUILD_TESTS)
    find_package(GTest REQUIRED)
    include(GoogleTest)
endif()
if(TAVO_BUILD_BENCH)
    find_package(benchmark REQUIRED)
endif()
