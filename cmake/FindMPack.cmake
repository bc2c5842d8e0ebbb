# MPack as target MPack::MPack. Debian has no package of it, so scripts/setup.sh builds it into a
# cache folder; an MPack installed on the system is used in its place.

include(TavoCache)

if(TAVO_FUZZ)
    # One that the fuzzing engine sees into, where scripts/setup.sh fuzz has built it.
    find_path(MPACK_INCLUDE_DIR mpack.h PATHS ${TAVO_CACHE}/mpack-fuzz/include NO_DEFAULT_PATH)
    find_library(MPACK_LIBRARY mpack PATHS ${TAVO_CACHE}/mpack-fuzz/lib NO_DEFAULT_PATH)
endif()
find_path(MPACK_INCLUDE_DIR mpack.h PATH_SUFFIXES mpack)
find_library(MPACK_LIBRARY mpack)
if(NOT MPACK_INCLUDE_DIR OR NOT MPACK_LIBRARY)
    unset(MPACK_INCLUDE_DIR CACHE)
    unset(MPACK_LIBRARY CACHE)
    find_path(MPACK_INCLUDE_DIR mpack.h PATHS ${TAVO_CACHE}/mpack/include NO_DEFAULT_PATH)
    find_library(MPACK_LIBRARY mpack PATHS ${TAVO_CACHE}/mpack/lib NO_DEFAULT_PATH)
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(MPack
    REQUIRED_VARS MPACK_LIBRARY MPACK_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "run scripts/setup.sh, which builds it into ${TAVO_CACHE}/mpack")

if(MPack_FOUND AND NOT TARGET MPack::MPack)
    add_library(MPack::MPack UNKNOWN IMPORTED)
    set_target_properties(MPack::MPack PROPERTIES
        IMPORTED_LOCATION ${MPACK_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${MPACK_INCLUDE_DIR})
endif()
mark_as_advanced(MPACK_INCLUDE_DIR MPACK_LIBRARY)
