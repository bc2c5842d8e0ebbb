# tavo_local_sockets: what the programs of tests and of the devkit link for their local sockets. Empty
# where the system has them.

option(TAVO_LOCAL_SOCKETS_OVER_LOOPBACK "For Windows programs under Wine, which has none" OFF)

if(TAVO_LOCAL_SOCKETS_OVER_LOOPBACK)
    add_library(tavo_local_sockets OBJECT
        ${CMAKE_CURRENT_LIST_DIR}/windows/local_sockets_over_loopback.cpp)
    target_link_libraries(tavo_local_sockets PRIVATE tavo_warnings)
else()
    add_library(tavo_local_sockets INTERFACE)
endif()
