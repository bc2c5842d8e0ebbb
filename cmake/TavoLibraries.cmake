# The libraries of the build for 64-bit ARM that do not come from the system as shared ones, described once:
# scripts/setup.sh builds those that are missing into the cache (cmake/libraries), this project finds them
# there, and the archive for users has its list of parts from here (TavoParts.cmake).
#
# tavo_library(NAME
#     [SPDX id]          its licence: it goes into the library for users
#     [PACKAGE name]     it is there with that package of Debian, in this machine's version, or:
#     [SOURCE suite name [VERSION v SHA256 digest]]   Debian's source of it. Without a version the newest
#                        that the mirror has all of, checked by apt; its changes carry the fixes
#     [FOLLOWS package]  built anew where this machine's version of the package changes
#     [TEXT file]        its licence's text in the source; COPYING otherwise
#     [NEEDS name...]    libraries of this list that its build looks for
#     [PREPARE]          cmake/libraries/prepare.sh knows what to do with the source first
#     [ONE_FILE]         built by cmake/libraries/one_file
#     [CMAKE argument...])   built with CMake, with these. Its folder in the cache is of the target, the
#                        version and all that is said here, so that clones of different age share a cache.

include(TavoCache)
execute_process(COMMAND gcc -dumpversion OUTPUT_VARIABLE _compiler OUTPUT_STRIP_TRAILING_WHITESPACE)

# tavo_package_version(VARIABLE PACKAGE FIELD): this machine's version of it.
function(tavo_package_version variable package field)
    execute_process(COMMAND dpkg-query -W -f "\${${field}}\n" ${package}
        OUTPUT_VARIABLE versions ERROR_QUIET)
    string(REGEX REPLACE "\n.*" "" version "${versions}")
    set(${variable} "${version}" PARENT_SCOPE)
endfunction()

function(tavo_library name)
    cmake_parse_arguments(ARG "PREPARE;ONE_FILE"
        "SPDX;PACKAGE;VERSION;SHA256;FOLLOWS;TEXT" "SOURCE;NEEDS;CMAKE" ${ARGN})
    if(ARG_PACKAGE)
        tavo_package_version(version ${ARG_PACKAGE} Version)
        set(license /usr/share/doc/${ARG_PACKAGE}/copyright)
    else()
        set(version ${ARG_VERSION})
        if(ARG_FOLLOWS)
            tavo_package_version(version ${ARG_FOLLOWS} source:Version)
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
            file(STRINGS ${prefix}/version version)
        endif()
        list(APPEND CMAKE_PREFIX_PATH ${prefix})
        set(CMAKE_PREFIX_PATH ${CMAKE_PREFIX_PATH} PARENT_SCOPE)
        set(license ${prefix}/license)
    endif()
    if(ARG_SPDX)
        set_property(GLOBAL APPEND PROPERTY TAVO_PARTS "${name}|${ARG_SPDX}|${version}|${license}")
    endif()
endfunction()

# The distribution's own archives: they are position independent, and its fixes are in them.
tavo_library(openssl SPDX Apache-2.0 PACKAGE libssl-dev)

# HTTP and proxies are all that is asked of it; the authorities are looked for when it runs, since each
# distribution has them elsewhere.
tavo_library(curl SPDX curl SOURCE bookworm curl FOLLOWS libcurl4-openssl-dev NEEDS openssl CMAKE
    -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF -DHTTP_ONLY=ON -DCURL_USE_OPENSSL=ON
    -DCURL_ZLIB=OFF -DCURL_BROTLI=OFF -DCURL_ZSTD=OFF -DUSE_LIBIDN2=OFF -DUSE_NGHTTP2=OFF
    -DCURL_USE_LIBSSH2=OFF -DCURL_USE_LIBPSL=OFF -DCURL_CA_BUNDLE=none -DCURL_CA_PATH=none)

# In this version Debian changed the packaging alone; Debian 12 has none.
tavo_library(yyjson SPDX MIT TEXT LICENSE CMAKE SOURCE trixie yyjson
    VERSION 0.10.0+ds-1 SHA256 ae6fde69a193e10afab426ef13f113d6903446405f9db9ee98bfb572bd6c961a)

# Of a program that carries it: it has no source package of its own. As C++, for as C it would define
# inline functions anew in each object that includes its header.
tavo_library(mpack SPDX MIT TEXT backend/lib/mpack.h SOURCE bookworm balboa
    VERSION 2.0.0+ds-5 SHA256 32889196860b8af002d9e628779a53432e31c29fc578f816cabd7f63d52c0e33
    ONE_FILE CMAKE -DSOURCES=backend/lib/mpack.c -DHEADERS=backend/lib/mpack.h -DAS_CXX=ON)

tavo_library(simpleini SPDX MIT PACKAGE libsimpleini-dev)
tavo_library("libstdc++ and libgcc" SPDX "GPL-3.0-or-later WITH GCC-exception-3.1"
    PACKAGE libstdc++-${_compiler}-dev-arm64-cross)

# Of tests and of the devkit. Debian's package of httplib needs the shared OpenSSL.
tavo_library(httplib SOURCE bookworm cpp-httplib NEEDS openssl PREPARE
    ONE_FILE CMAKE -DSOURCES=httplib.cc -DHEADERS=httplib.h -DOPENSSL=ON)
