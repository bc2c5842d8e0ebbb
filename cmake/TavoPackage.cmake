# What goes to a user: the library and the doctor, stripped, or an archive with them and what is to be said
# of what is in them. scripts/package.sh makes and checks it.
#   cmake --install <build> --component plugin --strip --prefix <folder of the host's plugins>
#   cpack --config <build>/CPackConfig.cmake

if(NOT TAVO_SELF_CONTAINED)
    install(CODE "message(FATAL_ERROR \"This build needs libraries of the system that it was made on. \"
        \"What goes to users is built by scripts/package.sh\")" COMPONENT plugin)
    return()
endif()

install(TARGETS tavo_orlix_manager_plugin orlix_doctor
    LIBRARY DESTINATION . COMPONENT plugin RUNTIME DESTINATION . COMPONENT plugin)

include(TavoParts)
tavo_list_parts(${CMAKE_BINARY_DIR}/parts)
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
