# The keeper is a program inside the library, which is one file: it is started out of memory. See
# keeper.c for what it is for.

set(_keeper_folder ${CMAKE_CURRENT_LIST_DIR})
set(_keeper_image ${CMAKE_CURRENT_BINARY_DIR}/keeper_image.cpp)

add_executable(orlix_keeper ${_keeper_folder}/keeper.c)
# It runs in the host's surroundings and is watched by nobody, so no sanitizer in any build.
target_compile_options(orlix_keeper PRIVATE -O2 -Wall -Wextra -Wpedantic -Werror -Wshadow
    -Wconversion -Wno-sign-conversion -Wformat=2 -Wimplicit-fallthrough -fno-sanitize=all)
target_link_options(orlix_keeper PRIVATE -s -fno-sanitize=all)

add_custom_command(OUTPUT ${_keeper_image}
    COMMAND ${CMAKE_COMMAND} -DINPUT=$<TARGET_FILE:orlix_keeper> -DOUTPUT=${_keeper_image}
        -P ${_keeper_folder}/embed.cmake
    DEPENDS orlix_keeper ${_keeper_folder}/embed.cmake
    COMMENT "Embedding the keeper")
target_sources(orlix_utils PRIVATE ${_keeper_image})
