# What goes to a user: the library alone, stripped, or an archive with it and what is to be said of what
# is in it. scripts/package.sh makes and checks it.
#   cmake --install <build> --component plugin --strip --prefix <folder of the host's plugins>
#   cpack --config <build>/CPackConfig.cmake

get_property(_parts GLOBAL PROPERTY TAVO_PARTS)
if(NOT TAVO_STATIC_PREFIX AND NOT _parts)
    install(CODE "message(FATAL_ERROR \"This build needs libraries of the system that it was made on. \"
        \"What goes to users is built by scripts/package.sh\")" COMPONENT plugin)
    return()
endif()

# With a library inside that lacks what its newest version mends, ours is good enough to be tested and
# not to be handed out.
install(CODE "
    foreach(name openssl curl qt yyjson)
        if(EXISTS \"${TAVO_STATIC_PREFIX}/behind/\${name}\" AND NOT DEFINED ENV{TAVO_TRIAL_PACKAGE})
            file(READ \"${TAVO_STATIC_PREFIX}/behind/\${name}\" reason)
            message(FATAL_ERROR \"No package for users is made with an old library: \${reason}\"
                \"scripts/setup.sh says how to try for the newest.\")
        endif()
    endforeach()" COMPONENT plugin)
install(TARGETS tavo_orlix_manager_plugin LIBRARY DESTINATION . COMPONENT plugin)

# What is linked in, where no list of it is there yet: name, licence, Debian's package whose source it is of.
if(NOT _parts)
    set(_parts "OpenSSL|Apache-2.0|libssl-dev" "curl|curl|libcurl4-openssl-dev" "yyjson|MIT|libyyjson-dev"
        "MPack|MIT|" "simpleini|MIT|libsimpleini-dev")
    if(WIN32)
        list(APPEND _parts "Qt Core|LGPL-3.0-only|qt6-base-dev"
            "libstdc++ and libgcc|GPL-3.0-or-later WITH GCC-exception-3.1|gcc-mingw-w64-x86-64-posix-runtime"
            "MinGW-w64|ZPL-2.1|mingw-w64-x86-64-dev")
    else()
        list(APPEND _parts
            "libstdc++ and libgcc|GPL-3.0-or-later WITH GCC-exception-3.1|libstdc++-${_compiler_version}-dev")
    endif()
endif()
include(TavoParts)
tavo_list_parts(${CMAKE_BINARY_DIR}/parts ${_parts})
install(FILES ${CMAKE_BINARY_DIR}/parts/LICENSES.txt
    ${CMAKE_BINARY_DIR}/parts/tavo_orlix_manager_plugin.spdx.json
    DESTINATION . COMPONENT parts)

if(TAVO_PLATFORM_FOLDER STREQUAL "windows")
    set(CPACK_GENERATOR ZIP)
else()
    set(CPACK_GENERATOR TGZ)
endif()
set(CPACK_PACKAGE_NAME tavo_orlix_manager_plugin)
set(CPACK_PACKAGE_VENDOR Tavo)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Orlix Manager plugin of a video management server")
set(CPACK_PACKAGE_FILE_NAME
    ${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}-${TAVO_TARGET})
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL plugin parts)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
include(CPack)
