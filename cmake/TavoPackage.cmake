# What goes to a user: the library alone, stripped, in an archive per platform.
#   cmake --install <build> --component plugin --strip --prefix <folder of the host's plugins>
#   cpack --config <build>/CPackConfig.cmake

if(TAVO_WINDOWS_PREFIX)
    # These are in the library itself. With one that lacks what its newest version mends, the library is
    # good enough to be tested and not to be handed out.
    install(CODE "
        foreach(name openssl curl qt yyjson)
            if(EXISTS \"${TAVO_WINDOWS_PREFIX}/behind/\${name}\" AND NOT DEFINED ENV{TAVO_TRIAL_PACKAGE})
                file(READ \"${TAVO_WINDOWS_PREFIX}/behind/\${name}\" reason)
                message(FATAL_ERROR \"No package for users is made with an old library: \${reason}\"
                    \"scripts/setup.sh windows says how to try for the newest.\")
            endif()
        endforeach()" COMPONENT plugin)
endif()

install(TARGETS tavo_orlix_manager_plugin LIBRARY DESTINATION . COMPONENT plugin)

if(TAVO_PLATFORM_FOLDER STREQUAL "windows")
    set(CPACK_GENERATOR ZIP)
else()
    set(CPACK_GENERATOR TGZ)
endif()
set(CPACK_PACKAGE_NAME tavo_orlix_manager_plugin)
set(CPACK_PACKAGE_VENDOR Tavo)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Orlix Manager plugin of a video management server")
set(CPACK_PACKAGE_FILE_NAME
    ${CPACK_PACKAGE_NAME}-${PROJECT_VERSION}-${TAVO_ARCHIVE_TAG})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL plugin)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
include(CPack)
