# tavo_sources(VARIABLE DIR): all *.cpp below DIR except those of the other platform, relative to it:
# the folders above, where somebody checked the project out, have any names.
function(tavo_sources variable dir)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS RELATIVE ${dir} ${dir}/*.cpp)
    if(TAVO_PLATFORM_FOLDER STREQUAL "posix")
        list(FILTER sources EXCLUDE REGEX "(^|/)windows/")
    else()
        list(FILTER sources EXCLUDE REGEX "(^|/)posix/")
    endif()
    set(${variable} ${sources} PARENT_SCOPE)
endfunction()

# When tests are listed: by the build, or, where that takes more than the build has, not before they
# run; and how long one may take.
if(CMAKE_CROSSCOMPILING)
    set(TAVO_TEST_DISCOVERY PRE_TEST)
    set(TAVO_TEST_SECONDS 300)
else()
    set(TAVO_TEST_DISCOVERY POST_BUILD)
    set(TAVO_TEST_SECONDS 120)
endif()

# tavo_add_test(NAME DIR LIBRARIES...): one test program from all *_test.cpp below DIR, with every
# test of it known to ctest. A folder that has no test yet makes no program.
function(tavo_add_test name dir)
    if(NOT TAVO_BUILD_TESTS)
        return()
    endif()
    tavo_sources(sources ${dir})
    if(NOT sources)
        return()
    endif()
    list(TRANSFORM sources PREPEND ${dir}/)
    add_executable(${name} ${sources})
    target_link_libraries(${name} PRIVATE
        ${ARGN} tavo_testing tavo_local_sockets tavo_warnings GTest::gmock GTest::gtest_main)
    target_include_directories(${name} PRIVATE ${dir})
    gtest_discover_tests(${name} DISCOVERY_MODE ${TAVO_TEST_DISCOVERY} DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT ${TAVO_TEST_SECONDS})
endfunction()

# tavo_add_library(NAME DIR [LIBRARIES...]): a static library from all *.cpp below DIR except those
# of tests and of the other platform. New files are found by the next build, so that a folder's
# listing is the one place that says what belongs to a library.
function(tavo_add_library name dir)
    tavo_sources(sources ${dir})
    list(FILTER sources EXCLUDE REGEX "(^|/)tests/")
    list(TRANSFORM sources PREPEND ${dir}/)
    if(NOT sources)
        file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/${name}_empty.cpp "")
        set(sources ${CMAKE_CURRENT_BINARY_DIR}/${name}_empty.cpp)
    endif()
    add_library(${name} STATIC ${sources})
    target_link_libraries(${name} PUBLIC ${ARGN} PRIVATE tavo_warnings)
endfunction()
