# The libraries that do not come from the system as shared ones: the one description, for all targets.
# scripts/setup.sh builds those that are missing into the cache (cmake/libraries), this project finds
# them there, and the archive for users has its list of parts from here (TavoParts.cmake).
#
# tavo_library(NAME
#     [SPDX id]          its licence: it goes into the library for users
#     [TARGETS t...]     the targets that it is for; all otherwise
#     [PACKAGE name]     it is there with that package of Debian, in this machine's version, or:
#     [SOURCE suite name [VERSION v SHA256 digest]]   Debian's source of it. Without a version the newest
#                        that the mirror has all of, checked by apt; its changes carry the fixes
#     [POINT_RELEASES]   its makers' tarball carries the fixes: the newest, with Debian's changes where
#                        the mirror has them
#     [FOLLOWS package]  built anew where this machine's version of the package changes
#     [FOLDER path]      where the source lies on this machine
#     [TEXT file]        its licence's text in the source; COPYING otherwise
#     [NEEDS name...]    libraries of this list that its build looks for
#     [PREPARE]          cmake/libraries/prepare.sh knows what to do with the source first
#     [ONE_FILE]         built by cmake/libraries/one_file
#     [CMAKE argument...])   built with CMake, with these. Its folder in the cache is of the target, the
#                        version and all that is said here, so that clones of different age share a cache.

include(TavoCache)
if(TAVO_FUZZ)
    # The engine is to see into them, and the sanitizers to watch them.
    set(TAVO_LIBRARY_FLAGS "-fno-omit-frame-pointer -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all")
endif()
execute_process(COMMAND gcc -dumpversion OUTPUT_VARIABLE _compiler OUTPUT_STRIP_TRAILING_WHITESPACE)

# tavo_package_version(VARIABLE PACKAGE): of its source, in this machine's version.
function(tavo_package_version variable package)
    execute_process(COMMAND dpkg-query -W -f "\${source:Version}\n" ${package}
        OUTPUT_VARIABLE versions ERROR_QUIET)
    string(REGEX REPLACE "\n.*" "" version "${versions}")
    set(${variable} "${version}" PARENT_SCOPE)
endfunction()

function(tavo_library name)
    cmake_parse_arguments(ARG "POINT_RELEASES;PREPARE;ONE_FILE"
        "SPDX;PACKAGE;VERSION;SHA256;FOLLOWS;FOLDER;TEXT" "TARGETS;SOURCE;NEEDS;CMAKE" ${ARGN})
    if(ARG_TARGETS AND NOT TAVO_TARGET IN_LIST ARG_TARGETS)
        return()
    endif()
    if(ARG_PACKAGE)
        tavo_package_version(version ${ARG_PACKAGE})
        set(license /usr/share/doc/${ARG_PACKAGE}/copyright)
    else()
        set(version ${ARG_VERSION})
        if(ARG_FOLLOWS)
            tavo_package_version(version ${ARG_FOLLOWS})
        endif()
        string(SHA256 key "${ARGN} ${_compiler} ${TAVO_LIBRARY_FLAGS}")
        string(SUBSTRING ${key} 0 8 key)
        string(REPLACE "--" "-" folder ${name}-${version}-${key})
        set(prefix ${TAVO_CACHE}/libraries/${TAVO_TARGET}/${folder})
        if(COMMAND tavo_build_library)
            tavo_build_library(${name} ${prefix})
        elseif(NOT EXISTS ${prefix}/version)
            message(FATAL_ERROR "${name} is not in ${prefix}: run scripts/setup.sh, which builds it")
        else()
            file(STRINGS ${prefix}/version have)
            string(REGEX REPLACE " .*" "" number ${have})
            execute_process(COMMAND dpkg --compare-versions ${number} lt "${version}" RESULT_VARIABLE up_to_date)
            if(NOT up_to_date)
                message(NOTICE "warning: ${name} is ${have}, and ${version} is out. To try again: "
                    "rm -r ${prefix}; scripts/setup.sh")
            endif()
            set(version ${have})
        endif()
        set(TAVO_${name}_PREFIX ${prefix} CACHE INTERNAL "")
        list(APPEND CMAKE_PREFIX_PATH ${prefix})
        set(CMAKE_PREFIX_PATH ${CMAKE_PREFIX_PATH} PARENT_SCOPE)
        if(CMAKE_FIND_ROOT_PATH)
            set(CMAKE_FIND_ROOT_PATH ${CMAKE_FIND_ROOT_PATH} ${prefix} PARENT_SCOPE)
        endif()
        set(license ${prefix}/license)
    endif()
    if(ARG_SPDX)
        set_property(GLOBAL APPEND PROPERTY TAVO_PARTS "${name}|${version}|${ARG_SPDX}|${license}")
    endif()
endfunction()

set(_linux x86_64-linux aarch64-linux)
set(_windows x86_64-w64)

# On Linux the distribution's own archives: they are position independent, and its fixes are in them.
# Elsewhere: no-atexit, for the process would call what the library may have taken along when it was
# unloaded.
tavo_library(openssl SPDX Apache-2.0 TARGETS ${_linux} PACKAGE libssl-dev)
tavo_library(openssl SPDX Apache-2.0 TARGETS ${_windows} SOURCE bookworm openssl POINT_RELEASES
    FOLLOWS libssl-dev TEXT LICENSE.txt PREPARE)

# OpenSSL everywhere, Windows' own not excepted: one library checks certificates on all. HTTP and proxies
# are all that is asked of it; the authorities are looked for when it runs, since each distribution has
# them elsewhere. Development builds on Linux take the distribution's.
if(TAVO_SELF_CONTAINED)
    tavo_library(curl SPDX curl SOURCE bookworm curl FOLLOWS libcurl4-openssl-dev NEEDS openssl CMAKE
        -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF -DHTTP_ONLY=ON -DCURL_USE_OPENSSL=ON
        -DCURL_ZLIB=OFF -DCURL_BROTLI=OFF -DCURL_ZSTD=OFF -DUSE_LIBIDN2=OFF -DUSE_NGHTTP2=OFF
        -DCURL_USE_LIBSSH2=OFF -DCURL_USE_LIBPSL=OFF -DCURL_CA_BUNDLE=none -DCURL_CA_PATH=none)
endif()

# In this version Debian changed the packaging alone; Debian 12 has none.
tavo_library(yyjson SPDX MIT TEXT LICENSE CMAKE SOURCE trixie yyjson
    VERSION 0.10.0+ds-1 SHA256 ae6fde69a193e10afab426ef13f113d6903446405f9db9ee98bfb572bd6c961a)

# Of a program that carries it: it has no source package of its own. As C++, for as C it would define
# inline functions anew in each object that includes its header.
tavo_library(mpack SPDX MIT TEXT backend/lib/mpack.h SOURCE bookworm balboa
    VERSION 2.0.0+ds-5 SHA256 32889196860b8af002d9e628779a53432e31c29fc578f816cabd7f63d52c0e33
    ONE_FILE CMAKE -DSOURCES=backend/lib/mpack.c -DHEADERS=backend/lib/mpack.h -DAS_CXX=ON)

tavo_library(simpleini SPDX MIT PACKAGE libsimpleini-dev)
foreach(pair x86_64-linux|libstdc++-${_compiler}-dev aarch64-linux|libstdc++-${_compiler}-dev-arm64-cross
    x86_64-w64|gcc-mingw-w64-x86-64-posix-runtime)
    string(REPLACE "|" ";" pair ${pair})
    list(GET pair 0 target)
    list(GET pair 1 package)
    tavo_library("libstdc++ and libgcc" SPDX "GPL-3.0-or-later WITH GCC-exception-3.1" TARGETS ${target}
        PACKAGE ${package})
endforeach()
tavo_library(mingw-w64 SPDX ZPL-2.1 TARGETS ${_windows} PACKAGE mingw-w64-x86-64-dev)

# Of tests and of the devkit. Debian's package of httplib needs the shared OpenSSL.
tavo_library(httplib SOURCE bookworm cpp-httplib NEEDS openssl PREPARE
    ONE_FILE CMAKE -DSOURCES=httplib.cc -DHEADERS=httplib.h -DOPENSSL=ON)
tavo_library(googletest TARGETS ${_windows} FOLDER /usr/src/googletest FOLLOWS googletest CMAKE)
tavo_library(sqlite3 TARGETS ${_windows} SOURCE bookworm sqlite3
    FOLLOWS libsqlite3-0 PREPARE ONE_FILE CMAKE -DSOURCES=sqlite3.c -DHEADERS=sqlite3.h)
# What is all header: from the system's folder, which is not searched for another one.
tavo_library(headers TARGETS ${_windows} FOLDER /usr/include
    FOLLOWS libcli11-dev ONE_FILE CMAKE -DHEADERS=SimpleIni.h|CLI)
# The tar that Windows brings and Wine does not; only the tests' Wine prefix gets it. CMake cannot find
# the exit code out by running a program.
tavo_library(bsdtar TARGETS ${_windows} SOURCE bookworm libarchive FOLLOWS libarchive13
    CMAKE -DZLIB_WINAPI_EXITCODE=1 -DZLIB_WINAPI_EXITCODE__TRYRUN_OUTPUT=none
    -DZLIB_LIBRARY=/usr/x86_64-w64-mingw32/lib/libz.a -DENABLE_TEST=OFF -DENABLE_CPIO=OFF
    -DENABLE_CAT=OFF -DENABLE_OPENSSL=OFF)
