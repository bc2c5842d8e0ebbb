# The libraries that the plugin calls. scripts/setup.sh installs what is missing.

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(OpenSSL 3.0 REQUIRED COMPONENTS Crypto SSL)
find_package(CURL REQUIRED)
find_package(yyjson REQUIRED CONFIG)
find_package(MPack REQUIRED)
find_package(Qt6 REQUIRED COMPONENTS Core)
find_path(SIMPLEINI_INCLUDE_DIR SimpleIni.h REQUIRED)

if(TAVO_BUILD_TESTS)
    find_package(GTest REQUIRED)
    pkg_check_modules(CPP_HTTPLIB REQUIRED IMPORTED_TARGET cpp-httplib)
    include(GoogleTest)
endif()
if(TAVO_BUILD_BENCH)
    find_package(benchmark REQUIRED)
endif()
