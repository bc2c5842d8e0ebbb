#!/usr/bin/env bash
# What a library's source needs before CMake can build it, or in place of that. Run in the source's
# folder by cmake/libraries.
#
# usage: prepare.sh NAME STAGE: what there is to be installed without CMake goes into STAGE
set -euo pipefail

stage=$2
case $1 in
    # The default folders and the flags are compiled in: nothing of this machine, and no folder in which
    # somebody could put a configuration for the server's process.
    openssl)
        readonly mingw=x86_64-w64-mingw32
        unset CROSS_COMPILE
        CC=$mingw-gcc-posix AR=$mingw-ar RANLIB=$mingw-ranlib RC=$mingw-windres \
            perl ./Configure mingw64 --libdir=lib --prefix=/ \
            --openssldir="C:/Program Files/Common Files/SSL" \
            no-shared no-tests no-engine no-legacy no-dso no-comp no-ui-console no-atexit \
            -D_WIN32_WINNT=0x0A00
        make -j "${TAVO_JOBS:-$(nproc)}" build_libs
        make DESTDIR="$PWD/installed" install_dev
        # Its pkg-config files name a prefix that is not where it goes; CMake's own search needs none.
        mkdir -p "$stage/lib"
        cp -r installed/include "$stage/"
        cp installed/lib/*.a "$stage/lib/"
        ;;
    # One file of C, which its own tools make for the machine that it is built on.
    sqlite3)
        ./configure --disable-tcl --disable-readline
        make -j "${TAVO_JOBS:-$(nproc)}" sqlite3.c sqlite3.h
        ;;
    # All header in its source: split into a header and what is compiled once.
    httplib)
        mkdir -p split
        awk -v border="// -----------------------------------------------" '
            BEGIN { print "#include \"httplib.h\"\nnamespace httplib {" >"httplib.cc" }
            index($0, border) { within = !within; next }
            within { gsub(/inline /, ""); print >"httplib.cc"; next }
            { print >"split/httplib.h" }
            END { print "} // namespace httplib" >"httplib.cc" }' httplib.h
        mv split/httplib.h httplib.h
        ;;
esac
