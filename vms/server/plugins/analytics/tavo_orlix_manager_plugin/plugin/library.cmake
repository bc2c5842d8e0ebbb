# The library that the host loads, with its four exports and no more.

set(_library ${CMAKE_CURRENT_BINARY_DIR}/library.cpp)
file(WRITE ${_library} "// The whole of the library is in the archives that it links.\n")
set(_start ${CMAKE_CURRENT_LIST_DIR}/posix/library.cpp)
set(_exports_map ${CMAKE_CURRENT_LIST_DIR}/exports.map)
set(_version_resource ${CMAKE_CURRENT_BINARY_DIR}/version.rc)
set(_thread_end ${CMAKE_CURRENT_LIST_DIR}/windows/thread_end.cpp)

if(TAVO_PLATFORM_FOLDER STREQUAL "windows")
    enable_language(RC)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/windows/version.rc.in ${_version_resource} @ONLY)
endif()

# tavo_link_for_users(NAME): what goes to users needs no more than the system's own libraries.
function(tavo_link_for_users name)
    if(TAVO_SELF_CONTAINED AND TAVO_PLATFORM_FOLDER STREQUAL "posix")
        # The compiler's libraries are inside, too. What nothing calls is left out, and with it what
        # newer systems alone have (libstdc++ has a call of arc4random).
        target_sources(${name} PRIVATE ${_start})
        target_link_libraries(${name} PRIVATE OpenSSL::Crypto tavo_warnings)
        target_link_options(${name} PRIVATE
            -static-libstdc++ -static-libgcc -Wl,--gc-sections -Wl,--as-needed)
    endif()
endfunction()

# tavo_add_plugin(NAME): the library as a target of that name.
function(tavo_add_plugin name)
    add_library(${name} MODULE ${_library})
    set_target_properties(${name} PROPERTIES PREFIX "" OUTPUT_NAME tavo_orlix_manager_plugin)
    target_link_libraries(${name} PRIVATE orlix_plugin tavo_sdk)
    # By name rather than by link item: orlix_plugin links tavo_sdk too, without the feature.
    set_property(TARGET ${name}
        PROPERTY LINK_LIBRARY_OVERRIDE WHOLE_ARCHIVE,orlix_plugin,tavo_sdk)
    if(TAVO_PLATFORM_FOLDER STREQUAL "windows")
        # What leaves the library there is what the sources mark as exported.
        target_sources(${name} PRIVATE ${_version_resource} ${_thread_end})
    else()
        set_target_properties(${name} PROPERTIES LINK_DEPENDS ${_exports_map})
        target_link_options(${name} PRIVATE
            -Wl,--version-script=${_exports_map} -Wl,-z,defs -Wl,--as-needed)
        tavo_link_for_users(${name})
        if(TAVO_SANITIZER)
            # The sanitizer's runtime comes with the program that loads the library.
            target_link_options(${name} PRIVATE -Wl,-z,undefs)
        endif()
    endif()
endfunction()
